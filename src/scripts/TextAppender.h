#pragma once

#include <QObject>
#include <QPointer>
#include <QTextDocument>
#include <QTimer>

class QQuickTextDocument;

/// Adds text at the end of a text area's document as it comes, however fast it comes: what arrives
/// within a frame is added at once, and never more than a frame has time for, so that typing
/// elsewhere in the window stays quick. Text is added as it is, in order, and nothing is lost. The
/// document keeps no undo history, which would hold all text a second time. GUI thread only.
class TextAppender : public QObject
{
    Q_OBJECT

public:
    static constexpr int IntervalMs = 16;
    static constexpr int BudgetMs = 10;           ///< of each interval, the rest is the window's
    static constexpr qsizetype MaxPortion = 4096; ///< characters between two looks at the clock

    explicit TextAppender(QObject *parent = nullptr);

    /// The document of a text area, which from then on draws only the part of it that is in view.
    Q_INVOKABLE void setDocumentFromQML(QQuickTextDocument *document);
    Q_INVOKABLE void append(const QString &text);
    /// Empties the document and drops what is not yet in it.
    Q_INVOKABLE void clear();

signals:
    /// Text is in the document now.
    void appended();

private:
    void flush();
    /// False when nothing is left to be added.
    bool insertPortion();

    QPointer<QTextDocument> m_document;
    QString m_pending;
    qsizetype m_done = 0;       ///< characters at the front of m_pending that are in the document
    bool m_afterReturn = false; ///< the last of them was a carriage return
    QTimer m_timer;
};
