#include "editor/TextFinder.h"
#include "support/Rows.h"
#include "unit/scripts/TextEdit.h"

#include <QSignalSpy>

using namespace testsupport;

class TextFinderTest : public QObject
{
    Q_OBJECT

private slots:
    void finds_data()
    {
        const Rows<QString, bool, bool, QList<int>> add; // wanted, case, whole word, places
        add("any case", "Led", false, false, {0, 8, 12, 21});
        add("this case", "Led", true, false, {8});
        add("word", "led", false, true, {0, 8});
        add("across lines", "\nl", false, false, {7, 11});
        add("none", "bulb", false, false, {});
        add("nothing", "", false, true, {});
    }

    void finds()
    {
        const auto [wanted, matchCase, wholeWord, places] = row<QString, bool, bool, QList<int>>();
        const TextEdit edit;
        edit.setText("led = 1\nLed\nleds set_led"); // at 0, 8, 12 and 21
        TextFinder finder;
        finder.setText(wanted);
        finder.setMatchCase(matchCase);
        finder.setWholeWord(wholeWord);
        QCOMPARE(finder.count(), 0);
        finder.setDocumentFromQML(edit.quickDocument());
        QList<int> found;
        for (int place = finder.next(0); place >= 0 && !found.contains(place);
             place = finder.next(place + 1))
            found << place;
        QCOMPARE(found, places);
        QCOMPARE(finder.count(), places.size());
        QCOMPARE(finder.previous(0), places.isEmpty() ? -1 : places.last());
        for (int i = 0; i < places.size(); ++i) {
            QCOMPARE(finder.numberOf(places[i]), i + 1);
            QCOMPARE(finder.previous(places[i] + 1), places[i]);
        }
        QCOMPARE(finder.numberOf(1), 0);
    }

    void followsTheDocument()
    {
        const TextEdit edit;
        const TextEdit other;
        edit.setText("aaaa b");
        TextFinder finder;
        finder.setDocumentFromQML(edit.quickDocument());
        finder.setText("aa");
        QCOMPARE(finder.rangesBetween(0, 6), QList<int>({0, 2, 2, 4}));
        QCOMPARE(finder.rangesBetween(1, 2), QList<int>({0, 2}));
        QCOMPARE(finder.rangesBetween(4, 6), QList<int>());
        const QSignalSpy changed(&finder, &TextFinder::placesChanged);
        edit.setText("b");
        QVERIFY(!changed.isEmpty());
        QCOMPARE(finder.count(), 0);
        other.setText("aa");
        finder.setDocumentFromQML(other.quickDocument());
        edit.setText("aaaa");
        QCOMPARE(finder.count(), 1);
        finder.setDocumentFromQML(nullptr);
        QCOMPARE(finder.next(0), -1);
    }

    void replaces()
    {
        const TextEdit edit;
        edit.setText("a b a b a");
        TextFinder finder;
        finder.setDocumentFromQML(edit.quickDocument());
        finder.setText("a");
        QVERIFY(!finder.replace(1, "c"));
        QVERIFY(finder.replace(4, "ca"));
        QCOMPARE(edit.document()->toPlainText(), "a b ca b a");
        QCOMPARE(finder.replaceAll("aa"), 3);
        QCOMPARE(edit.document()->toPlainText(), "aa b caa b aa");
        edit.document()->undo();
        QCOMPARE(edit.document()->toPlainText(), "a b ca b a");
    }
};

QTEST_MAIN(TextFinderTest)
#include "tst_textfinder.moc"
