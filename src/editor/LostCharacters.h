#pragma once

#include <QList>
#include <QObject>
#include <QPointer>
#include <QTextDocument>

class QQuickTextDocument;

/// Knows the characters of a script that will not survive the way to the box and back: the box gets
/// one byte for each character and answers in UTF-8, so only ASCII comes back as it went. Follows
/// the document. GUI thread only.
class LostCharacters : public QObject
{
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY placesChanged FINAL)
    /// The line of the first one, counted from 1; 0 where there is none.
    Q_PROPERTY(int firstLine READ firstLine NOTIFY placesChanged FINAL)

public:
    using QObject::QObject;

    [[nodiscard]] int count() const { return static_cast<int>(m_places.size()); }
    [[nodiscard]] int firstLine() const;

    Q_INVOKABLE void setDocumentFromQML(QQuickTextDocument *document);
    /// The ends of each of them between two positions, in pairs.
    [[nodiscard]] Q_INVOKABLE QList<int> rangesBetween(int from, int to) const;

signals:
    void placesChanged();

private:
    void findAll();

    QPointer<QTextDocument> m_document;
    QList<int> m_places; ///< in order
};
