#include "devices/ConnectedDeviceListModel.h"
#include "firmware/FirmwareUpdate.h"
#include "support/BoxProcess.h"
#include "support/MidiServer.h"
#include "support/Rows.h"

#include <QCoreApplication>
#include <QSettings>
#include <QTemporaryDir>

using namespace testsupport;
using State = FirmwareUpdate::State;

namespace
{

constexpr int TimeoutMs = 60000;
constexpr int Reference = midi::OstrelProductId << 8;
constexpr int SecondReference = Reference + 1;

const QString InputPort = "MIDIIN4 (Ostrel)";
const QStringList Running{"--version", "1.1.0"};
const QStringList InBootloader{"--bootloader"};

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
    explicit Editor(const QString &inputPortName)
    {
        updater.setMidiObj(&m_link);
        m_list.setMidiObj(&m_link);
        m_list.addProductIDToList(midi::OstrelProductId);
        m_list.setInputPortName(inputPortName);
        m_list.setOutputPortName("MIDIOUT6 (Ostrel)");
        using Update = FirmwareUpdate;
        QObject::connect(&updater, &Update::statusChanged, &updater,
                         [this](const QString &text) { say("status " + text); });
        QObject::connect(&updater, &Update::updateError, &updater,
                         [this](const QString &text) { say("error " + text); });
        QObject::connect(&updater, &Update::updateCompleted, &updater,
                         [this] { say("completed"); });
        QObject::connect(&updater, &Update::progressChanged, &updater, [this](float value) {
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

/// A box and the editor that has chosen it, which is to update it.
class Stage
{
public:
    explicit Stage(const QStringList &boxArguments, int reference = Reference,
                   const QString &inputPortName = InputPort)
        : box(QStringList{"--restart-ms", "100", "--expect-firmware", OSTREL_FIRMWARE_PAYLOAD} +
              boxArguments)
        , editor(inputPortName)
    {
        const bool ready =
            box.isReady() && editor.choose(reference) && editor.updater.deviceNeedsUpdate();
        QTest::qVerify(ready, "ready", box.errorOutput(), __FILE__, __LINE__);
    }

    /// Whether the box restarts into its bootloader and is seen there.
    [[nodiscard]] bool entersBootloader()
    {
        return box.waitForLine("^plugged$") && editor.seeBootloader();
    }

    /// Waits for the end of a transfer, and for the box with its new firmware.
    void complete()
    {
        QTRY_COMPARE_WITH_TIMEOUT(editor.said, Updated, TimeoutMs);
        QCOMPARE(editor.updater.updateState(), State::Finishing);
        QVERIFY(box.waitForLine("^firmware done param1=1 param2=1$"));
        QVERIFY(box.waitForLine("^firmware complete .* match=yes$"));
        QVERIFY(box.waitForLine("^started version=1.1.1$"));
        settle();
        QCOMPARE(editor.versionOfBox(), "1.1.1");
        QVERIFY(!editor.updater.deviceNeedsUpdate());
    }

    /// The end of an update, with which no cancel interferes.
    void settle()
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
    void updateAgain()
    {
        QVERIFY(box.obeys("faults", "^faults $"));
        QVERIFY(editor.choose());
        QVERIFY(editor.updater.deviceNeedsUpdate());
        editor.updater.startUpdate();
        if (editor.updater.updateState() == State::EnteringBootloader) {
            QVERIFY(entersBootloader());
            QCOMPARE(editor.said.takeFirst(), Entering);
        }
        complete();
    }

    BoxProcess box;
    Editor editor;
};

} // namespace

/// The whole update between the editor's device side and a box, over a real MIDI service. The
/// procedure's timers are moved on by hand, once the box has said that it is where it should be.
class TestUpdate : public QObject
{
    Q_OBJECT

private slots:
    void completes_data()
    {
        // The last is a line of the box, the sign that the fault has struck.
        const Rows<QStringList, QString, QString, QString> add;
        add("running box", Running, InputPort, "", "^received update-request");
        add("bootloader", InBootloader, InputPort, "", "update-data position=0 ");
        add("bootloader on other ports", InBootloader, "Gone", "", "update-data");
        add("block lost", InBootloader, InputPort, "--drop-block 3",
            "^firmware asks position=1024 reason=dropped$");
        add("nine requests", InBootloader, InputPort, "--repeat-request 9",
            "^firmware asks position=0 reason=repeated$");
        add("answers twice", InBootloader, InputPort, "--twice", "^sent update-response");
        add("other messages", InBootloader, InputPort, "--flood 2", "^sent other");
    }

    void completes()
    {
        const auto [arguments, inputPort, faults, line] =
            row<QStringList, QString, QString, QString>();
        Stage stage(arguments, Reference, inputPort);
        QVERIFY(stage.box.obeys("faults " + faults, "^faults "));
        stage.editor.updater.startUpdate();
        QVERIFY(stage.box.waitForLine(line));
        if (arguments == Running) {
            QVERIFY(stage.box.waitForLine("^started bootloader$"));
            QVERIFY(stage.entersBootloader());
            QCOMPARE(stage.editor.said.takeFirst(), Entering);
        }
        stage.complete();
    }

    void endsWithAnError_data()
    {
        const QStringList timedOut{Waiting, InProgress, "error Update timed out"};
        // The second is a line of the box, after which only the timer helps.
        const Rows<QString, QString, QStringList, State> add;
        add("ten requests", "--repeat-request 10", "", {Waiting, "error Update timed out."},
            State::Updating);
        add("asks beyond the end", "--ask-beyond-end 4", "",
            {Waiting, InProgress, "error Bad update position request."}, State::Updating);
        add("falls silent", "--silent-at 2", "^firmware silent block=2$", timedOut,
            State::Finishing);
        add("unplugged", "--unplug-at 3", "^unplugged$", timedOut, State::Finishing);
        add("answers for another box", "--foreign-sysex-id", "^sent update-response",
            {Waiting, "error Update timed out"}, State::Finishing);
    }

    void endsWithAnError()
    {
        const auto [faults, stuck, said, state] = row<QString, QString, QStringList, State>();
        Stage stage(InBootloader);
        Editor &editor = stage.editor;
        QVERIFY(stage.box.obeys("faults " + faults, "^faults "));
        editor.updater.startUpdate();
        if (!stuck.isEmpty()) {
            QVERIFY(stage.box.waitForLine(stuck));
            QTRY_VERIFY(editor.received > 0);
            QTRY_COMPARE(editor.said, said.first(said.size() - 1));
            editor.updater.timerDone();
        }
        QTRY_COMPARE_WITH_TIMEOUT(editor.said, said, TimeoutMs);
        QCOMPARE(editor.updater.updateState(), state);
        stage.settle();

        const bool unplugged = faults.startsWith("--unplug");
        if (unplugged)
            stage.box.send("plug");
        QVERIFY(stage.box.waitForLine(unplugged ? "^plugged$" : "^firmware cancelled$"));
        stage.updateAgain();
    }

    void stopsOnTheWay_data()
    {
        // A command to the box, the line of the box at which the user cancels, and what he is told
        const Rows<QString, QString, QStringList> add;
        add("cancelled while it restarts", "faults ", "^restarting$", {Entering});
        add("cancelled in the transfer", "faults ", "^received update-data position=2048",
            {Entering, Waiting, InProgress});
        add("no bootloader", "faults --ignore-update-request", "", {Entering});
        add("unplugged before", "unplug", "", {Entering});
    }

    void stopsOnTheWay()
    {
        const auto [before, until, said] = row<QString, QString, QStringList>();
        Stage stage(Running);
        FirmwareUpdate &updater = stage.editor.updater;
        QVERIFY(stage.box.obeys(before, "^faults|^unplugged$"));
        updater.startUpdate();
        if (until.isEmpty()) {
            for (quint32 i = 0; i < FirmwareUpdate::BootloaderChecks; ++i) {
                QCOMPARE(updater.updateState(), State::EnteringBootloader);
                updater.timerDone();
            }
        } else {
            const bool transfers = said.contains(InProgress);
            QVERIFY(!transfers || stage.entersBootloader());
            QVERIFY(stage.box.waitForLine(until));
            updater.cancelUpdate();
            QVERIFY(stage.box.waitForLine(transfers ? "^firmware cancelled$" : "^plugged$"));
        }
        QCOMPARE(stage.editor.said, said);
        stage.settle();
        QVERIFY(before != "unplug" || stage.box.obeys("plug", "^plugged$"));
        stage.updateAgain();
    }

    void leavesTheSecondBoxAlone()
    {
        Stage stage(Running + QStringList{"--boxes", "2"}, SecondReference);
        stage.editor.updater.startUpdate();
        QVERIFY(stage.box.waitForLine("^started bootloader$"));
        QVERIFY(stage.editor.seeBootloader());
        QCOMPARE(stage.editor.said.takeFirst(), Entering);
        stage.complete();
        stage.box.send("state");
        for (const char *line : {"^version=1.1.0$", "^settings name=\"Ostrel\" sysex-id=0",
                                 "^version=1.1.1$", "^settings name=\"Ostrel 2\" sysex-id=1"})
            QVERIFY2(stage.box.waitForLine(line), line);
    }
};

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QTemporaryDir settingsFolder;
    QSettings::setDefaultFormat(QSettings::IniFormat);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, settingsFolder.path());
    QCoreApplication::setOrganizationName("ZEVMusicTechnology");
    QCoreApplication::setApplicationName("Ostrel Editor");
    MidiServer server;
    if (!server.isRunning())
        qFatal("No MIDI service: %s", server.output().constData());
    TestUpdate test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_update.moc"
