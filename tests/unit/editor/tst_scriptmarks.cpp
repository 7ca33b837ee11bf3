#include "editor/ErrorLines.h"
#include "editor/LostCharacters.h"
#include "unit/scripts/TextEdit.h"

#include <QTest>

/// What is known of places in a text: lost characters in the script, error lines in the log.
class ScriptMarksTest : public QObject
{
    Q_OBJECT

private slots:
    void knowsWhatWillBeLost()
    {
        const TextEdit edit;
        LostCharacters lost;
        QCOMPARE(lost.firstLine(), 0);
        lost.setDocumentFromQML(edit.quickDocument());
        edit.setText("~ ascii\n# caf\u00E9 \u2192\n");
        QCOMPARE(lost.count(), 2);
        QCOMPARE(lost.firstLine(), 2);
        QCOMPARE(lost.rangesBetween(0, 100), QList<int>({13, 14, 15, 16}));
        QCOMPARE(lost.rangesBetween(14, 15), QList<int>());
        edit.setText("plain");
        QCOMPARE(lost.count(), 0);
        QCOMPARE(lost.firstLine(), 0);
    }

    void findsErrorLines()
    {
        const TextEdit edit;
        ErrorLines errors;
        QCOMPARE(errors.latest(), 0);
        errors.setDocumentFromQML(edit.quickDocument());
        edit.setText("line 3 of a poem\n");
        QCOMPARE(errors.latest(), 0);
        QCOMPARE(errors.lineNamedAt(2), 0);
        const QString log = "Traceback (most recent call last):\n"
                            "  File \"main.py\", line 40, in <module>\n"
                            "  File \"main.py\", line 12, in on_midi\n"
                            "NameError: name 'x' isn't defined\n";
        edit.setText(log);
        QCOMPARE(errors.latest(), 12);
        const auto place = static_cast<int>(log.indexOf("line 40"));
        QCOMPARE(errors.lineNamedAt(place), 40);
        QCOMPARE(errors.lineNamedAt(place + 7), 40);
        QCOMPARE(errors.lineNamedAt(place + 9), 0);
        QCOMPARE(errors.lineNamedAt(100000), 0);
    }
};

QTEST_MAIN(ScriptMarksTest)
#include "tst_scriptmarks.moc"
