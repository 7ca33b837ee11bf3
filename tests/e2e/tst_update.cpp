#include "devices/ConnectedDeviceListModel.h"
#include "firmware/FirmwareUpdate.h"
#include "support/BoxProcess.h"
#include "support/MidiServer.h"

#include <QCoreApplication>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

using testsupport::BoxProcess;
using testsupport::MidiServer;
using State = FirmwareUpdate::State;

namespace
{

constexpr int TimeoutMs = 60000;
constexpr int Reference = OstrelProductId << 8;
constexpr int SecondReference = Reference + 1;

const QString Entering = "status Entering bootloader";
const QString Waiting = "status Waiting for device to be ready";
const QString InProgress = "status Update in progress";
const QStringList Finished{"progress 2", "completed", "status Update complete"};
const QStringList Updated = QStringList{Waiting, InProgress} + Finished;

/// The editor's device side, wired as its window does it, and what the updater tells the user:
/// repetitions and progress on the way left out.
class Editor
{
public:
    explicit Editor(const QString &inputPortName = "MIDIIN4 (Ostrel)")
    {
        updater.setMidiObj(&m_link);
        m_list.setMidiObj(&m_link);
        m_list.addProductIDToList(OstrelProductId);
        m_list.setInputPortName(inputPortName);
        m_list.setOutputPortName("MIDIOUT6 (Ostrel)");
        QObject::connect(&updater, &FirmwareUpdate::statusChanged, &updater,
                         [this](const QString &text) { say("status " + text); });
        QObject::connect(&updater, &FirmwareUpdate::updateError, &updater,
                         [this](const QString &text) { say("error " + text); });
        QObject::connect(&updater, &FirmwareUpdate::updateCompleted, &updater,
                         [this] { say("completed"); });
        QObject::connect(&updater, &FirmwareUpdate::progressChanged, &updater, [this](float value) {
            if (value >= 1.0F)
                say(QString("progress %1").arg(double(value)));
        });
        QObject::connect(&m_link, &QtRtMIDI::midiMessageReceived, &updater, [this] { ++received; });
    }

    /// What choosing a box does. A scan listens for 200 ms, which a busy machine may exceed.
    [[nodiscard]] bool choose(int reference = Reference)
    {
        const auto found = [&] {
            m_list.scanForDevice();
            return m_list.connectToDeviceForFirmwareUpdate(reference);
        };
        if (!QTest::qWaitFor(found, TimeoutMs))
            return false;
        updater.setMIDIDevice(m_list.currentDevice());
        said.clear();
        received = 0;
        return true;
    }

    [[nodiscard]] bool needsUpdate() { return updater.deviceNeedsUpdate(); }

    /// Lets the updater look for a box that is in its bootloader by now. A busy machine may miss
    /// both looks; like a user, this starts over then.
    [[nodiscard]] bool seeBootloader()
    {
        const auto seen = [&] {
            if (updater.updateState() == State::EnteringBootloader) {
                updater.timerDone();
            } else if (updater.updateState() == State::Finishing) {
                updater.init();
                updater.startUpdate();
            }
            return updater.updateState() == State::Updating;
        };
        return QTest::qWaitFor(seen, TimeoutMs);
    }

    [[nodiscard]] QString versionOfBox()
    {
        MidiDevice &device = *updater.midiDevice();
        const auto answers = [&] { return device.updateVersion(); };
        return QTest::qWaitFor(answers, TimeoutMs) ? device.versionString() : QString();
    }

    FirmwareUpdate updater;
    QStringList said;
    int received = 0; ///< messages that the updater has seen

private:
    void say(const QString &what)
    {
        if (said.isEmpty() || said.last() != what)
            said << what;
    }

    QtRtMIDI m_link;
    ConnectedDeviceListModel m_list;
};

QStringList boxArguments(const QStringList &more)
{
    return QStringList{"--restart-ms", "100", "--expect-firmware", OSTREL_FIRMWARE_PAYLOAD} + more;
}

const QStringList Running{"--version", "1.1.0"};
const QStringList InBootloader{"--bootloader"};

} // namespace

/// The whole update between the editor's device side and a box, over a real MIDI service. The
/// procedure's timers are moved on by hand, once the box has said that it is where it should be.
class TestUpdate : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_server = std::make_unique<MidiServer>();
        QVERIFY2(m_server->isRunning(), m_server->output());
    }

    void cleanupTestCase() { m_server.reset(); }

    void completes_data();
    void completes();
    void endsWithAnError_data();
    void endsWithAnError();
    void stopsOnTheWay_data();
    void stopsOnTheWay();
    void leavesTheSecondBoxAlone();

private:
    void complete(Editor &editor, BoxProcess &box);
    void settle(Editor &editor);
    void updateAgain(Editor &editor, BoxProcess &box);

    std::unique_ptr<MidiServer> m_server;
};

