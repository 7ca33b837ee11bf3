#include "editor/PythonKeys.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QQuickTextDocument>
#include <QTextBlock>
#include <QTextCursor>

#include <algorithm>
#include <array>
#include <limits>

namespace
{

constexpr std::array BlockEnds{u"return", u"pass", u"break", u"continue", u"raise"};

/// The number of blanks that a line begins with.
int leadingBlanks(QStringView line)
{
    const auto isBlank = [](QChar character) { return character == u' '; };
    return static_cast<int>(std::ranges::find_if_not(line, isBlank) - line.begin());
}

/// A line without the comment at its end. A "#" in a string is none.
QStringView withoutComment(QStringView line)
{
    QChar quote;
    for (qsizetype i = 0; i < line.size(); ++i) {
        const QChar character = line[i];
        if (!quote.isNull() && character == u'\\')
            ++i;
        else if (!quote.isNull())
            quote = character == quote ? QChar() : quote;
        else if (character == u'#')
            return line.first(i);
        else if (character == u'"' || character == u'\'')
            quote = character;
    }
    return line;
}

bool endsBlock(QStringView code)
{
    return std::ranges::any_of(BlockEnds, [&](QStringView word) {
        return code.startsWith(word) && (code.size() == word.size() || code[word.size()] == u' ' ||
                                         code[word.size()] == u'(');
    });
}

/// Of the line that follows one with this text before the cursor.
int nextIndent(QStringView line)
{
    const int blanks = leadingBlanks(line);
    const QStringView code = withoutComment(line).trimmed();
    if (code.endsWith(u':'))
        return blanks + PythonKeys::IndentWidth;
    return endsBlock(code) ? std::max(0, blanks - PythonKeys::IndentWidth) : blanks;
}

bool isComment(QStringView line)
{
    return line.trimmed().startsWith(u'#');
}

} // namespace

void PythonKeys::setDocumentFromQML(QQuickTextDocument *document)
{
    m_document = document ? document->textDocument() : nullptr;
}

QTextCursor PythonKeys::cursor(int start, int end) const
{
    const int last = m_document->characterCount() - 1;
    QTextCursor cursor(m_document);
    cursor.setPosition(std::clamp(start, 0, last));
    cursor.setPosition(std::clamp(end, 0, last), QTextCursor::KeepAnchor);
    return cursor;
}

template <typename Edit>
void PythonKeys::forEachLine(int start, int end, Edit &&edit)
{
    const QTextBlock first = m_document->findBlock(start);
    const QTextBlock last = m_document->findBlock(std::max(start, end - 1));
    for (QTextBlock line = first; line.isValid(); line = line.next()) {
        edit(QTextCursor(line));
        if (line == last)
            return;
    }
}

void PythonKeys::breakLine(int start, int end)
{
    if (!m_document)
        return;
    QTextCursor edit = cursor(start, end);
    const QTextBlock line = m_document->findBlock(edit.selectionStart());
    const QString before = line.text().left(edit.selectionStart() - line.position());
    edit.beginEditBlock();
    edit.insertText(u'\n' + QString(nextIndent(before), u' '));
    edit.endEditBlock();
}

void PythonKeys::indent(int start, int end)
{
    if (!m_document)
        return;
    QTextCursor step(m_document);
    step.beginEditBlock();
    forEachLine(start, end, [](QTextCursor line) {
        if (!line.block().text().trimmed().isEmpty())
            line.insertText(QString(IndentWidth, u' '));
    });
    step.endEditBlock();
}

void PythonKeys::outdent(int start, int end)
{
    if (!m_document)
        return;
    QTextCursor step(m_document);
    step.beginEditBlock();
    forEachLine(start, end, [](QTextCursor line) {
        const QString text = line.block().text();
        const int blanks = text.startsWith(u'\t') ? 1 : std::min(leadingBlanks(text), IndentWidth);
        line.movePosition(QTextCursor::NextCharacter, QTextCursor::KeepAnchor, blanks);
        line.removeSelectedText();
    });
    step.endEditBlock();
}

void PythonKeys::toggleComments(int start, int end)
{
    if (!m_document)
        return;
    bool allComments = true;
    int column = std::numeric_limits<int>::max();
    forEachLine(start, end, [&](const QTextCursor &line) {
        const QString text = line.block().text();
        if (text.trimmed().isEmpty())
            return;
        allComments = allComments && isComment(text);
        column = std::min(column, leadingBlanks(text));
    });
    QTextCursor step(m_document);
    step.beginEditBlock();
    forEachLine(start, end, [&](QTextCursor line) {
        const QString text = line.block().text();
        if (text.trimmed().isEmpty())
            return;
        const int place = allComments ? static_cast<int>(text.indexOf(u'#')) : column;
        line.setPosition(line.position() + place);
        if (!allComments) {
            line.insertText(QStringLiteral("# "));
            return;
        }
        const int length = text.mid(place).startsWith(u"# ") ? 2 : 1;
        line.movePosition(QTextCursor::NextCharacter, QTextCursor::KeepAnchor, length);
        line.removeSelectedText();
    });
    step.endEditBlock();
}

bool PythonKeys::deleteIndent(int position)
{
    if (!m_document)
        return false;
    const QTextBlock line = m_document->findBlock(position);
    const int column = position - line.position();
    if (column <= 0 || leadingBlanks(line.text()) < column)
        return false;
    QTextCursor blanks = cursor(position - 1 - (column - 1) % IndentWidth, position);
    blanks.removeSelectedText();
    return true;
}

void PythonKeys::paste(int start, int end)
{
    replaceBy(QGuiApplication::clipboard()->text(), start, end);
}

void PythonKeys::pasteSelected(int position)
{
    replaceBy(QGuiApplication::clipboard()->text(QClipboard::Selection), position, position);
}

void PythonKeys::replaceBy(QString text, int start, int end)
{
    if (!m_document)
        return;
    text.replace(u'\t', QString(IndentWidth, u' '));
    QTextCursor edit = cursor(start, end);
    edit.beginEditBlock();
    edit.insertText(text);
    edit.endEditBlock();
}
