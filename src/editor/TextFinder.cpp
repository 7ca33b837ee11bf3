#include "editor/TextFinder.h"

#include <QQuickTextDocument>
#include <QTextCursor>

#include <algorithm>

namespace
{

bool isWordCharacter(QChar character)
{
    return character.isLetterOrNumber() || character == u'_';
}

void replaceAt(QTextDocument *document, int place, qsizetype length, const QString &by)
{
    QTextCursor cursor(document);
    cursor.setPosition(place);
    cursor.setPosition(place + static_cast<int>(length), QTextCursor::KeepAnchor);
    cursor.insertText(by);
}

} // namespace

void TextFinder::setText(const QString &text)
{
    if (text == m_text)
        return;
    m_text = text;
    want();
}

void TextFinder::setMatchCase(bool matchCase)
{
    if (matchCase == m_matchCase)
        return;
    m_matchCase = matchCase;
    want();
}

void TextFinder::setWholeWord(bool wholeWord)
{
    if (wholeWord == m_wholeWord)
        return;
    m_wholeWord = wholeWord;
    want();
}

void TextFinder::want()
{
    emit wantedChanged();
    findAll();
}

void TextFinder::setDocumentFromQML(QQuickTextDocument *document)
{
    if (m_document)
        disconnect(m_document, nullptr, this, nullptr);
    m_document = document ? document->textDocument() : nullptr;
    if (m_document)
        connect(m_document, &QTextDocument::contentsChanged, this, &TextFinder::findAll);
    findAll();
}

void TextFinder::findAll()
{
    if (m_places.isEmpty() && (m_text.isEmpty() || !m_document))
        return;
    m_places.clear();
    const QString content = m_document && !m_text.isEmpty() ? m_document->toPlainText() : QString();
    const Qt::CaseSensitivity sensitivity = m_matchCase ? Qt::CaseSensitive : Qt::CaseInsensitive;
    qsizetype place = content.indexOf(m_text, 0, sensitivity);
    while (place >= 0 && !m_text.isEmpty()) {
        const bool isFound = !m_wholeWord || isWord(content, place);
        if (isFound)
            m_places.append(static_cast<int>(place));
        place = content.indexOf(m_text, place + (isFound ? m_text.size() : 1), sensitivity);
    }
    emit placesChanged();
}

bool TextFinder::isWord(const QString &content, qsizetype place) const
{
    const qsizetype end = place + m_text.size();
    const bool goesOnBefore = place > 0 && isWordCharacter(content[place - 1]);
    const bool goesOnAfter = end < content.size() && isWordCharacter(content[end]);
    return !goesOnBefore && !goesOnAfter;
}

int TextFinder::next(int position) const
{
    if (m_places.isEmpty())
        return -1;
    const auto found = std::ranges::lower_bound(m_places, position);
    return found == m_places.end() ? m_places.first() : *found;
}

int TextFinder::previous(int position) const
{
    if (m_places.isEmpty())
        return -1;
    const auto found = std::ranges::lower_bound(m_places, position);
    return found == m_places.begin() ? m_places.last() : *(found - 1);
}

int TextFinder::numberOf(int place) const
{
    return static_cast<int>(m_places.indexOf(place)) + 1;
}

QList<int> TextFinder::rangesBetween(int from, int to) const
{
    QList<int> ends;
    const int length = static_cast<int>(m_text.size());
    auto place = std::ranges::lower_bound(m_places, from - length + 1);
    for (; place != m_places.end() && *place < to; ++place)
        ends << *place << *place + length;
    return ends;
}

bool TextFinder::replace(int place, const QString &by)
{
    if (!m_document || !m_places.contains(place))
        return false;
    replaceAt(m_document, place, m_text.size(), by);
    return true;
}

int TextFinder::replaceAll(const QString &by)
{
    QList<int> places = m_places;
    if (!m_document || places.isEmpty())
        return 0;
    QTextCursor step(m_document);
    step.beginEditBlock();
    // From the end, so that the places before stay valid.
    std::ranges::reverse(places);
    for (const int place : std::as_const(places))
        replaceAt(m_document, place, m_text.size(), by);
    step.endEditBlock();
    return static_cast<int>(places.size());
}
