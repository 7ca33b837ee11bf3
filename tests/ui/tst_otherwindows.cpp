#include "support/HttpServer.h"
#include "support/Rows.h"
#include "ui/WindowFixture.h"

#include <QDesktopServices>
#include <QPointer>
#include <QTcpSocket>

using namespace testsupport;

namespace
{

const WindowFixture::Library OneScript{{"mine", ""}};

/// Remembers the links that would have gone to the system's browser and other programs.
class Browser : public QObject
{
    Q_OBJECT

public:
    Browser()
    {
        for (const QString &scheme : Schemes)
            QDesktopServices::setUrlHandler(scheme, this, "open");
    }
    ~Browser() override
    {
        for (const QString &scheme : Schemes)
            QDesktopServices::unsetUrlHandler(scheme);
    }

    [[nodiscard]] const QList<QUrl> &opened() const { return m_opened; }

public slots:
    void open(const QUrl &url) { m_opened << url; }

private:
    static inline const QStringList Schemes{"https", "http", "file", "mailto", "javascript", "qrc"};

    QList<QUrl> m_opened;
};

struct ServerBesideWindow
{
    HttpServer server;
};

/// A window whose downloads come from a server of the test's own. They begin when the download
/// window opens, so that has to be made before.
class WindowWithServer : public ServerBesideWindow, public WindowFixture
{
public:
    explicit WindowWithServer(const QString &path = "/library")
        : WindowFixture(OneScript)
    {
        const bool prepared =
            QMetaObject::invokeMethod(object("downloadScriptWindowOnDemand"), "make") &&
            object("downloadScriptWindow")->setProperty("scriptUrl", server.url(path));
        QTest::qVerify(prepared, "prepared", qPrintable(path), __FILE__, __LINE__);
    }

    /// What the server has from now on.
    void offer(const Library &library)
    {
        server.on("/library", HttpServer::ok(scripts::writeLibrary(library)));
    }
};

} // namespace

