#include "devices/ConnectedDeviceListModel.h"
#include "devices/DeviceWatch.h"
#include "devices/MidiDevice.h"
#include "midi/QtRtMIDI.h"
#include "unit/devices/FakeBoxes.h"
#include "unit/devices/OwnSettings.h"

#include <QSignalSpy>
#include <QTest>

namespace
{

using midi::NameStyle;
using Names = std::vector<std::string>;

/// One pair of ports as a back end names it, with what comes and goes beside it.
struct Ports
{
    Names inputs;
    Names outputs;
};
using Steps = QList<Ports>;

const Ports NoPorts;
const Ports Stage{{"Synth", "MIDIIN4 (Ostrel)"}, {"Synth", "MIDIOUT6 (Ostrel)"}};
const Ports WinBefore{{"Synth 0", "MIDIIN4 (Ostrel) 1"}, {"MIDIOUT6 (Ostrel) 0"}};
const Ports WinAway{{"Synth 0"}, {}};
const Ports WinAfter{{"Synth 0", "Keys 1", "MIDIIN4 (Ostrel) 2"},
                     {"Keys 0", "MIDIOUT6 (Ostrel) 1"}};
const Ports AlsaBefore{{"Ostrel:Ostrel MIDI 4 24:3"}, {"Ostrel:Ostrel MIDI 6 24:5"}};
const Ports AlsaAfter{{"Ostrel:Ostrel MIDI 4 28:3"}, {"Ostrel:Ostrel MIDI 6 28:5"}};

FakeRtMidi &world()
{
    return FakeRtMidi::world();
}

void setPorts(const Ports &ports)
{
    world().inputs = ports.inputs;
    world().outputs = ports.outputs;
}

void plugIn(const Ports &ports, const QString &boxes = "26/5",
            NameStyle style = NameStyle::Undecorated)
{
    world().reset();
    world().style = style;
    setPorts(ports);
    world().onSend = [onThePort = fakeboxes::boxes(boxes)](const FakeRtMidi::Sent &sent) {
        fakeboxes::answer(onThePort, sent.bytes);
    };
}

/// The device list as the window sets it up, and its watch. To be made when ports are plugged in.
struct Editor
{
    Editor()
    {
        QSettings().clear();
        devices.setMidiObj(&link);
        devices.setInputPortName("MIDIIN4 (Ostrel)");
        devices.setOutputPortName("MIDIOUT6 (Ostrel)");
        devices.addProductIDToList(ConnectedDeviceListModel::Ostrel);
        watch.setDevices(&devices);
    }

    void start()
    {
        devices.scanForDevice();
        watch.check();
    }

    void look(const Ports &ports)
    {
        setPorts(ports);
        watch.check();
    }

    QtRtMIDI link;
    ConnectedDeviceListModel devices;
    DeviceWatch watch;
};

} // namespace

/// What the watch makes of ports that come and go, step by step, as each system names them.
class TestDeviceWatch : public OwnSettings
{
    Q_OBJECT

private slots:
    void followsThePorts_data()
    {
        QTest::addColumn<NameStyle>("style");
        QTest::addColumn<QString>("box");
        QTest::addColumn<Steps>("steps");
        QTest::addColumn<QString>("expected"); // a letter a step: c(onnected), - (not)
        QTest::addColumn<QString>("news");     // l(ost), f(ound)
        const auto row = [](const char *name, NameStyle style, const Steps &steps,
                            const char *expected, const char *news, const char *box = "26/5") {
            QTest::newRow(name) << style << QString(box) << steps << QString(expected)
                                << QString(news);
        };
        constexpr auto Plain = NameStyle::Undecorated;
        row("nothing happens", Plain, {Stage, Stage, Stage}, "ccc", "");
        row("comes later", Plain, {NoPorts, Stage}, "-c", "f");
        row("leaves and comes back", Plain, {Stage, NoPorts, Stage}, "c-c", "lf");
        row("output first", Plain, {NoPorts, {{}, Stage.outputs}, Stage}, "--c", "f");
        row("loses its output alone", Plain, {Stage, {Stage.inputs, {"Synth"}}}, "c-", "l");
        row("another one comes", Plain,
            {Stage, {{"New", "MIDIIN4 (Ostrel)"}, {"New", "MIDIOUT6 (Ostrel)"}}}, "cc", "");
        row("other ports of the same box", Plain, {{{"Ostrel"}, {"Ostrel"}}, Stage}, "-c", "f");
        row("only ports that are not its own", Plain, {NoPorts, {{"Ostrel"}, {"Ostrel"}}}, "--",
            "");
        row("other numbers on Windows", NameStyle::WinMM, {WinBefore, WinAway, WinAfter}, "c-c",
            "lf");
        row("another one goes on Windows", NameStyle::WinMM,
            {WinBefore, {{"MIDIIN4 (Ostrel) 0"}, WinBefore.outputs}}, "cc", "");
        row("other numbers on ALSA, between two looks", NameStyle::Alsa, {AlsaBefore, AlsaAfter},
            "cc", "lf");
        row("another product", Plain, {NoPorts, Stage, NoPorts, Stage}, "----", "", "12/5");
    }

