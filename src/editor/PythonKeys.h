#pragma once

#include <QObject>
#include <QPointer>
#include <QTextDocument>

class QQuickTextDocument;
class QTextCursor;

/// What keys do in a Python script beyond the text area's own keys. Each call is one step for undo.
/// Positions are those of the text area: `start` and `end` of its selection, which are equal where
/// nothing is selected. Does nothing without a document. GUI thread only.
class PythonKeys : public QObject
{
    Q_OBJECT

public:
    static constexpr int IndentWidth = 4; ///< blanks

    using QObject::QObject;

    Q_INVOKABLE void setDocumentFromQML(QQuickTextDocument *document);

    /// Replaces the selection by a line end and as many blanks as the line begins with: more after
    /// a colon, less after a statement that ends a block.
    Q_INVOKABLE void breakLine(int start, int end);
    /// Moves the selected lines to the right, all but the empty ones.
    Q_INVOKABLE void indent(int start, int end);
    /// Moves the selected lines, or the one with the cursor, to the left.
    Q_INVOKABLE void outdent(int start, int end);
    /// Makes the lines comments, or, where all of them are, takes that back.
    Q_INVOKABLE void toggleComments(int start, int end);
    /// Deletes blanks that a line begins with, back to the next place that indent() leads to.
    /// False where there are none before `position`, so that the key deletes as usual.
    Q_INVOKABLE bool deleteIndent(int position);
    /// Replaces the selection by the clipboard's text, with blanks in the place of tabs.
    Q_INVOKABLE void paste(int start, int end);
    /// The same, at `position`, with what is selected in any window, where the system has that.
    Q_INVOKABLE void pasteSelected(int position);

private:
    [[nodiscard]] QTextCursor cursor(int start, int end) const;
    void replaceBy(QString text, int start, int end);
    /// Calls `edit` with a cursor at the beginning of each of the lines that a selection touches.
    /// One that ends before the first character of a line does not touch it.
    template <typename Edit>
    void forEachLine(int start, int end, Edit &&edit);

    QPointer<QTextDocument> m_document;
};
