#include "scripts/TextAppender.h"

#include <QElapsedTimer>
#include <QQuickItem>
#include <QQuickTextDocument>
#include <QTextCursor>

#include <algorithm>

TextAppender::TextAppender(QObject *parent)
    : QObject(parent)
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &TextAppender::flush);
}

void TextAppender::setDocumentFromQML(QQuickTextDocument *document)
{
    m_document = document ? document->textDocument() : nullptr;
    if (!m_document)
        return;
    m_document->setUndoRedoEnabled(false);
    // A text area does this itself only for a long text that it is given whole.
    if (auto *area = qobject_cast<QQuickItem *>(document->parent()))
        area->setFlag(QQuickItem::ItemObservesViewport);
}

void TextAppender::append(const QString &text)
{
    m_pending += text;
    // A single line is shown at once; a stream of them waits for the next frame.
    if (!m_timer.isActive())
        flush();
}

void TextAppender::clear()
{
    m_pending.clear();
    m_done = 0;
    m_afterReturn = false;
    if (m_document)
        m_document->clear();
}

void TextAppender::flush()
{
    QElapsedTimer spent;
    spent.start();
    if (!insertPortion())
        return;
    while (!spent.hasExpired(BudgetMs) && insertPortion()) {
    }
    m_timer.start(static_cast<int>(std::max<qint64>(0, IntervalMs - spent.elapsed())));
    emit appended();
}

bool TextAppender::insertPortion()
{
    if (!m_document || m_pending.isEmpty())
        return false;
    const qsizetype left = m_pending.size() - m_done;
    auto portion = QStringView(m_pending).sliced(m_done, std::min(left, MaxPortion));
    m_done += portion.size();
    // The two characters of a line end would become two, when one comes after the other.
    if (m_afterReturn && portion.startsWith(u'\n'))
        portion = portion.sliced(1);
    m_afterReturn = portion.endsWith(u'\r');
    QTextCursor cursor(m_document);
    cursor.movePosition(QTextCursor::End);
    cursor.insertText(portion.toString());
    if (m_done == m_pending.size()) {
        m_pending.clear();
        m_done = 0;
    }
    return true;
}
