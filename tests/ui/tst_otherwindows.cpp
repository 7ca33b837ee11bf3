#include "support/HttpServer.h"
#include "ui/WindowFixture.h"

#include <QDesktopServices>
#include <QTcpSocket>
#include <QTest>

using scripts::writeLibrary;

namespace
{

HttpServer::Answer ok(const QByteArray &body)
{
    return [body](QTcpSocket *socket) {
        socket->write(HttpServer::response("200 OK", body));
        socket->disconnectFromHost();
    };
}

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

/// The window asks the web when it opens, so it has to be made before.
bool downloadFrom(const WindowFixture &ui, const QString &url)
{
    return QMetaObject::invokeMethod(ui.object("downloadScriptWindowOnDemand"), "make") &&
           ui.object("downloadScriptWindow")->setProperty("scriptUrl", url);
}

} // namespace

/// The windows that cover the main one, except for those that need a box.
class OtherWindowsTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { WindowFixture::failOnWarnings(); }

    void downloadsScripts()
    {
        HttpServer server;
        server.on("/library",
                  ok(writeLibrary({{"Echo", "#\n# ECHO\n\n# repeats\r\nimport x\n# no\n"},
                                   {"<b>Tap</b>", "print(1)\n"}})));
        const WindowFixture ui(WindowFixture::Library{{"mine", ""}});
        QVERIFY(downloadFrom(ui, server.url("/library")));
        ui.click("downloadIcon");
        QTRY_VERIFY(ui.isOpen("downloadScriptWindow"));
        QTRY_COMPARE(ui.rows("downloadScriptListView"), QStringList({"Echo", "<b>Tap</b>"}));
        QVERIFY(ui.showsLiterally("<b>Tap</b>"));
        const auto names = ui.accessibleNames();
        QVERIFY(names.contains("Download Scripts", QAccessible::Dialog));
        QVERIFY(names.contains("Download list", QAccessible::List));
        QVERIFY(names.contains("Script notes", QAccessible::EditableText));
        QCOMPARE(ui.text("downloadNotesArea"), "#\n# ECHO\n# repeats\n");
        ui.takePicture("download");
        ui.click(ui.itemSaying("<b>Tap</b>"));
        QCOMPARE(ui.text("downloadNotesArea"), "");
        ui.press(Qt::Key_Up);
        QCOMPARE(ui.text("downloadNotesArea"), "#\n# ECHO\n# repeats\n");
        ui.click("downloadScriptButton");
        QTRY_VERIFY(!ui.isOpen("downloadScriptWindow"));
        QCOMPARE(ui.rows("scriptListView"), QStringList({"mine", "Echo"}));
        QCOMPARE(ui.text("scriptTextArea"), "#\n# ECHO\n\n# repeats\nimport x\n# no\n");
        QCOMPARE(ui.savedNames(), QStringList({"mine", "Echo"}));

        // Each opening asks anew, and the keyboard is enough.
        server.on("/library", ok(writeLibrary({{"Tape", "# tape\n"}})));
        ui.press(Qt::Key_D, Qt::ControlModifier);
        QTRY_VERIFY(ui.isOpen("downloadScriptWindow"));
        QTRY_COMPARE(ui.rows("downloadScriptListView"), QStringList("Tape"));
        QTRY_COMPARE(ui.text("downloadNotesArea"), "# tape\n");
        QCOMPARE(ui.focusedName(), "Tape");
        ui.press(Qt::Key_Return);
        QTRY_VERIFY(!ui.isOpen("downloadScriptWindow"));
        QCOMPARE(ui.savedNames(), QStringList({"mine", "Echo", "Tape"}));

        // Where nothing is selected, a script without name and text is added.
        server.on("/library", ok(writeLibrary({})));
        ui.press(Qt::Key_D, Qt::ControlModifier);
        QTRY_VERIFY(ui.isOpen("downloadScriptWindow"));
        QCOMPARE(ui.rows("downloadScriptListView"), QStringList());
        ui.click("downloadScriptButton");
        QTRY_VERIFY(!ui.isOpen("downloadScriptWindow"));
        QCOMPARE(ui.savedLibrary().size(), 4);
        QCOMPARE(ui.savedLibrary().last(), scripts::Script());
    }

    void offersNothingWithoutTheWeb()
    {
        const HttpServer server;
        const WindowFixture ui(WindowFixture::Library{{"mine", ""}});
        QVERIFY(downloadFrom(ui, server.url("/gone")));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^Network error:"));
        ui.press(Qt::Key_D, Qt::ControlModifier);
        QTRY_VERIFY(server.hasServed() && server.isIdle());
        QCOMPARE(ui.rows("downloadScriptListView"), QStringList());
        ui.takePicture("download-empty");
        ui.click("downloadDoneButton");
        QTRY_VERIFY(!ui.isOpen("downloadScriptWindow"));
        QCOMPARE(ui.rows("scriptListView"), QStringList("mine"));
    }

    void closesTheDownloadWindow_data()
    {
        QTest::addColumn<int>("tabs");
        QTest::addColumn<Qt::Key>("key");
        QTest::newRow("Escape") << 0 << Qt::Key_Escape;
        QTest::newRow("Return on Done") << 3 << Qt::Key_Return;
    }

    void closesTheDownloadWindow()
    {
        QFETCH(int, tabs);
        QFETCH(Qt::Key, key);
        HttpServer server;
        server.on("/library", ok(writeLibrary({{"Echo", "# echo\n"}})));
        const WindowFixture ui(WindowFixture::Library{{"mine", ""}});
        QVERIFY(downloadFrom(ui, server.url("/library")));
        ui.press(Qt::Key_D, Qt::ControlModifier);
        QTRY_COMPARE(ui.rows("downloadScriptListView"), QStringList("Echo"));
        for (int i = 0; i < tabs; ++i)
            ui.press(Qt::Key_Tab);
        ui.press(key);
        QTRY_VERIFY(!ui.isOpen("downloadScriptWindow"));
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

    void looksAsDesigned_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::addColumn<QPoint>("place");
        QTest::addColumn<QColor>("colour");
        const QSize normal(1024, 768);
        const QSize smallest(800, 600);
        QTest::newRow("header") << normal << QPoint(500, 3) << QColor("#888888");
        QTest::newRow("list bar") << normal << QPoint(3, 63) << QColor("#303030");
        QTest::newRow("selected row") << normal << QPoint(3, 110) << QColor("royalblue");
        QTest::newRow("list") << normal << QPoint(100, 600) << QColor("#000000");
        QTest::newRow("divider") << normal << QPoint(255, 400) << QColor("#FFFFFF");
        QTest::newRow("line numbers") << normal << QPoint(265, 590) << QColor("#666666");
        QTest::newRow("editor") << normal << QPoint(1000, 590) << QColor("#222222");
        QTest::newRow("options, smallest") << smallest << QPoint(3, 596) << QColor("#222222");
        QTest::newRow("handle, smallest") << smallest << QPoint(700, 442) << QColor("#666666");
    }

    void looksAsDesigned()
    {
        QFETCH(QSize, size);
        QFETCH(QPoint, place);
        QFETCH(QColor, colour);
        const WindowFixture ui;
        ui.window()->resize(size);
        QTRY_COMPARE(ui.window()->grabWindow().pixelColor(place), colour);
        ui.takePicture(QString("main-%1x%2").arg(size.width()).arg(size.height()));
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

int main(int argc, char *argv[])
{
    OtherWindowsTest test;
    return runWindowTests(test, argc, argv);
}
#include "tst_otherwindows.moc"
