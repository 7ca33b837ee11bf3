#include "editor/ErrorLines.h"

#include <QQuickTextDocument>
#include <QRegularExpression>
#include <QTextBlock>

namespace
{

/// No script has more digits' worth of lines; what is longer would not be a number for us.
QRegularExpressionMatch matchIn(const QString &text)
{
    static const QRegularExpression named(QStringLiteral(R"(File "[^"]*", (line (\d{1,6})\b))"));
    return named.match(text);
}

} // namespace

void ErrorLines::setDocumentFromQML(QQuickTextDocument *document)
{
    m_document = document ? document->textDocument() : nullptr;
}

int ErrorLines::lineNamedAt(int position) const
{
    if (!m_document)
        return 0;
    const QTextBlock block = m_document->findBlock(position);
    const QRegularExpressionMatch match = matchIn(block.text());
    const int column = position - block.position();
    const bool isHit = column >= match.capturedStart(1) && column <= match.capturedEnd(1);
    return match.hasMatch() && isHit ? match.captured(2).toInt() : 0;
}

int ErrorLines::latest() const
{
    if (!m_document)
        return 0;
    for (QTextBlock block = m_document->lastBlock(); block.isValid(); block = block.previous()) {
        const QRegularExpressionMatch match = matchIn(block.text());
        if (match.hasMatch())
            return match.captured(2).toInt();
    }
    return 0;
}