/// Waits for the end of a transfer, and for the box with its new firmware.
void TestUpdate::complete(Editor &editor, BoxProcess &box)
{
    QTRY_COMPARE_WITH_TIMEOUT(editor.said, Updated, TimeoutMs);
    QCOMPARE(editor.updater.updateState(), State::Finishing);
    QVERIFY(box.waitForLine("^firmware done param1=1 param2=1$"));
    QVERIFY(box.waitForLine("^firmware complete .* match=yes$"));
    QVERIFY(box.waitForLine("^started version=1.1.1$"));
    settle(editor);
    QCOMPARE(editor.versionOfBox(), "1.1.1");
    QVERIFY(!editor.needsUpdate());
}

void TestUpdate::settle(Editor &editor)
{
    const QStringList before = editor.said;
    editor.updater.cancelUpdate();
    QCOMPARE(editor.updater.updateState(), State::Finishing);
    editor.updater.timerDone();
    QCOMPARE(editor.updater.updateState(), State::Idle);
    editor.updater.cancelUpdate();
    QCOMPARE(editor.updater.updateState(), State::Idle);
    QCOMPARE(editor.said, before);
}

/// After an update that failed: the box is healthy now and somewhere on the bus.
void TestUpdate::updateAgain(Editor &editor, BoxProcess &box)
{
    box.send("faults");
    QVERIFY(box.waitForLine("^faults $"));
    QVERIFY(editor.choose());
    QVERIFY(editor.needsUpdate());
    editor.updater.startUpdate();
    if (editor.updater.updateState() == State::EnteringBootloader) {
        QVERIFY(box.waitForLine("^plugged$"));
        QVERIFY(editor.seeBootloader());
        QCOMPARE(editor.said.takeFirst(), Entering);
    }
    complete(editor, box);
}

void TestUpdate::completes_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("inputPort");
    QTest::addColumn<QString>("faults");
    QTest::addColumn<QString>("line"); // of the box, the sign that the fault has struck
    const QString port = "MIDIIN4 (Ostrel)";
    QTest::newRow("running box") << Running << port << ""
                                 << "^received update-request";
    QTest::newRow("bootloader") << InBootloader << port << ""
                                << "update-data position=0 ";
    QTest::newRow("bootloader on other ports") << InBootloader << "Gone"
                                               << ""
                                               << "update-data";
    QTest::newRow("block lost") << InBootloader << port << "--drop-block 3"
                                << "^firmware asks position=1024 reason=dropped$";
    QTest::newRow("nine requests") << InBootloader << port << "--repeat-request 9"
                                   << "^firmware asks position=0 reason=repeated$";
    QTest::newRow("answers twice") << InBootloader << port << "--twice"
                                   << "^sent update-response";
    QTest::newRow("other messages") << InBootloader << port << "--flood 2"
                                    << "^sent other";
}

void TestUpdate::completes()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, inputPort);
    QFETCH(QString, faults);
    QFETCH(QString, line);
    BoxProcess box(boxArguments(arguments));
    QVERIFY2(box.isReady(), box.errorOutput());
    Editor editor(inputPort);
    QVERIFY(editor.choose());
    QVERIFY(editor.needsUpdate());
    box.send("faults " + faults);
    QVERIFY(box.waitForLine("^faults "));

    editor.updater.startUpdate();
    QVERIFY(box.waitForLine(line));
    if (arguments == Running) {
        QVERIFY(box.waitForLine("^started bootloader$"));
        QVERIFY(box.waitForLine("^plugged$"));
        QVERIFY(editor.seeBootloader());
        QCOMPARE(editor.said.takeFirst(), Entering);
    }
    complete(editor, box);
}

void TestUpdate::endsWithAnError_data()
{
    QTest::addColumn<QString>("faults");
    QTest::addColumn<QString>("stuck"); // line of the box, after which only the timer helps
    QTest::addColumn<QStringList>("said");
    QTest::addColumn<State>("state");
    const QStringList timedOut{Waiting, InProgress, "error Update timed out"};
    QTest::newRow("ten requests") << "--repeat-request 10" << QString()
                                  << QStringList{Waiting, "error Update timed out."}
                                  << State::Updating;
    QTest::newRow("asks beyond the end")
        << "--ask-beyond-end 4" << QString()
        << QStringList{Waiting, InProgress, "error Bad update position request."}
        << State::Updating;
    QTest::newRow("falls silent") << "--silent-at 2"
                                  << "^firmware silent block=2$" << timedOut << State::Finishing;
    QTest::newRow("unplugged") << "--unplug-at 3"
                               << "^unplugged$" << timedOut << State::Finishing;
    QTest::newRow("answers for another box")
        << "--foreign-sysex-id"
        << "^sent update-response" << QStringList{Waiting, "error Update timed out"}
        << State::Finishing;
}

