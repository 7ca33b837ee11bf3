#include "support/BoxProcess.h"
#include "support/MidiServer.h"
#include "ui/BoxWindow.h"

#include <QRegularExpression>

#include <functional>

using namespace boxwindow;
using testsupport::BoxProcess;
using testsupport::MidiServer;

namespace
{

constexpr char BoxName[] = "Stage:5";
const QStringList BoxOptions{"--name", "Stage", "--sysex-id", "5"};
const WindowFixture::Library OneLongScript{{.name = "SONG", .text = QString(6000, '#')}};

/// Twice the time for which the editor tries.
constexpr int ReconnectTimeoutMs = 30000;

bool isConnected(const WindowFixture &ui)
{
    // On a busy machine perhaps without its name, which then came too late.
    return QTest::qWaitFor(
        [&] { return ui.value("connectedDeviceComboBox", "deviceConnected").toBool(); },
        ReconnectTimeoutMs);
}

bool isDisconnected(const WindowFixture &ui)
{
    return QTest::qWaitFor(
        [&] { return chosen(ui) == NotConnected && ui.iconOpacity("sendIcon") == 0.2; },
        WindowFixture::TimeoutMs);
}

bool logSays(const WindowFixture &ui, const QString &line)
{
    return QTest::qWaitFor([&] { return ui.text("messageTextArea").contains(line); },
                           WindowFixture::TimeoutMs);
}

/// What the user had typed is there and in the file, and typing goes on.
void checkThatEditingWorks(const WindowFixture &ui)
{
    // A dialog that is about to close takes the first clicks.
    QTRY_VERIFY((ui.click("scriptTextArea"), ui.focusedName() == "Script editor"));
    ui.press(Qt::Key_Home, Qt::ControlModifier);
    ui.type("kept");
    QTRY_VERIFY_WITH_TIMEOUT(ui.savedLibrary().value(0).text.startsWith("kept"),
                             WindowFixture::TimeoutMs);
}

} // namespace

