#include "support/Rows.h"
#include "ui/WindowFixture.h"

#include <QClipboard>
#include <QDirIterator>
#include <QGuiApplication>
#include <QTemporaryDir>

using namespace testsupport;

namespace
{

const WindowFixture::Library OneScript{{"mine", "# mine\n"}};

/// A property of the page that shows the script.
QVariant ofPage(const WindowFixture &ui, const char *property)
{
    return ui.item("scriptTextArea")->parentItem()->parentItem()->property(property);
}

/// The line whose number is marked in the editor.
int markedLine(const WindowFixture &ui)
{
    return ofPage(ui, "markedLine").toInt();
}

void log(const WindowFixture &ui, const QString &text)
{
    QVERIFY(QMetaObject::invokeMethod(ui.window(), "logMessage", Q_ARG(QString, text)));
}

} // namespace

/// What helps to write scripts: the log, finding, keys and what the window remembers.
class WritingWindowTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { WindowFixture::failOnWarnings(); }

    void followsTheLogAtItsEndOnly()
    {
        const WindowFixture ui(OneScript);
        const QQuickItem *const text = ui.item("messageTextArea");
        const auto top = [&] { return text->mapToScene({}).y(); };
        const auto endIsInSight = [&] {
            return top() + text->height() <= ui.window()->height() + 10;
        };
        log(ui, QString("line\n").repeated(100));
        QTRY_VERIFY(endIsInSight() && text->height() > 1000);
        ui.click("messageTextArea");
        ui.press(Qt::Key_Home, Qt::ControlModifier);
        const qreal before = top();
        QVERIFY(!endIsInSight());
        log(ui, "more\nand more\n");
        QTRY_VERIFY(ui.text("messageTextArea").endsWith("and more\n"));
        QCOMPARE(top(), before);

        ui.press(Qt::Key_End, Qt::ControlModifier);
        QVERIFY(endIsInSight());
        log(ui, QString("last\n").repeated(10));
        QTRY_VERIFY(ui.text("messageTextArea").endsWith("last\n"));
        QTRY_VERIFY(endIsInSight());
    }

    void bringsBackWhatWasDeleted()
    {
        const WindowFixture ui(
            WindowFixture::Library{{"Alpha", "#"}, {"Flasher", "f"}, {"Fuzz", ""}});
        const auto nowHas = [&](const QStringList &names, const QString &name) {
            return QTest::qWaitFor([&] {
                const int current = ui.value("scriptListView", "currentIndex").toInt();
                return ui.rows("scriptListView") == names && names.value(current) == name &&
                       ui.savedNames() == names;
            });
        };
        ui.click(ui.itemSaying("Flasher"));
        ui.press(Qt::Key_Return);
        ui.click("minusIcon");
        QTRY_VERIFY(ui.isOpen("okCancelDialog"));
        ui.press(Qt::Key_Return);
        QVERIFY(ui.closes("okCancelDialog"));
        QCOMPARE(ui.text("messageTextArea"), "'Flasher' deleted. Ctrl+Shift+T brings it back.\n");
        QVERIFY(nowHas({"Alpha", "Fuzz"}, "Fuzz"));
        for (int times = 0; times < 2; ++times) { // the second finds nothing
            ui.press(Qt::Key_T, Qt::ControlModifier | Qt::ShiftModifier);
            QVERIFY(nowHas({"Alpha", "Flasher", "Fuzz"}, "Flasher"));
        }

        QCOMPARE(ui.text("scriptTextArea"), "f");
        ui.press(Qt::Key_D, Qt::ControlModifier | Qt::ShiftModifier);
        QVERIFY(nowHas({"Alpha", "Flasher", "Flasher copy", "Fuzz"}, "Flasher copy"));
        ui.press(Qt::Key_Up, Qt::AltModifier);
        ui.press(Qt::Key_Up, Qt::AltModifier);
        ui.press(Qt::Key_Up, Qt::AltModifier); // stays first
        QVERIFY(nowHas({"Flasher copy", "Alpha", "Flasher", "Fuzz"}, "Flasher copy"));
        ui.press(Qt::Key_Down, Qt::AltModifier);
        QVERIFY(nowHas({"Alpha", "Flasher copy", "Flasher", "Fuzz"}, "Flasher copy"));
    }

    void jumpsToANameByItsLetters()
    {
        const WindowFixture ui(
            WindowFixture::Library{{"Alpha", ""}, {"Flasher", ""}, {"fuzz", ""}});
        const auto row = [&] { return ui.value("scriptListView", "currentIndex").toInt(); };
        ui.press(Qt::Key_F6);
        ui.press(Qt::Key_F6, Qt::ShiftModifier);
        ui.type("F");
        QCOMPARE(row(), 1);
        ui.type("u");
        QCOMPARE(row(), 2);
        ui.type("x"); // no such name
        QCOMPARE(row(), 2);
    }

    void findsAndReplaces()
    {
        const QString line = "set_led(LED)\n";
        const WindowFixture ui(
            WindowFixture::Library{{"mine", line.repeated(60)}, {"other", "led"}});
        const auto selection = [&] {
            return std::pair(ui.value("scriptTextArea", "selectionStart").toInt(),
                             ui.value("scriptTextArea", "selectedText").toString());
        };
        ui.click("scriptTextArea");
        ui.press(Qt::Key_Home, Qt::ControlModifier);
        for (int i = 0; i < 3; ++i)
            ui.press(Qt::Key_Right, Qt::ShiftModifier);
        ui.pressCtrl(Qt::Key_F); // for what is selected
        QCOMPARE(ui.text("findField"), "set");
        ui.type("led");
        QCOMPARE(ui.text("findCount"), "1 of 120");
        ui.takePicture("find");
        ui.click(ui.itemSaying("Aa"));
        ui.click(ui.itemSaying("|w|"));
        QCOMPARE(ui.text("findCount"), "none");
        ui.pressCtrl(Qt::Key_F);
        ui.type("LED");
        ui.press(Qt::Key_Return);
        ui.press(Qt::Key_F3);
        QCOMPARE(selection(), std::pair(2 * 13 + 8, QString("LED")));
        ui.press(Qt::Key_F3, Qt::ShiftModifier);
        ui.press(Qt::Key_Return, Qt::ShiftModifier);
        QCOMPARE(selection(), std::pair(8, QString("LED")));
        QCOMPARE(ui.text("findCount"), "1 of 60");

        ui.pressCtrl(Qt::Key_H);
        ui.click("replaceField");
        ui.type("x");
        ui.press(Qt::Key_Return);
        QCOMPARE(ui.text("scriptTextArea"), "set_led(x)\n" + line.repeated(59));
        QCOMPARE(ui.text("findCount"), "1 of 59");
        ui.takePicture("replace-bar");
        ui.click(ui.itemSaying("All"));
        QCOMPARE(ui.text("scriptTextArea"), QString("set_led(x)\n").repeated(60));
        ui.press(Qt::Key_Escape);
        QVERIFY(!ui.item("findField"));
        ui.pressCtrl(Qt::Key_Z);
        QCOMPARE(ui.text("scriptTextArea"), "set_led(x)\n" + line.repeated(59));

        ui.pressCtrl(Qt::Key_G);
        ui.type("3");
        ui.press(Qt::Key_Return);
        ui.type("# ");
        QCOMPARE(ui.text("scriptTextArea").indexOf("# "), 11 + 13);
    }

    void filtersTheList()
    {
        const WindowFixture ui(WindowFixture::Library{
            {"Alpha", ""}, {"Flasher", "set_led(1)"}, {"LED test", ""}, {"fuzz", ""}});
        const auto row = [&] { return ui.value("scriptListView", "currentIndex").toInt(); };
        ui.press(Qt::Key_F6);
        ui.press(Qt::Key_F6, Qt::ShiftModifier);
        ui.pressCtrl(Qt::Key_F);
        ui.type("led");
        QTRY_COMPARE(ui.rows("scriptListView"), QStringList({"Flasher", "LED test"}));
        ui.takePicture("filter");
        for (const int expected : {1, 2, 2}) {
            ui.press(Qt::Key_Down);
            QCOMPARE(row(), expected);
        }
        ui.press(Qt::Key_Home);
        QCOMPARE(row(), 1);
        ui.press(Qt::Key_Escape);
        QTRY_COMPARE(ui.rows("scriptListView").size(), 4);
        QCOMPARE(ui.focusedName(), "Flasher");
    }

    void countsAndWarnsInTheStateLine()
    {
        const WindowFixture ui(WindowFixture::Library{{"mine", QString(6498, '#')}});
        const auto colour = [&] { return ui.value("stateLine", "color").value<QColor>(); };
        QCOMPARE(ui.text("stateLine"), "6498 of 6900");
        QCOMPARE(colour(), QColor(Qt::white));
        QVERIFY(!ui.item("lostLine"));
        ui.click("scriptTextArea");
        ui.press(Qt::Key_End);
        ui.press(Qt::Key_Return);
        QGuiApplication::clipboard()->setText(QStringLiteral("\u00E9"));
        ui.pressCtrl(Qt::Key_V);
        ui.window()->resize(1024, 768);
        QCOMPARE(ui.text("stateLine"), "6500 of 6900");
        QCOMPARE(colour(), QColor("#FFFF80"));
        QTRY_COMPARE(ui.text("lostLine"), "1 character will not survive (line 2)");
        ui.pressCtrl(Qt::Key_V);
        QCOMPARE(ui.text("lostLine"), "2 characters will not survive (line 2)");
        ui.takePicture("state-line");
        ui.window()->resize(800, 600);
        QTRY_COMPARE(ui.text("lostLine"), "2 will not survive (line 2)");
    }

    void leadsFromTheErrorToItsLine()
    {
        const QString script = QString("# line\n").repeated(200);
        const WindowFixture ui(WindowFixture::Library{{"mine", script}});
        log(ui, "Traceback (most recent call last):\n  File \"a.py\", line 150, in <module>\n"
                "  File \"a.py\", line 20, in f\nValueError\n");
        ui.press(Qt::Key_F8);
        QCOMPARE(markedLine(ui), 20);
        const QQuickItem *const area = ui.item("messageTextArea");
        QRectF place;
        const auto position = static_cast<int>(ui.text("messageTextArea").indexOf("150"));
        QVERIFY(QMetaObject::invokeMethod(ui.item("messageTextArea"), "positionToRectangle",
                                          Q_RETURN_ARG(QRectF, place), Q_ARG(int, position)));
        QTest::mouseClick(ui.window(), Qt::LeftButton, {},
                          area->mapToScene(place.center()).toPoint());
        QTRY_COMPARE(markedLine(ui), 150);
        QTRY_VERIFY(ui.text("lineNumbers").contains("\n150:"));
        ui.takePicture("error-line");
        ui.type("x"); // in that line
        QVERIFY(ui.text("scriptTextArea").startsWith(QString("# line\n").repeated(149) + "x#"));
        QCOMPARE(markedLine(ui), 0);
    }

    void remembersHowItStood()
    {
        const QTemporaryDir memory;
        const QString wide = "# " + QString(200, 'b') + "\n# c\n";
        const WindowFixture::Library library{{"a", "# a\n"}, {"b", wide}};
        {
            const WindowFixture ui(library, memory.path());
            ui.click(ui.itemSaying("b"));
            ui.click("scriptTextArea");
            ui.press(Qt::Key_Home, Qt::ControlModifier);
            ui.press(Qt::Key_Down);
            for (const Qt::Key key : {Qt::Key_Plus, Qt::Key_Equal, Qt::Key_Minus, Qt::Key_Plus})
                ui.pressCtrl(key);
            ui.takePicture("zoomed");
            QVERIFY(QMetaObject::invokeMethod(ui.object("downloadScriptWindowOnDemand"), "make"));
            QCOMPARE(ui.value("downloadNotesArea", "font").value<QFont>().pointSize(), 13);
            ui.pressCtrl(Qt::Key_0);
            QCOMPARE(ui.value("downloadNotesArea", "font").value<QFont>().pointSize(), 11);
            ui.pressCtrl(Qt::Key_Plus);
            ui.pressCtrl(Qt::Key_Plus);
            ui.window()->resize(800, 640);
            ui.window()->close();
        }
        const auto state = [&](const WindowFixture &ui) {
            return std::tuple(ui.text("scriptTextArea"), ui.window()->height(),
                              ofPage(ui, "contentX").toInt(),
                              ui.value("scriptTextArea", "cursorPosition").toInt(),
                              ui.value("scriptTextArea", "font").value<QFont>().pointSize());
        };
        QCOMPARE(state(WindowFixture(library, memory.path())), std::tuple(wide, 640, 0, 203, 13));
        // A damaged file, or one with what cannot be, counts for nothing.
        QDirIterator files(memory.path(), {"window.json"}, QDir::Files,
                           QDirIterator::Subdirectories);
        for (const char *content :
             {"{", "[1]", R"({"zoom":99,"height":"x","selected":7,"carets":{}})",
              R"({"carets":[-1,"x"],"name":7,"width":1e300})"}) {
            QFile file(files.hasNext() ? files.next() : files.filePath());
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) > 0);
            file.close();
            QCOMPARE(state(WindowFixture(library, memory.path())),
                     std::tuple(QString("# a\n"), 768, 0, 0, 11));
        }
    }

    void showsWhereTheKeyboardGoes()
    {
        const WindowFixture ui(OneScript);
        ui.click("messageTextArea");
        ui.press(Qt::Key_F6); // the device menu
        for (const char *ring : {"listFocusRing", "editorFocusRing", "logFocusRing"}) {
            ui.press(Qt::Key_F6);
            QVERIFY2(ui.item(ring), ring);
            const QPoint place = ui.item(ring)->mapToScene({0, 60}).toPoint();
            QTRY_VERIFY2(ui.window()->grabWindow().pixelColor(place) == QColor(Qt::white), ring);
            ui.takePicture(ring);
        }
        QVERIFY(!ui.item("editorFocusRing"));
    }

    void saysThatScriptsCannotBeSaved()
    {
        const WindowFixture ui(OneScript);
        const QString folder = ui.home().folder();
        QVERIFY(QDir(folder).removeRecursively());
        QFile inTheWay(folder);
        QVERIFY(inTheWay.open(QIODevice::WriteOnly));
        // Every failure is a warning, and how many there are is a matter of time.
        const QtMessageHandler handler =
            qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
        ui.click("plusIcon");
        ui.click("plusIcon");
        const QString failed = "Your scripts cannot be saved: " + folder + '\n';
        const bool told = QTest::qWaitFor([&] { return ui.text("messageTextArea") == failed; });
        const bool removed = inTheWay.remove();
        ui.click("plusIcon");
        const QString works = failed + "Your scripts can be saved again.\n";
        QTRY_COMPARE(ui.text("messageTextArea"), works);
        qInstallMessageHandler(handler);
        QVERIFY(told && removed);
        QCOMPARE(ui.savedNames().size(), 4);
    }
};

WINDOW_TEST_MAIN(WritingWindowTest)
#include "tst_writingwindow.moc"
