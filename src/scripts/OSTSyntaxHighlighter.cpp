#include "scripts/OSTSyntaxHighlighter.h"

#include <QRegularExpression>
#include <QTextCharFormat>

OSTSyntaxHighlighter::OSTSyntaxHighlighter(QObject *parent)
    : QSyntaxHighlighter(parent)
{}

void OSTSyntaxHighlighter::setDocumentFromQML(QQuickTextDocument *doc)
{
    setDocument(doc ? doc->textDocument() : nullptr);
}

void OSTSyntaxHighlighter::highlightBlock(const QString &text)
{
    static const QRegularExpression commentLine(QStringLiteral("^\\s*#.*$"));
    QTextCharFormat format;
    format.setForeground(QColor(255, 255, 128));

    QRegularExpressionMatchIterator matches = commentLine.globalMatch(text);
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        setFormat(static_cast<int>(match.capturedStart()), static_cast<int>(match.capturedLength()),
                  format);
    }
}
