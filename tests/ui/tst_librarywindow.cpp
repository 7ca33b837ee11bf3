#include "support/Rows.h"
#include "ui/WindowFixture.h"

#include <QScreen>

using namespace testsupport;

namespace
{

constexpr int MaxScriptLength = 6900;
constexpr char TooLong[] = "Script exceeds maximum allowable length (6900 bytes)";

WindowFixture::Library threeScripts()
{
    return {{"beta", "# second\n"}, {"Alpha", "# first\n"}, {"gamma", "# third\n"}};
}

} // namespace

/// The script library in the window: what is done there shows at once and is in the file soon.
class LibraryWindowTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { WindowFixture::failOnWarnings(); }

    void showsTheDefaultScripts()
    {
        const WindowFixture ui;
        QCOMPARE(ui.window()->title(), "Ostrel Script Editor v1.1.1");
        const QSize screen = ui.window()->screen()->availableSize();
        QCOMPARE(ui.window()->size(), QSize(1024, 768).boundedTo(screen));
        QCOMPARE(ui.rows("scriptListView"),
                 QStringList({"Expression x1", "Flasher", "Merge and Thru", "MIDI Cable Tester",
                              "Thru x2"}));
        QVERIFY(ui.text("scriptTextArea").contains("from ostrel import *"));
        ui.click(ui.itemSaying("Flasher"));
        QTRY_COMPARE(ui.savedNames().size(), 5);
        QCOMPARE(ui.text("scriptTextArea"), ui.savedLibrary().at(1).text);
        ui.takePicture("main");
    }

    void addsAScript()
    {
        const WindowFixture ui(threeScripts());
        ui.click("plusIcon");
        QCOMPARE(ui.rows("scriptListView"), QStringList({"beta", "Alpha", "gamma", "NEW SCRIPT"}));
        QCOMPARE(ui.value("scriptListView", "currentIndex").toInt(), 3);
        QCOMPARE(ui.text("scriptTextArea"), "from ostrel import *\n\n");
        QCOMPARE(ui.savedLibrary().last(),
                 (scripts::Script{"NEW SCRIPT", "from ostrel import *\n\n"}));
    }

    void namesTheNewScript()
    {
        const WindowFixture ui(threeScripts());
        ui.click("plusIcon");
        ui.type("Looper"); // replaces the name
        ui.press(Qt::Key_Return);
        ui.type("x = 1");
        QCOMPARE(ui.text("scriptTextArea"), "from ostrel import *\n\nx = 1");
        QTRY_COMPARE(ui.savedNames().last(), "Looper");
    }

    void showsLongNamesAndLists()
    {
        WindowFixture::Library library(40, {"x", ""});
        const QString name = "A name that is much wider than the column of the list is anywhere";
        library.first().name = name;
        const WindowFixture ui(library);
        const QQuickItem *const shown = ui.itemSaying(name);
        QVERIFY(shown->property("truncated").toBool());
        QTest::mouseMove(ui.window(), QPoint(100, 112));
        QTest::mouseMove(ui.window(), QPoint(101, 112));
        QTRY_VERIFY(!ui.itemSaying(name)->property("truncated").toBool()); // the tooltip
        ui.takePicture("long-names");

        // All of a row reacts, up to the scroll bar that is seen.
        const QQuickItem *const list = ui.item("scriptListView");
        const QQuickItem *const row = shown->parentItem();
        QVERIFY(row->width() < list->width());
        const QPointF edge = row->mapToScene({row->width() - 2, 2.5 * row->height()});
        QTest::mouseClick(ui.window(), Qt::LeftButton, {}, edge.toPoint());
        QCOMPARE(ui.value("scriptListView", "currentIndex").toInt(), 2);
    }

    void deletesAfterAQuestion()
    {
        const WindowFixture ui(threeScripts());
        ui.click(ui.itemSaying("Alpha"));
        ui.click("minusIcon");
        QTRY_VERIFY(ui.itemSaying("Delete script 'Alpha'?"));
        ui.takePicture("delete");
        ui.press(Qt::Key_Escape);
        QTest::mouseClick(ui.window(), Qt::LeftButton, {}, QPoint(20, 400));
        QVERIFY(ui.isOpen("okCancelDialog"));
        ui.click(ui.itemSaying("Cancel"));
        QVERIFY(ui.closes("okCancelDialog"));
        QCOMPARE(ui.rows("scriptListView").size(), 3);

        // A key that is held asks the question and does not answer it.
        for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Space}) {
            ui.item("minusIconButton")->forceActiveFocus(Qt::TabFocusReason);
            ui.hold(key);
            QTRY_VERIFY(ui.isOpen("okCancelDialog"));
            ui.click(ui.itemSaying("Cancel"));
            QVERIFY(ui.closes("okCancelDialog"));
            QCOMPARE(ui.rows("scriptListView").size(), 3);
        }

        // Without a device this key sends nothing, and it is no press of the icon either.
        ui.item("minusIconButton")->forceActiveFocus(Qt::TabFocusReason);
        ui.pressCtrl(Qt::Key_Return);
        QVERIFY(!ui.isOpen("okCancelDialog"));

        ui.click("minusIcon");
        QTRY_VERIFY(ui.isOpen("okCancelDialog"));
        ui.press(Qt::Key_Return);
        QVERIFY(ui.closes("okCancelDialog"));
        QTRY_COMPARE(ui.rows("scriptListView"), QStringList({"beta", "gamma"}));
        QCOMPARE(ui.text("scriptTextArea"), "# third\n");
        QCOMPARE(ui.savedNames(), QStringList({"beta", "gamma"}));
    }

    void endsWithoutScripts()
    {
        const WindowFixture ui(WindowFixture::Library{{"only", "# one\n"}});
        ui.click("minusIcon");
        QTRY_VERIFY(ui.isOpen("okCancelDialog"));
        ui.click(ui.itemSaying("OK"));
        QTRY_COMPARE(ui.rows("scriptListView"), QStringList());
        QCOMPARE(ui.text("scriptTextArea"), "");
        QVERIFY(ui.value("scriptTextArea", "readOnly").toBool());
        ui.takePicture("main-empty");
        ui.pressCtrl(Qt::Key_L);
        ui.click("scriptTextArea");
        ui.press(Qt::Key_Tab);
        QCOMPARE(ui.text("scriptTextArea"), "");

        ui.click("minusIcon");
        QTRY_VERIFY(ui.itemSaying("Delete script ''?"));
        ui.press(Qt::Key_Return);
        QVERIFY(ui.closes("okCancelDialog"));
        ui.click("plusIcon");
        QTRY_COMPARE(ui.rows("scriptListView"), QStringList("NEW SCRIPT"));
        QVERIFY(!ui.value("scriptTextArea", "readOnly").toBool());
        QCOMPARE(ui.text("scriptTextArea"), "from ostrel import *\n\n");
        QCOMPARE(ui.savedNames(), QStringList("NEW SCRIPT"));
    }

    void sorts_data()
    {
        const Rows<QStringList, QString, QStringList, int> add;
        add("follows the selected script", {"beta", "Alpha", "alpha"}, "beta",
            {"Alpha", "alpha", "beta"}, 2);
        add("first of equal names", {"x", "c", "x"}, "c", {"c", "x", "x"}, 0);
    }

    void sorts()
    {
        const auto [names, selected, sorted, current] =
            row<QStringList, QString, QStringList, int>();
        WindowFixture::Library library;
        for (const QString &name : names)
            library.append({name, "# " + name});
        const WindowFixture ui(library);
        ui.click(ui.itemSaying(selected));
        ui.click("sortIcon");
        QTRY_COMPARE(ui.rows("scriptListView"), sorted);
        QCOMPARE(ui.value("scriptListView", "currentIndex").toInt(), current);
        QCOMPARE(ui.text("scriptTextArea"), "# " + selected);
        QTRY_COMPARE(ui.savedNames(), sorted);
    }

    void renamesInPlace()
    {
        const WindowFixture ui(threeScripts());
        ui.click(ui.itemSaying("gamma"));
        QCOMPARE(ui.value("scriptListView", "currentIndex").toInt(), 2);
        QCOMPARE(ui.text("scriptTextArea"), "# third\n");
        ui.pressCtrl(Qt::Key_A);
        ui.type("Delay <b>");
        QCOMPARE(ui.rows("scriptListView").last(), "Delay <b>");
        QTRY_COMPARE(ui.savedNames().last(), "Delay <b>");
        ui.press(Qt::Key_Return);
        QCOMPARE(ui.focusedName(), "Delay <b>"); // the row, no longer its name
        ui.press(Qt::Key_Up);
        QCOMPARE(ui.text("scriptTextArea"), "# first\n");
        ui.press(Qt::Key_F2);
        ui.type("Tape");
        ui.press(Qt::Key_Escape);
        QCOMPARE(ui.focusedName(), "Alpha");
        ui.press(Qt::Key_End);
        QTRY_COMPARE(ui.savedNames(), QStringList({"beta", "Alpha", "Delay <b>"}));
    }

    void writesPythonWithFewKeys()
    {
        const WindowFixture ui(WindowFixture::Library{{"one", "#\n"}});
        ui.click("scriptTextArea");
        ui.press(Qt::Key_End, Qt::ControlModifier);
        ui.type("if a:");
        ui.press(Qt::Key_Return);
        ui.type("pass");
        ui.press(Qt::Key_Return);
        ui.press(Qt::Key_Tab);
        ui.press(Qt::Key_Backspace);
        ui.type("b");
        QCOMPARE(ui.text("scriptTextArea"), "#\nif a:\n    pass\nb");
        ui.pressCtrl(Qt::Key_A);
        ui.press(Qt::Key_Tab);
        ui.press(Qt::Key_Backtab, Qt::ShiftModifier);
        ui.press(Qt::Key_Backtab, Qt::ShiftModifier);
        QCOMPARE(ui.text("scriptTextArea"), "#\nif a:\npass\nb");
        ui.pressCtrl(Qt::Key_Z);
        ui.press(Qt::Key_End, Qt::ControlModifier);
        ui.pressCtrl(Qt::Key_Slash);
        QCOMPARE(ui.text("scriptTextArea"), "#\nif a:\n    pass\n# b");
        QTRY_COMPARE(ui.savedLibrary().first().text, "#\nif a:\n    pass\n# b");
    }

    void keepsWhatIsTyped()
    {
        const WindowFixture ui(threeScripts());
        ui.click("scriptTextArea");
        ui.press(Qt::Key_Home, Qt::ControlModifier);
        ui.press(Qt::Key_Tab);
        ui.type("print(1)");
        ui.press(Qt::Key_Return);
        const QString edited = "    print(1)\n    # second\n";
        QCOMPARE(ui.text("scriptTextArea"), edited);
        QVERIFY(ui.text("lineNumbers").contains("\n3:"));
        QVERIFY(!ui.itemSaying("4:"));
        QTRY_COMPARE(ui.savedLibrary().first().text, edited); // without any further action

        ui.type("# two");
        ui.click(ui.itemSaying("gamma"));
        QTRY_COMPARE(ui.savedLibrary().first().text, "    print(1)\n    # two# second\n");
        ui.click(ui.itemSaying("beta"));
        QCOMPARE(ui.text("scriptTextArea"), "    print(1)\n    # two# second\n");
    }

    void undoesInOneScriptAlone()
    {
        const WindowFixture ui(WindowFixture::Library{{"one", "# same"}, {"two", "# same"}});
        ui.click("scriptTextArea");
        ui.type("x");
        ui.press(Qt::Key_Backspace);
        ui.click(ui.itemSaying("two"));
        ui.click("scriptTextArea");
        ui.pressCtrl(Qt::Key_Z);
        QCOMPARE(ui.text("scriptTextArea"), "# same");
    }

    /// What belongs to a script stays with it when another one is selected, and when it is sorted.
    void keepsThePlaceInAScript()
    {
        const QString lines = QString("# line\n").repeated(100);
        const WindowFixture ui(WindowFixture::Library{{"b", lines}, {"empty", ""}, {"a", ""}});
        const auto place = [&] {
            const QQuickItem *const text = ui.item("scriptTextArea");
            return std::pair(text->property("cursorPosition").toInt(), text->mapToScene({}).y());
        };
        ui.click("scriptTextArea");
        ui.press(Qt::Key_End, Qt::ControlModifier);
        ui.type("x");
        const auto before = place();
        ui.click(ui.itemSaying("empty"));
        ui.click("scriptTextArea");
        ui.type("y");
        ui.click(ui.itemSaying("a"));
        ui.click("scriptTextArea");
        ui.pressCtrl(Qt::Key_Z);
        QCOMPARE(ui.text("scriptTextArea"), "");
        ui.click(ui.itemSaying("b"));
        QCOMPARE(place(), before);
        ui.click("sortIcon");
        QCOMPARE(ui.rows("scriptListView"), QStringList({"a", "b", "empty"}));
        QCOMPARE(place(), before);
        ui.item("scriptTextArea")->forceActiveFocus();
        ui.pressCtrl(Qt::Key_Z);
        QCOMPARE(ui.text("scriptTextArea"), lines);
        QTRY_COMPARE(ui.savedLibrary().at(1).text, lines);
    }

    /// More scripts than are kept with what can be undone in them.
    void undoesNothingOfAnotherScript()
    {
        const WindowFixture ui(WindowFixture::Library(30, {"x", ""}));
        ui.click("scriptTextArea");
        ui.type("ab");
        for (int i = 0; i < 2; ++i)
            ui.press(Qt::Key_Backspace);
        ui.press(Qt::Key_F6, Qt::ShiftModifier);
        for (int i = 0; i < 25; ++i) {
            ui.press(Qt::Key_Down);
            ui.item("scriptTextArea")->forceActiveFocus();
            ui.pressCtrl(Qt::Key_Z);
            QCOMPARE(ui.text("scriptTextArea"), "");
            ui.press(Qt::Key_F6, Qt::ShiftModifier);
        }
        QCOMPARE(ui.value("scriptListView", "currentIndex").toInt(), 25);
    }

    void showsPlainLineEnds()
    {
        const WindowFixture::Library library{{"crlf", "a\r\nb"}, {"cr", "c\r"}, {"other", ""}};
        const WindowFixture ui(library);
        QCOMPARE(ui.text("scriptTextArea"), "a\nb");
        QCOMPARE(ui.savedLibrary(), library); // nothing was done yet
        ui.click(ui.itemSaying("cr"));
        ui.click(ui.itemSaying("other"));
        QTRY_COMPARE(ui.savedLibrary().at(1).text, "c\n");
    }

    void keepsTheCursorInView_data()
    {
        const Rows<QString> add;
        add("script", "scriptTextArea");
        add("log", "messageTextArea");
    }

    void keepsTheCursorInView()
    {
        const auto [area] = row<QString>();
        WindowFixture::Library library{{"long", QString("# line\n").repeated(400)}};
        library.first().text += QString("# wide ").repeated(60);
        const WindowFixture ui(library);
        ui.click(area);
        if (area == "messageTextArea") {
            for (int i = 0; i < 9; ++i)
                ui.hold(Qt::Key_Return); // which writes seven times here
            QCOMPARE(ui.text(area), QString(63, '\n'));
        }
        const QQuickItem *const editor = ui.item(area);
        QVERIFY(editor);
        const auto cursorIsInView = [editor] {
            const QQuickItem *const view = editor->parentItem()->parentItem();
            const QRectF cursor = editor->property("cursorRectangle").toRectF();
            const QPointF place = editor->mapToItem(view, cursor.center());
            return QRectF(0, 0, view->width(), view->height()).contains(place);
        };
        const std::pair<Qt::Key, Qt::KeyboardModifiers> keys[] = {
            {Qt::Key_End, Qt::ControlModifier},
            {Qt::Key_PageUp, {}},
            {Qt::Key_Home, {}},
            {Qt::Key_PageDown, {}},
            {Qt::Key_Down, {}},
            {Qt::Key_Home, Qt::ControlModifier}};
        for (const auto &[key, modifiers] : keys) {
            ui.press(key, modifiers);
            QTRY_VERIFY2(cursorIsInView(), qPrintable(QKeySequence(key).toString()));
        }
        ui.press(Qt::Key_End, Qt::ControlModifier);
        QTRY_VERIFY(area == "messageTextArea" || ui.text("lineNumbers").contains("\n401:"));
        ui.takePicture("main-long-" + area);
        for (const auto page : {Qt::Key_PageUp, Qt::Key_PageUp, Qt::Key_PageDown})
            ui.press(page, Qt::ShiftModifier | Qt::KeypadModifier);
        const QString selected = ui.value(area, "selectedText").toString();
        QVERIFY(selected.count('\n') > 3 && selected.count('\n') < 60);
        QVERIFY(cursorIsInView());
        ui.press(Qt::Key_PageUp);
        QCOMPARE(ui.value(area, "selectedText").toString(), "");
    }

    void warnsOfTooLongAScript()
    {
        const WindowFixture ui(
            WindowFixture::Library{{"full", QString(MaxScriptLength - 1, '#')}, {"other", ""}});
        ui.click("scriptTextArea");
        ui.press(Qt::Key_Home);
        ui.type("#");
        QVERIFY(!ui.isOpen("messageDialog"));
        for (int attempt = 0; attempt < 2; ++attempt) {
            ui.type("#");
            QTRY_VERIFY(ui.itemSaying(TooLong));
            if (attempt == 0)
                ui.takePicture("too-long");
            ui.press(Qt::Key_Return);
            QTRY_VERIFY(!ui.itemSaying(TooLong));
        }
        ui.click(ui.itemSaying("other"));
        QTRY_COMPARE(ui.savedLibrary().first().text.size(), MaxScriptLength + 2);
    }

    void isUsableByKeyboard()
    {
        const WindowFixture ui(threeScripts());
        QCOMPARE(ui.tabOrder().join(", "),
                 "beta, Download Scripts, Read Guide, Script editor, Clear, Message log, "
                 "Device, Sort scripts, Delete script, Add script");
        QCOMPARE(ui.text("scriptTextArea"), "# second\n");
        ui.click("messageTextArea");
        for (const char *name : {"Clear", "Script editor"}) {
            ui.press(Qt::Key_Backtab, Qt::ShiftModifier);
            QCOMPARE(ui.focusedName(), name);
        }
        const std::pair<Qt::KeyboardModifiers, const char *> steps[] = {
            {{}, "Message log"},
            {{}, "Device"},
            {{}, "beta"},
            {Qt::ShiftModifier, "Device"},
            {Qt::ShiftModifier, "Message log"}};
        for (const auto &[modifiers, name] : steps) {
            ui.press(Qt::Key_F6, modifiers);
            QCOMPARE(ui.focusedName(), name);
        }
    }

    void obeysShortcuts()
    {
        const WindowFixture ui(threeScripts());
        ui.hold(Qt::Key_N, Qt::ControlModifier); // once, however long
        QCOMPARE(ui.rows("scriptListView").last(), "NEW SCRIPT");
        ui.pressCtrl(Qt::Key_L);
        QCOMPARE(ui.rows("scriptListView"), QStringList({"Alpha", "beta", "gamma", "NEW SCRIPT"}));
        ui.press(Qt::Key_Delete, Qt::ControlModifier | Qt::ShiftModifier);
        QTRY_VERIFY(ui.itemSaying("Delete script 'NEW SCRIPT'?"));
        ui.press(Qt::Key_Return);
        QTRY_COMPARE(ui.rows("scriptListView").size(), 3);
        ui.click("messageTextArea");
        ui.type("my own note");
        ui.press(Qt::Key_K, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(ui.text("messageTextArea"), "");
    }
};

WINDOW_TEST_MAIN(LibraryWindowTest)
#include "tst_librarywindow.moc"
