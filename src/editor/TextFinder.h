#pragma once

#include <QList>
#include <QObject>
#include <QPointer>
#include <QTextDocument>

class QQuickTextDocument;

/// Finds a text in a text area's document, knows all of its places as the document changes, and
/// replaces it. A place is the position of its first character; the places do not overlap. GUI
/// thread only.
class TextFinder : public QObject
{
    Q_OBJECT
    /// What is looked for; empty for nothing.
    Q_PROPERTY(QString text READ text WRITE setText NOTIFY wantedChanged FINAL)
    Q_PROPERTY(bool matchCase READ matchCase WRITE setMatchCase NOTIFY wantedChanged FINAL)
    /// Whether letters, digits and underscores beside it keep it from being found.
    Q_PROPERTY(bool wholeWord READ wholeWord WRITE setWholeWord NOTIFY wantedChanged FINAL)
    Q_PROPERTY(int count READ count NOTIFY placesChanged FINAL)

public:
    using QObject::QObject;

    [[nodiscard]] QString text() const { return m_text; }
    void setText(const QString &text);
    [[nodiscard]] bool matchCase() const { return m_matchCase; }
    void setMatchCase(bool matchCase);
    [[nodiscard]] bool wholeWord() const { return m_wholeWord; }
    void setWholeWord(bool wholeWord);
    [[nodiscard]] int count() const { return static_cast<int>(m_places.size()); }

    /// The document to look in; null for none.
    Q_INVOKABLE void setDocumentFromQML(QQuickTextDocument *document);

    /// The first place at or after `position`, or else the first of all; -1 where there is none.
    [[nodiscard]] Q_INVOKABLE int next(int position) const;
    /// The last place before `position`, or else the last of all; -1 where there is none.
    [[nodiscard]] Q_INVOKABLE int previous(int position) const;
    /// Which of the places that is, counted from 1; 0 for none of them.
    [[nodiscard]] Q_INVOKABLE int numberOf(int place) const;
    /// The ends of what lies between two positions, in pairs.
    [[nodiscard]] Q_INVOKABLE QList<int> rangesBetween(int from, int to) const;

    /// False when `place` is none.
    Q_INVOKABLE bool replace(int place, const QString &by);
    /// One step for undo. Returns how many there were.
    Q_INVOKABLE int replaceAll(const QString &by);

signals:
    void wantedChanged();
    void placesChanged();

private:
    void want();
    void findAll();
    [[nodiscard]] bool isWord(const QString &content, qsizetype place) const;

    QPointer<QTextDocument> m_document;
    QString m_text;
    bool m_matchCase = false;
    bool m_wholeWord = false;
    QList<int> m_places; ///< in order
};
