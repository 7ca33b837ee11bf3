#include "editor/LostCharacters.h"

#include <QQuickTextDocument>
#include <QTextBlock>

#include <algorithm>

void LostCharacters::setDocumentFromQML(QQuickTextDocument *document)
{
    if (m_document)
        disconnect(m_document, nullptr, this, nullptr);
    m_document = document ? document->textDocument() : nullptr;
    if (m_document)
        connect(m_document, &QTextDocument::contentsChanged, this, &LostCharacters::findAll);
    findAll();
}

void LostCharacters::findAll()
{
    const QString content = m_document ? m_document->toPlainText() : QString();
    QList<int> places;
    for (qsizetype i = 0; i < content.size(); ++i) {
        // Both halves of a pair are one character to the reader, but two to the box.
        if (content[i].unicode() > 0x7F)
            places.append(static_cast<int>(i));
    }
    if (places == m_places)
        return;
    m_places = std::move(places);
    emit placesChanged();
}

int LostCharacters::firstLine() const
{
    return m_document && !m_places.isEmpty()
               ? m_document->findBlock(m_places.first()).blockNumber() + 1
               : 0;
}

QList<int> LostCharacters::rangesBetween(int from, int to) const
{
    QList<int> ends;
    auto place = std::ranges::lower_bound(m_places, from);
    for (; place != m_places.end() && *place < to; ++place)
        ends << *place << *place + 1;
    return ends;
}
