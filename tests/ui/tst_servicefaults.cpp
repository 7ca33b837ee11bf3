#include "support/MidiServer.h"
#include "support/Rows.h"
#include "ui/BoxWindow.h"

#include <QRegularExpression>

#include <functional>

using namespace boxwindow;
using namespace testsupport;

namespace
{

constexpr char BoxName[] = "Stage:5";
const QStringList BoxOptions{"--name", "Stage", "--sysex-id", "5"};

/// Twice the time for which the editor tries.
constexpr int ReconnectTimeoutMs = 30000;

using ServerAct = void (MidiServer::*)();
using Act = std::function<void(const WindowFixture &)>;

/// More than the MIDI library's buffer holds when nobody empties it.
void sendMuch(const WindowFixture &ui)
{
    for (int i = 0; i < 4; ++i)
        ui.click("sendIcon");
}

/// What is there before the window: a MIDI service of its own and a box, which come and go.
struct Surroundings
{
    /// `act` befalls the service before the window comes.
    Surroundings(const QStringList &boxOptions, ServerAct act)
    {
        if (!boxOptions.isEmpty())
            plugIn(boxOptions);
        if (act)
            (server.*act)();
    }

    void plugIn(const QStringList &boxOptions)
    {
        box.emplace(boxOptions);
        QTest::qVerify(box->isReady(), "ready", box->errorOutput(), __FILE__, __LINE__);
    }

    MidiServer server;
    std::optional<BoxProcess> box;
};

class Stage : public Surroundings, public WindowFixture
{
public:
    explicit Stage(const QStringList &boxOptions, ServerAct atTheStart = nullptr)
        : Surroundings(boxOptions, atTheStart)
        , WindowFixture(Library{{.name = "SONG", .text = QString(6000, '#')}})
    {}

    /// Starts the service again, which the old box did not survive, and another box.
    bool comeBack(const QStringList &boxOptions)
    {
        box.reset();
        if (!server.start())
            return false;
        plugIn(boxOptions);
        return boxOptions.contains("--bootloader") || isConnected();
    }

    [[nodiscard]] bool isConnected() const
    {
        // On a busy machine perhaps without its name, which then came too late.
        return QTest::qWaitFor(
            [&] { return value("connectedDeviceComboBox", "deviceConnected").toBool(); },
            ReconnectTimeoutMs);
    }

    [[nodiscard]] bool isDisconnected() const
    {
        return QTest::qWaitFor(
            [&] { return chosen(*this) == NotConnected && iconOpacity("sendIcon") == 0.2; },
            TimeoutMs);
    }

    [[nodiscard]] bool logSays(const QString &line) const
    {
        return QTest::qWaitFor([&] { return text("messageTextArea").contains(line); }, TimeoutMs);
    }

    /// What the user had typed is there and in the file, and typing goes on.
    void checkThatEditingWorks() const
    {
        // A dialog that is about to close takes the first clicks.
        QTRY_VERIFY((click("scriptTextArea"), focusedName() == "Script editor"));
        press(Qt::Key_Home, Qt::ControlModifier);
        type("kept");
        QTRY_VERIFY_WITH_TIMEOUT(savedLibrary().value(0).text.startsWith("kept"), TimeoutMs);
    }

    /// After a connection that came by itself, the box gets what is in the editor.
    void checkThatSendingWorks()
    {
        QVERIFY(logSays(" connected\n"));
        click("sendIcon");
        QVERIFY(box->waitForLine("^script 6"));
    }
};

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
        // The act comes right after, most likely before the editor noticed.
        const Rows<ServerAct, Act> add;
        add("ended, idle", &MidiServer::end, [](const WindowFixture &) {});
        add("killed, idle", &MidiServer::kill, [](const WindowFixture &) {});
        add("killed, reading", &MidiServer::kill,
            [](const WindowFixture &ui) { ui.click("readIcon"); });
        add("killed, sending", &MidiServer::kill, sendMuch);
        add("killed, scanning", &MidiServer::kill,
            [](const WindowFixture &ui) { choose(ui, ScanEntry); });
    }

    void serverEnds()
    {
        const auto [end, act] = row<ServerAct, Act>();
        Stage stage(BoxOptions);
        QVERIFY(connectTo(stage, BoxName));
        (stage.server.*end)();
        act(stage);
        QVERIFY(stage.isDisconnected());
        stage.checkThatEditingWorks();
        QVERIFY(stage.comeBack(BoxOptions));
        stage.checkThatSendingWorks();
    }

    void serverEndsDuringAnUpdate()
    {
        const QStringList options = BoxOptions + QStringList{"--bootloader"};
        Stage stage(options);
        QVERIFY(startUpdate(stage));
        QVERIFY(stage.box->waitForLine("^received update-data"));
        stage.server.kill();
        stage.press(Qt::Key_Escape);
        QVERIFY(stage.isOpen("updateDialog"));
        stage.click(stage.itemSaying("Cancel"));
        QVERIFY(stage.closes("updateDialog"));
        QVERIFY(stage.isDisconnected());
        stage.checkThatEditingWorks();

        QVERIFY(stage.comeBack(options + QStringList{"--restart-ms", "200"}));
        QVERIFY(startUpdate(stage));
        QVERIFY(stage.box->waitForLine("^firmware complete", 120000));
        QVERIFY(stage.box->waitForLine("^started version=1.1.1"));
        QVERIFY(stage.isConnected());
    }

    void serverComesAfterTheEditor()
    {
        Stage stage({}, &MidiServer::end);
        QCOMPARE(chosen(stage), NotConnected);
        stage.checkThatEditingWorks();
        QVERIFY(stage.comeBack(BoxOptions));
        QVERIFY(stage.logSays(" connected\n"));
    }

    void boxIsUnpluggedAndComesBack()
    {
        Stage stage(BoxOptions);
        QVERIFY(connectTo(stage, BoxName));
        stage.box->send("unplug");
        QVERIFY(stage.isDisconnected());
        QVERIFY(stage.logSays("Stage:5 disconnected\n"));
        stage.takePicture("unplugged");
        // What cannot be connected is not offered, either.
        stage.click("connectedDeviceComboBox");
        QTRY_VERIFY(stage.itemSaying(ScanEntry));
        QVERIFY(!stage.itemSaying(BoxName));
        stage.press(Qt::Key_Escape);

        stage.box->send("plug");
        QVERIFY(stage.isConnected());
        stage.checkThatSendingWorks();
    }

private:
    static bool startUpdate(const WindowFixture &ui)
    {
        const auto isAsked = [&] { return ui.itemSaying("OK") != nullptr; };
        if (!QTest::qWaitFor(isAsked, WindowFixture::TimeoutMs))
            return false;
        ui.click(ui.itemSaying("OK"));
        return QTest::qWaitFor([&] { return ui.isOpen("updateDialog"); });
    }
};

WINDOW_TEST_MAIN(ServiceFaultsTest)
#include "tst_servicefaults.moc"
