#pragma once

// The meta-object needs the whole type of the argument.
#include <QQuickTextDocument>
#include <QSyntaxHighlighter>

/// Colours the comment lines of a script: lines whose first character that is not blank is "#".
/// It keeps nothing from line to line and so knows no strings. Lives on the GUI thread.
class OSTSyntaxHighlighter : public QSyntaxHighlighter
{
    Q_OBJECT

public:
    explicit OSTSyntaxHighlighter(QObject *parent = nullptr);

    /// Attaches to the document behind a text area's `textDocument`.
    Q_INVOKABLE void setDocumentFromQML(QQuickTextDocument *doc);

protected:
    void highlightBlock(const QString &text) override;
};