/// The windows that cover the main one, except for those that need a box.
class OtherWindowsTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { WindowFixture::failOnWarnings(); }

    void downloadsScripts()
    {
        const QString echo = "#\n# ECHO\n\n# repeats\r\nimport x\n# no\n";
        const QString notes = "#\n# ECHO\n# repeats\n";
        WindowWithServer ui;
        ui.offer({{"Echo", echo}, {"<b>Tap</b>", "print(1)\n"}});
        ui.click("downloadIcon");
        QTRY_VERIFY(ui.isOpen("downloadScriptWindow"));
        QTRY_COMPARE(ui.rows("downloadScriptListView"), QStringList({"Echo", "<b>Tap</b>"}));
        QVERIFY(ui.showsLiterally("<b>Tap</b>"));
        QVERIFY(ui.accessible("Download Scripts", QAccessible::Dialog));
        QVERIFY(ui.accessible("Download list", QAccessible::List));
        QVERIFY(ui.accessible("Script notes", QAccessible::EditableText));
        QVERIFY(ui.accessible("Echo", QAccessible::ListItem)->state().selected);
        QVERIFY(!ui.accessible("<b>Tap</b>", QAccessible::ListItem)->state().selected);
        QCOMPARE(ui.namelessControls(), "");
        QCOMPARE(ui.text("downloadNotesArea"), notes);
        ui.takePicture("download");
        ui.click(ui.itemSaying("<b>Tap</b>"));
        QCOMPARE(ui.text("downloadNotesArea"), "");
        ui.press(Qt::Key_Up);
        QCOMPARE(ui.text("downloadNotesArea"), notes);
        ui.click("downloadScriptButton");
        QVERIFY(ui.closes("downloadScriptWindow"));
        QCOMPARE(ui.rows("scriptListView"), QStringList({"mine", "Echo"}));
        QCOMPARE(ui.text("scriptTextArea"), "#\n# ECHO\n\n# repeats\nimport x\n# no\n");
        QCOMPARE(ui.savedNames(), QStringList({"mine", "Echo"}));

        // Each opening asks anew, and the keyboard is enough.
        ui.offer({{"Tape", "# tape\n"}});
        ui.pressCtrl(Qt::Key_D);
        QTRY_COMPARE(ui.rows("downloadScriptListView"), QStringList("Tape"));
        QTRY_COMPARE(ui.text("downloadNotesArea"), "# tape\n");
        QCOMPARE(ui.focusedName(), "Tape");
        ui.press(Qt::Key_Return);
        QVERIFY(ui.closes("downloadScriptWindow"));
        QCOMPARE(ui.savedNames(), QStringList({"mine", "Echo", "Tape"}));

        // Where nothing is selected, a script without name and text is added.
        ui.offer({});
        ui.pressCtrl(Qt::Key_D);
        QTRY_VERIFY(ui.isOpen("downloadScriptWindow"));
        QCOMPARE(ui.rows("downloadScriptListView"), QStringList());
        ui.press(Qt::Key_Return);
        QVERIFY(ui.isOpen("downloadScriptWindow"));
        ui.click("downloadScriptButton");
        QVERIFY(ui.closes("downloadScriptWindow"));
        QCOMPARE(ui.savedLibrary().size(), 4);
        QCOMPARE(ui.savedLibrary().last(), scripts::Script());
    }

    void leavesAloneWhatItCovers()
    {
        WindowWithServer ui;
        ui.offer({{"Tape", ""}, {"Tap", ""}, {"Wah", ""}, {"Fuzz", ""}, {"Echo", ""}});
        for (int i = 0; i < 4; ++i)
            ui.pressCtrl(Qt::Key_N);
        const int selected = ui.value("scriptListView", "currentIndex").toInt();
        ui.pressCtrl(Qt::Key_D);
        QTRY_COMPARE(ui.rows("downloadScriptListView").size(), 5);
        ui.click(ui.itemSaying("Echo")); // before a script of the user
        QCOMPARE(ui.value("downloadScriptListView", "currentIndex").toInt(), 4);
        QCOMPARE(ui.value("scriptListView", "currentIndex").toInt(), selected);
    }

    void offersNothingWithoutTheWeb()
    {
        WindowWithServer ui("/gone");
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^Network error:"));
        ui.pressCtrl(Qt::Key_D);
        QTRY_VERIFY(ui.itemSaying("The library could not be reached."));
        QVERIFY(ui.text("downloadFailure").contains("Not Found"));
        QCOMPARE(ui.rows("downloadScriptListView"), QStringList());
        ui.takePicture("download-empty");
        ui.server.on("/gone", HttpServer::ok(scripts::writeLibrary({{"back", ""}})));
        ui.click("downloadAgainButton");
        QTRY_COMPARE(ui.rows("downloadScriptListView"), QStringList("back"));
        QVERIFY(!ui.itemSaying("The library could not be reached."));
        ui.click("downloadDoneButton");
        QVERIFY(ui.closes("downloadScriptWindow"));
        QCOMPARE(ui.rows("scriptListView"), QStringList("mine"));
    }

    void waitsForADownloadAndNoLonger()
    {
        WindowWithServer ui;
        QPointer<QTcpSocket> late;
        ui.server.on("/library", [&](QTcpSocket *socket) { late = socket; });
        QVERIFY(ui.object("downloadScriptWindow")->setProperty("timeLimit", 1000));
        ui.pressCtrl(Qt::Key_D);
        QTRY_VERIFY(ui.item("downloadBusySign"));
        ui.takePicture("download-busy");
        QTRY_COMPARE(ui.text("downloadFailure"), "No answer came within 1 seconds.");

        // An answer to an earlier opening.
        ui.click("downloadAgainButton");
        QTRY_VERIFY(late);
        ui.press(Qt::Key_Escape);
        QVERIFY(ui.closes("downloadScriptWindow"));
        QTRY_VERIFY(!late); // nobody waits for it
        ui.offer({{"mine", ""}, {"Tape", ""}, {"Tap", ""}});
        ui.pressCtrl(Qt::Key_D);
        QTRY_COMPARE(ui.rows("downloadScriptListView"), QStringList({"mine", "Tape", "Tap"}));
        QVERIFY(!ui.item("downloadBusySign"));
        QCOMPARE(ui.value("downloadScriptListView", "currentIndex").toInt(), 0);
        QVERIFY(ui.itemSaying("\u2713")); // "mine" is in the library
        ui.click("downloadFilterField");
        ui.type("tape");
        QTRY_COMPARE(ui.rows("downloadScriptListView"), QStringList("Tape"));
        ui.takePicture("download-filtered");
        ui.press(Qt::Key_Return);
        ui.press(Qt::Key_Return);
        QVERIFY(ui.closes("downloadScriptWindow"));
        QCOMPARE(ui.savedNames(), QStringList({"mine", "Tape"}));
    }

    void closesTheDownloadWindow_data()
    {
        const Rows<int, Qt::Key> add; // how often Tab, then which key
        add("Escape", 0, Qt::Key_Escape);
        add("Return on Done", 3, Qt::Key_Return);
    }

    void closesTheDownloadWindow()
    {
        const auto [tabs, key] = row<int, Qt::Key>();
        WindowWithServer ui;
        ui.offer({{"Echo", "# echo\n"}});
        ui.pressCtrl(Qt::Key_D);
        QTRY_COMPARE(ui.rows("downloadScriptListView"), QStringList("Echo"));
        for (int i = 0; i < tabs; ++i)
            ui.press(Qt::Key_Tab);
        ui.press(key);
        QVERIFY(ui.closes("downloadScriptWindow"));
        QCOMPARE(ui.rows("scriptListView"), QStringList("mine"));
    }

    void showsTheGuide()
    {
        const Browser browser;
        const WindowFixture ui;
        ui.click("guideIcon");
        QTRY_VERIFY(ui.item("helpTextArea"));
        QObject *const guide = ui.object("helpTextArea");
        QString text;
        QVERIFY(QMetaObject::invokeMethod(guide, "getText", Q_RETURN_ARG(QString, text),
                                          Q_ARG(int, 0),
                                          Q_ARG(int, guide->property("length").toInt())));
        qsizetype place = 0;
        for (const char *part :
             {"Ostrel Editor", "Version 1.1.1", "Available Scripts", "Current Script",
              "Other Options", "Ctrl+N", "Message Log", "Writing Scripts", "Connecting to a Device",
              "-Scan for Devices-", "-Scan For Devices-"}) {
            place = text.indexOf(QLatin1String(part), place);
            QVERIFY2(place >= 0, part);
        }
        QVERIFY(!text.contains("Cables Required"));
        ui.takePicture("guide");

        const auto scrolled = [&] { return ui.item("helpTextArea")->mapToScene({}).y(); };
        const qreal top = scrolled();
        ui.press(Qt::Key_End);
        QVERIFY(scrolled() < top);
        ui.takePicture("guide-end");
        QVERIFY(clickOn(ui, text.indexOf("micropython.org") + 3));
        QCOMPARE(browser.opened(), QList<QUrl>{QUrl("https://micropython.org")});
        ui.press(Qt::Key_Home);
        QCOMPARE(scrolled(), top);

        // Nothing behind it is in reach.
        for (const Qt::Key key : {Qt::Key_Tab, Qt::Key_Backtab}) {
            for (const char *next : {"helpOkButton", "helpTextArea"}) {
                ui.press(key);
                QCOMPARE(ui.window()->activeFocusItem()->objectName(), next);
            }
        }

        ui.click("helpOkButton");
        QTRY_VERIFY(!ui.item("helpTextArea"));
        for (const Qt::Key key : {Qt::Key_Escape, Qt::Key_Return}) {
            ui.press(Qt::Key_F1);
            QTRY_VERIFY(ui.item("helpTextArea"));
            ui.press(key);
            QTRY_VERIFY(!ui.item("helpTextArea"));
        }
    }

    void opensNothingButHttps()
    {
        const Browser browser;
        const WindowFixture ui;
        ui.press(Qt::Key_F1);
        QTRY_VERIFY(ui.item("helpTextArea"));
        const auto follow = [&](const QString &link) {
            const QString text = QString("<a href='%1'>a link</a>").arg(link);
            return ui.object("helpTextArea")->setProperty("text", text) && clickOn(ui, 3);
        };
        for (const char *link :
             {"http://ostrel.example/", "file:///etc/hosts", "mailto:somebody@ostrel.example",
              "javascript:alert(1)", "qrc:/x", "//ostrel.example/", "x.html"})
            QVERIFY(follow(link));
        QVERIFY(follow("https://ostrel.example/"));
        QCOMPARE(browser.opened(), QList<QUrl>{QUrl("https://ostrel.example/")});
    }

    void looksAsDesigned()
    {
        const QSize normal(1024, 768);
        const QSize smallest(800, 600);
        const std::tuple<const char *, QSize, QPoint, QColor> places[] = {
            {"header", normal, {500, 3}, "#888888"},
            {"list bar", normal, {3, 63}, "#303030"},
            {"selected row", normal, {3, 110}, "royalblue"},
            {"list", normal, {100, 600}, "#000000"},
            {"divider", normal, {320, 400}, "#FFFFFF"},
            {"line numbers", normal, {335, 590}, "#666666"},
            {"editor", normal, {1000, 590}, "#222222"},
            {"options, smallest", smallest, {3, 596}, "#222222"},
            {"handle, smallest", smallest, {700, 442}, "#666666"}};
        const WindowFixture ui;
        for (const auto &[name, size, place, colour] : places) {
            ui.window()->resize(size);
            QTRY_VERIFY2(ui.window()->grabWindow().pixelColor(place) == colour, name);
            ui.takePicture(QString("main-%1x%2").arg(size.width()).arg(size.height()));
        }

        const QQuickItem *const title = ui.itemSaying("Available Scripts");
        QVERIFY(title->property("paintedWidth").toReal() >= title->implicitWidth() - 1);
        qreal right = ui.item("scriptListView")->width();
        for (const char *icon : {"plusIcon", "minusIcon", "sortIcon"}) {
            const QQuickItem *const item = ui.item(icon);
            QCOMPARE(item->mapToScene({item->width(), 0}).x(), right - 25);
            right -= 25;
        }
    }

private:
    /// Clicks on a character of the guide.
    static bool clickOn(const WindowFixture &ui, qsizetype position)
    {
        QQuickItem *const guide = ui.item("helpTextArea");
        QRectF character;
        if (!QMetaObject::invokeMethod(guide, "positionToRectangle",
                                       Q_RETURN_ARG(QRectF, character),
                                       Q_ARG(int, static_cast<int>(position))))
            return false;
        const QPoint place = guide->mapToScene(character.center()).toPoint();
        QTest::mouseMove(ui.window(), place);
        QTest::mouseClick(ui.window(), Qt::LeftButton, {}, place);
        return true;
    }
};

WINDOW_TEST_MAIN(OtherWindowsTest)
#include "tst_otherwindows.moc"