/// The window while the MIDI service or the box goes away under it and comes back. What none of
/// these may do is hold up the window, which would let the test run into its time limit.
class ServiceFaultsTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        // An update that fails says so in the log, at one point or another.
        if (qstrcmp(QTest::currentTestFunction(), "serverEndsDuringAnUpdate") != 0)
            WindowFixture::failOnWarnings();
        else
            QTest::failOnWarning(QRegularExpression("^(?!block at|no answer|This plugin)"));
    }

    void serverEnds_data()
    {
        using Act = std::function<void(const WindowFixture &)>;
        using End = void (MidiServer::*)();
        QTest::addColumn<End>("end");
        QTest::addColumn<Act>("act"); // right after, most likely before the editor noticed
        const Act nothing = [](const WindowFixture &) {};
        const Act read = [](const WindowFixture &ui) { ui.click("readIcon"); };
        // More than the MIDI library's buffer holds, which nobody empties any more.
        const Act send = [](const WindowFixture &ui) {
            for (int i = 0; i < 4; ++i)
                ui.click("sendIcon");
        };
        const Act scan = [](const WindowFixture &ui) { choose(ui, ScanEntry); };
        QTest::newRow("ended, idle") << &MidiServer::end << nothing;
        QTest::newRow("killed, idle") << &MidiServer::kill << nothing;
        QTest::newRow("killed, reading") << &MidiServer::kill << read;
        QTest::newRow("killed, sending") << &MidiServer::kill << send;
        QTest::newRow("killed, scanning") << &MidiServer::kill << scan;
    }

    void serverEnds()
    {
        using Act = std::function<void(const WindowFixture &)>;
        using End = void (MidiServer::*)();
        QFETCH(End, end);
        QFETCH(Act, act);
        MidiServer server;
        QVERIFY(server.isRunning());
        auto box = std::make_unique<BoxProcess>(BoxOptions);
        QVERIFY(box->isReady());
        const WindowFixture ui(OneLongScript);
        QVERIFY(connectTo(ui, BoxName));

        (server.*end)();
        act(ui);
        QVERIFY(isDisconnected(ui));
        checkThatEditingWorks(ui);
        box.reset();

        QVERIFY(server.start());
        box = std::make_unique<BoxProcess>(BoxOptions);
        QVERIFY(box->isReady());
        QVERIFY(isConnected(ui));
        QVERIFY(logSays(ui, " connected\n"));
        ui.click("sendIcon");
        QVERIFY(box->waitForLine("^script 6"));
    }

    void serverStops()
    {
        MidiServer server;
        QVERIFY(server.isRunning());
        BoxProcess box(BoxOptions);
        QVERIFY(box.isReady());
        const WindowFixture ui(OneLongScript);
        QVERIFY(connectTo(ui, BoxName));
        server.pause();
        for (int i = 0; i < 4; ++i)
            ui.click("sendIcon");
        QVERIFY(logSays(ui, "Error sending script."));
        checkThatEditingWorks(ui);
        server.resume();
        QVERIFY(box.waitForLine("^script 6"));
    }

    void serverEndsDuringAnUpdate()
    {
        MidiServer server;
        QVERIFY(server.isRunning());
        const QStringList options{"--bootloader", "--name", "Stage", "--sysex-id", "5"};
        auto box = std::make_unique<BoxProcess>(options);
        QVERIFY(box->isReady());
        const WindowFixture ui(OneLongScript);
        const auto startUpdate = [&] {
            ui.click(ui.itemSaying("OK"));
            return QTest::qWaitFor([&] { return ui.isOpen("updateDialog"); });
        };
        const auto offersUpdate = [&] {
            return QTest::qWaitFor([&] { return ui.itemSaying("OK") != nullptr; });
        };
        QVERIFY(scanFor(ui, BoxName) && choose(ui, BoxName));
        QVERIFY(offersUpdate());
        QVERIFY(startUpdate());
        QVERIFY(box->waitForLine("^received update-data"));
        server.kill();
        ui.press(Qt::Key_Escape);
        QVERIFY(ui.isOpen("updateDialog"));
        ui.click(ui.itemSaying("Cancel"));
        QTRY_VERIFY(!ui.isOpen("updateDialog"));
        QVERIFY(isDisconnected(ui));
        checkThatEditingWorks(ui);
        box.reset();

        QVERIFY(server.start());
        box = std::make_unique<BoxProcess>(options + QStringList{"--restart-ms", "200"});
        QVERIFY(box->isReady());
        QVERIFY(isConnected(ui));
        QVERIFY(scanFor(ui, BoxName) && choose(ui, BoxName));
        QVERIFY(offersUpdate());
        QVERIFY(startUpdate());
        QVERIFY(box->waitForLine("^firmware complete", 120000));
        QVERIFY(box->waitForLine("^started version=1.1.1"));
        QVERIFY(isConnected(ui));
    }

    void serverComesAfterTheEditor()
    {
        MidiServer server;
        server.end();
        const WindowFixture ui(OneLongScript);
        QCOMPARE(chosen(ui), NotConnected);
        checkThatEditingWorks(ui);
        QVERIFY(server.start());
        const BoxProcess box(BoxOptions);
        QVERIFY(box.isReady());
        QVERIFY(isConnected(ui));
        QVERIFY(logSays(ui, " connected\n"));
    }

    void serverDoesNotAnswerAtTheStart()
    {
        MidiServer server;
        QVERIFY(server.isRunning());
        BoxProcess box(BoxOptions);
        QVERIFY(box.isReady());
        server.pause();
        const WindowFixture ui(OneLongScript);
        QCOMPARE(chosen(ui), NotConnected);
        checkThatEditingWorks(ui);
        server.resume();
        QVERIFY(isConnected(ui));
        QVERIFY(logSays(ui, " connected\n"));
    }

    void boxIsUnpluggedAndComesBack()
    {
        MidiServer server;
        QVERIFY(server.isRunning());
        BoxProcess box(BoxOptions);
        QVERIFY(box.isReady());
        const WindowFixture ui(OneLongScript);
        QVERIFY(connectTo(ui, BoxName));
        box.send("unplug");
        QVERIFY(isDisconnected(ui));
        QVERIFY(logSays(ui, "Stage:5 disconnected\n"));
        ui.takePicture("unplugged");
        // What cannot be connected is not offered, either.
        ui.click("connectedDeviceComboBox");
        QTRY_VERIFY(ui.itemSaying(ScanEntry));
        QVERIFY(!ui.itemSaying(BoxName));
        ui.press(Qt::Key_Escape);

        box.send("plug");
        QVERIFY(isConnected(ui));
        QVERIFY(logSays(ui, " connected\n"));
        ui.click("sendIcon");
        QVERIFY(box.waitForLine("^script 6"));
    }
};

int main(int argc, char *argv[])
{
    ServiceFaultsTest test;
    return runWindowTests(test, argc, argv);
}
#include "tst_servicefaults.moc"
