#include "scripts/OSTSyntaxHighlighter.h"
#include "support/Rows.h"
#include "TextEdit.h"

#include <QTextBlock>
#include <QTextLayout>

using namespace testsupport;

/// Works on the document of a real text area, as the window does.
class OSTSyntaxHighlighterTest : public QObject
{
    Q_OBJECT

private slots:
    void colours_data()
    {
        const Rows<QString, bool> add;
        add("comment", "# comment", true);
        add("indented", " \t # comment", true);
        add("bare", "#", true);
        add("behind code", "x = 1  # note", false);
        add("empty", "", false);
        add("blanks", "    ", false);
    }

    void colours()
    {
        const auto [line, coloured] = row<QString, bool>();
        const TextEdit edit;
        const QTextDocument *const document = edit.document();
        OSTSyntaxHighlighter highlighter;
        highlighter.setDocumentFromQML(edit.quickDocument());
        QCOMPARE(highlighter.document(), document);
        // An open string in front shows that nothing is kept from line to line.
        edit.setText(QString("s = '''\n%1\nx = 2").arg(line));
        QCoreApplication::processEvents();

        QVERIFY(document->firstBlock().layout()->formats().isEmpty());
        QVERIFY(document->lastBlock().layout()->formats().isEmpty());
        QList<QTextLayout::FormatRange> expected;
        if (coloured) {
            expected << QTextLayout::FormatRange{0, static_cast<int>(line.size()), {}};
            expected.last().format.setForeground(QColor("#FFFF80"));
        }
        QCOMPARE(document->findBlockByNumber(1).layout()->formats(), expected);
    }
};

QTEST_MAIN(OSTSyntaxHighlighterTest)
#include "tst_ostsyntaxhighlighter.moc"
