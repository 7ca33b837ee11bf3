#include "editor/PythonKeys.h"
#include "support/Rows.h"
#include "unit/scripts/TextEdit.h"

#include <QClipboard>
#include <QGuiApplication>

using namespace testsupport;

namespace
{

/// Where the bars stand in a text: the ends of the selection, or twice the cursor.
std::pair<int, int> selectionIn(const QString &marked)
{
    const auto first = static_cast<int>(marked.indexOf(u'|'));
    const auto second = static_cast<int>(marked.lastIndexOf(u'|'));
    return {first, second == first ? first : second - 1};
}

} // namespace

class PythonKeysTest : public QObject
{
    Q_OBJECT

private slots:
    void edits_data()
    {
        const Rows<QString, QString, QString> add; // key, text with the selection, what it becomes
        add("keeps the indentation", "Return", "    a = 1|", "    a = 1\n    ");
        add("after a colon", "Return", "  if a:|", "  if a:\n      ");
        add("colon and comment", "Return", "if a:  # so: |", "if a:  # so: \n    ");
        add("colon in a string", "Return", "a = '# \\': x:' |", "a = '# \\': x:' \n");
        add("colon in a comment", "Return", "a = 1  # x:|", "a = 1  # x:\n");
        add("after return", "Return", "        return x|", "        return x\n    ");
        add("after pass", "Return", "    pass|", "    pass\n");
        add("after raise", "Return", "  raise(x)|", "  raise(x)\n");
        add("a longer word", "Return", "    returned = 1|", "    returned = 1\n    ");
        add("within the blanks", "Return", "  |  a", "  \n    a");
        add("selection", "Return", "    a|b\nc|d", "    a\n    d");
        add("indent lines", "Tab", "a\n|b\n\n  c|\nd", "a\n    b\n\n      c\nd");
        add("indent no further line", "Tab", "|a\n|b", "    a\nb");
        add("outdent", "Shift+Tab", "      a|", "  a");
        add("outdent little", "Shift+Tab", "|  a\n\tb\nc|", "a\nb\nc");
        add("backspace", "Backspace", "        |a", "    a");
        add("backspace to a stop", "Backspace", "      |a", "    a");
        add("backspace after text", "Backspace", "    a|", "    a");
        add("backspace at the edge", "Backspace", "a\n|b", "a\nb");
        add("comment", "Ctrl+/", "|    a\n\n        b|", "    # a\n\n    #     b");
        add("comment some", "Ctrl+/", "|# a\nb|", "# # a\n# b");
        add("no comment", "Ctrl+/", "|    # a\n#b|", "    a\nb");
        add("paste", "Ctrl+V", "if a:\n|x|", "if a:\n    y = 1\n    # z");
        add("beyond the end", "Return beyond", "a|", "a\n");
    }

    void edits()
    {
        const auto [key, marked, expected] = row<QString, QString, QString>();
        const auto [start, end] = selectionIn(marked);
        const QString text = QString(marked).remove(u'|');
        const TextEdit edit;
        edit.setText(text);
        PythonKeys keys;
        QGuiApplication::clipboard()->setText("\ty = 1\r\n\t# z");
        press(keys, key, start, end); // without a document
        keys.setDocumentFromQML(edit.quickDocument());
        press(keys, key, start, end);
        QCOMPARE(edit.document()->toPlainText(), expected);
        if (text != expected)
            edit.document()->undo();
        QCOMPARE(edit.document()->toPlainText(), text);
        QVERIFY(!edit.document()->isUndoAvailable());
    }

private:
    static void press(PythonKeys &keys, const QString &key, int start, int end)
    {
        if (key == "Return")
            keys.breakLine(start, end);
        else if (key == "Return beyond")
            keys.breakLine(start + 100, end + 100);
        else if (key == "Tab")
            keys.indent(start, end);
        else if (key == "Shift+Tab")
            keys.outdent(start, end);
        else if (key == "Ctrl+/")
            keys.toggleComments(start, end);
        else if (key == "Ctrl+V")
            keys.paste(start, end);
        else
            keys.deleteIndent(start);
    }
};

QTEST_MAIN(PythonKeysTest)
#include "tst_pythonkeys.moc"