    void followsThePorts()
    {
        QFETCH(NameStyle, style);
        QFETCH(QString, box);
        QFETCH(Steps, steps);
        QFETCH(QString, expected);
        QFETCH(QString, news);
        plugIn(steps.first(), box, style);
        Editor editor;
        QString heard;
        connect(&editor.watch, &DeviceWatch::deviceLost, this, [&] { heard += 'l'; });
        connect(&editor.watch, &DeviceWatch::deviceFound, this, [&] { heard += 'f'; });

        for (const Ports &ports : {NoPorts, steps.first()}) {
            editor.look(ports); // before the first scan, which is not the watch's to make
            QVERIFY(!editor.devices.deviceConnected());
        }
        editor.devices.scanForDevice();
        QString seen;
        for (const Ports &ports : steps) {
            editor.look(ports);
            QCOMPARE(editor.link.portsReady(), editor.devices.deviceConnected());
            seen += editor.devices.deviceConnected() ? 'c' : '-';
        }
        QCOMPARE(seen, expected);
        QCOMPARE(heard, news);
    }

    void tellsWhatAScanFound()
    {
        plugIn(Stage);
        Editor editor;
        QSignalSpy found(&editor.watch, &DeviceWatch::deviceFound);
        editor.start();
        editor.look(NoPorts);
        setPorts(Stage);
        editor.devices.scanForDevice();
        editor.watch.check();
        editor.watch.check();
        QCOMPARE(found.size(), 1);
    }

    /// As the firmware updater does, with a record from before the last scan.
    void keepsToThePortsWhenTheyAreNumberedAnew()
    {
        plugIn({{"Synth", "MIDIIN4 (Ostrel)", "Ostrel"}, {"Synth", "MIDIOUT6 (Ostrel)", "Ostrel"}});
        world().onSend = [answers = world().onSend](const FakeRtMidi::Sent &sent) {
            if (sent.port != "Synth")
                answers(sent);
        };
        Editor editor;
        editor.start();
        MidiDevice *const record = editor.devices.currentDevice();
        QVERIFY(record);
        editor.devices.scanForDevice();
        QVERIFY(record->updateVersion());
        QVERIFY(editor.devices.connectToDevice(0x1A05));
        QCOMPARE(world().openInput(), std::string("MIDIIN4 (Ostrel)"));
        QCOMPARE(world().openOutput(), std::string("MIDIOUT6 (Ostrel)"));
    }

    /// As after an update, during which the watch rests and the box comes back.
    void noticesClosedPortsOfABoxThatIsThere()
    {
        plugIn(Stage);
        Editor editor;
        editor.start();
        QSignalSpy lost(&editor.watch, &DeviceWatch::deviceLost);
        editor.link.closePort();
        editor.watch.check();
        QCOMPARE(lost.size(), 1);
        QVERIFY(editor.devices.deviceConnected());
    }

    void waitsForABoxThatStarts()
    {
        plugIn(NoPorts);
        Editor editor;
        editor.start();
        const auto answers = std::exchange(world().onSend, nullptr);
        editor.look(Stage);
        QVERIFY(!editor.devices.deviceConnected());
        world().onSend = answers;
        editor.watch.check();
        QVERIFY(editor.devices.deviceConnected());

        // One that never answers is asked a few times and then left alone.
        world().onSend = nullptr;
        editor.look(NoPorts);
        setPorts(Stage);
        world().sent.clear();
        for (int i = 0; i < 100; ++i)
            editor.watch.check();
        QCOMPARE(world().takeSent().size(), std::size_t{DeviceWatch::MaxAttempts});
        world().onSend = answers;
        editor.look({Stage.inputs, {"Synth"}});
        editor.look(Stage);
        QVERIFY(editor.devices.deviceConnected());
    }

    void looksForTheSameBox()
    {
        plugIn(Stage);
        Editor editor;
        editor.start();
        editor.look(NoPorts);
        QCOMPARE(editor.devices.rowCount(), 1);
        // Another box is listed and no more.
        plugIn(Stage, "26/7");
        editor.watch.check();
        QCOMPARE(editor.devices.rowCount(), 2);
        QVERIFY(!editor.devices.deviceConnected());
        editor.look(NoPorts);
        plugIn(Stage, "26/7 26/5");
        editor.watch.check();
        QVERIFY(editor.devices.deviceConnected());
        QCOMPARE(editor.devices.connectedSysexID(), 5);
    }

    void doesWithoutAService()
    {
        plugIn(Stage, "26/5", NameStyle::Jack);
        Editor editor;
        editor.start();
        QVERIFY(editor.devices.deviceConnected());

        world().endJackServer();
        QVERIFY(!editor.link.sendIDReq());
        editor.watch.check();
        QVERIFY(!editor.devices.deviceConnected());
        QVERIFY(!world().openInput());
        editor.devices.scanForDevice();
        QVERIFY(!editor.devices.deviceConnected());

        world().jackServerRuns = true;
        QTRY_VERIFY((editor.watch.check(), editor.devices.deviceConnected()));
    }

    void restsWhileInactive()
    {
        DeviceWatch watch;
        QSignalSpy changed(&watch, &DeviceWatch::activeChanged);
        watch.check(); // without a list
        watch.setActive(true);
        watch.setActive(true);
        QVERIFY(watch.active());
        watch.setActive(false);
        QVERIFY(!watch.active());
        QCOMPARE(changed.size(), 2);
    }
};

QTEST_GUILESS_MAIN(TestDeviceWatch)
#include "tst_devicewatch.moc"