void TestUpdate::endsWithAnError()
{
    QFETCH(QString, faults);
    QFETCH(QString, stuck);
    QFETCH(QStringList, said);
    QFETCH(State, state);
    BoxProcess box(boxArguments(InBootloader));
    QVERIFY2(box.isReady(), box.errorOutput());
    Editor editor;
    QVERIFY(editor.choose());
    QVERIFY(editor.needsUpdate());
    box.send("faults " + faults);
    QVERIFY(box.waitForLine("^faults "));

    editor.updater.startUpdate();
    if (!stuck.isEmpty()) {
        QVERIFY(box.waitForLine(stuck));
        QTRY_VERIFY(editor.received > 0);
        QTRY_COMPARE(editor.said, said.first(said.size() - 1));
        editor.updater.timerDone();
    }
    QTRY_COMPARE_WITH_TIMEOUT(editor.said, said, TimeoutMs);
    QCOMPARE(editor.updater.updateState(), state);
    settle(editor);

    const bool unplugged = faults.startsWith("--unplug");
    if (unplugged)
        box.send("plug");
    QVERIFY(box.waitForLine(unplugged ? "^plugged$" : "^firmware cancelled$"));
    updateAgain(editor, box);
}

void TestUpdate::stopsOnTheWay_data()
{
    QTest::addColumn<QString>("before"); // command to the box
    QTest::addColumn<QString>("until");  // line of the box at which the user cancels
    QTest::addColumn<QStringList>("said");
    QTest::newRow("cancelled while it restarts") << "faults "
                                                 << "^restarting$" << QStringList{Entering};
    QTest::newRow("cancelled in the transfer")
        << "faults "
        << "^received update-data position=2048" << QStringList{Entering, Waiting, InProgress};
    QTest::newRow("no bootloader")
        << "faults --ignore-update-request" << QString() << QStringList{Entering};
    QTest::newRow("unplugged before") << "unplug" << QString() << QStringList{Entering};
}

void TestUpdate::stopsOnTheWay()
{
    QFETCH(QString, before);
    QFETCH(QString, until);
    QFETCH(QStringList, said);
    BoxProcess box(boxArguments(Running));
    QVERIFY2(box.isReady(), box.errorOutput());
    Editor editor;
    QVERIFY(editor.choose());
    QVERIFY(editor.needsUpdate());
    box.send(before);
    QVERIFY(box.waitForLine("^faults|^unplugged$"));

    editor.updater.startUpdate();
    if (until.isEmpty()) {
        for (quint32 i = 0; i < FirmwareUpdate::BootloaderChecks; ++i) {
            QCOMPARE(editor.updater.updateState(), State::EnteringBootloader);
            editor.updater.timerDone();
        }
    } else {
        if (said.size() > 1) {
            QVERIFY(box.waitForLine("^plugged$"));
            QVERIFY(editor.seeBootloader());
        }
        QVERIFY(box.waitForLine(until));
        editor.updater.cancelUpdate();
        if (said.size() > 1)
            QVERIFY(box.waitForLine("^firmware cancelled$"));
        else
            QVERIFY(box.waitForLine("^plugged$"));
    }
    QCOMPARE(editor.said, said);
    settle(editor);
    if (before == "unplug") {
        box.send("plug");
        QVERIFY(box.waitForLine("^plugged$"));
    }
    updateAgain(editor, box);
}

void TestUpdate::leavesTheSecondBoxAlone()
{
    BoxProcess boxes(boxArguments(Running + QStringList{"--boxes", "2"}));
    QVERIFY2(boxes.isReady(), boxes.errorOutput());
    Editor editor;
    QVERIFY(editor.choose(SecondReference));
    QVERIFY(editor.needsUpdate());
    editor.updater.startUpdate();
    QVERIFY(boxes.waitForLine("^started bootloader$"));
    QVERIFY(editor.seeBootloader());
    QCOMPARE(editor.said.takeFirst(), Entering);
    complete(editor, boxes);
    boxes.send("state");
    QVERIFY(boxes.waitForLine("^version=1.1.0$"));
    QVERIFY(boxes.waitForLine("^settings name=\"Ostrel\" sysex-id=0"));
    QVERIFY(boxes.waitForLine("^version=1.1.1$"));
    QVERIFY(boxes.waitForLine("^settings name=\"Ostrel 2\" sysex-id=1"));
}

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QTemporaryDir settingsFolder;
    QSettings::setDefaultFormat(QSettings::IniFormat);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, settingsFolder.path());
    QCoreApplication::setOrganizationName("ZEVMusicTechnology");
    QCoreApplication::setApplicationName("Ostrel Editor");
    TestUpdate test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_update.moc"
