#pragma once

#include <QObject>
#include <QPointer>
#include <QTextDocument>

class QQuickTextDocument;

/// Finds in the message log which lines of a script the box's errors name: `File "…", line 12`.
/// The numbers count from 1. GUI thread only.
class ErrorLines : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    Q_INVOKABLE void setDocumentFromQML(QQuickTextDocument *document);
    /// Named by the text at `position`; 0 where that names none.
    [[nodiscard]] Q_INVOKABLE int lineNamedAt(int position) const;
    /// Named last; 0 where none was.
    [[nodiscard]] Q_INVOKABLE int latest() const;

private:
    QPointer<QTextDocument> m_document;
};
