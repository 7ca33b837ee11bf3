#include "devices/ConnectedDeviceListModel.h"
#include "devices/DeviceWatch.h"
#include "midi/QtRtMIDI.h"
#include "unit/devices/FakeBoxes.h"

#include <QCoreApplication>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
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

} // namespace

/// What the watch makes of ports that come and go, step by step, as each system names them.
class TestDeviceWatch : public QObject
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
        plugIn(steps.first(), style, box);
        QtRtMIDI link;
        ConnectedDeviceListModel devices;
        prepare(devices, link);
        DeviceWatch watch;
        watch.setDevices(&devices);
        QString heard;
        connect(&watch, &DeviceWatch::deviceLost, this, [&] { heard += 'l'; });
        connect(&watch, &DeviceWatch::deviceFound, this, [&] { heard += 'f'; });

        watch.check(); // before the first scan, which is not the watch's to make
        QVERIFY(!devices.deviceConnected());
        devices.scanForDevice();
        QString seen;
        for (const Ports &ports : steps) {
            setPorts(ports);
            watch.check();
            QCOMPARE(link.portsReady(), devices.deviceConnected());
            seen += devices.deviceConnected() ? 'c' : '-';
        }
        QCOMPARE(seen, expected);
        QCOMPARE(heard, news);
    }

    void waitsForABoxThatStarts()
    {
        plugIn(NoPorts, NameStyle::Undecorated, "26/5");
        QtRtMIDI link;
        ConnectedDeviceListModel devices;
        prepare(devices, link);
        DeviceWatch watch;
        watch.setDevices(&devices);
        devices.scanForDevice();
        watch.check();
        auto answers = std::exchange(FakeRtMidi::world().onSend, nullptr);
        setPorts(Stage);
        watch.check();
        QVERIFY(!devices.deviceConnected());
        FakeRtMidi::world().onSend = answers;
        watch.check();
        QVERIFY(devices.deviceConnected());

        // One that never answers is asked a few times and then left alone.
        FakeRtMidi::world().onSend = nullptr;
        setPorts(NoPorts);
        watch.check();
        setPorts(Stage);
        FakeRtMidi::world().sent.clear();
        for (int i = 0; i < 100; ++i)
            watch.check();
        QCOMPARE(FakeRtMidi::world().takeSent().size(), std::size_t{DeviceWatch::MaxAttempts});
    }

    void looksForTheSameBox()
    {
        plugIn(Stage, NameStyle::Undecorated, "26/5");
        QtRtMIDI link;
        ConnectedDeviceListModel devices;
        prepare(devices, link);
        DeviceWatch watch;
        watch.setDevices(&devices);
        devices.scanForDevice();
        watch.check();
        setPorts(NoPorts);
        watch.check();
        QCOMPARE(devices.rowCount(), 1);
        // Another box is listed and no more.
        plugIn(Stage, NameStyle::Undecorated, "26/7");
        watch.check();
        QCOMPARE(devices.rowCount(), 2);
        QVERIFY(!devices.deviceConnected());
        setPorts(NoPorts);
        watch.check();
        plugIn(Stage, NameStyle::Undecorated, "26/7 26/5");
        watch.check();
        QVERIFY(devices.deviceConnected());
        QCOMPARE(devices.connectedSysexID(), 5);
    }

    void doesWithoutAService()
    {
        plugIn(Stage, NameStyle::Jack, "26/5");
        QtRtMIDI link;
        ConnectedDeviceListModel devices;
        prepare(devices, link);
        DeviceWatch watch;
        watch.setDevices(&devices);
        devices.scanForDevice();
        watch.check();
        QVERIFY(devices.deviceConnected());

        FakeRtMidi::world().jackServer = FakeRtMidi::JackServer::Stopped;
        QVERIFY(!link.sendIDReq());
        QVERIFY(*link.getErrorMessage() != '\0');
        FakeRtMidi::world().jackServer = FakeRtMidi::JackServer::Ended;
        QVERIFY(!link.sendIDReq());
        watch.check();
        QVERIFY(!devices.deviceConnected());
        QTRY_VERIFY(!FakeRtMidi::world().openInput());
        devices.scanForDevice();
        QVERIFY(!devices.deviceConnected());

        FakeRtMidi::world().jackServer = FakeRtMidi::JackServer::Runs;
        QTRY_VERIFY((watch.check(), devices.deviceConnected()));
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

private:
    static void setPorts(const Ports &ports)
    {
        FakeRtMidi &world = FakeRtMidi::world();
        world.inputs = ports.inputs;
        world.outputs = ports.outputs;
    }

    static void plugIn(const Ports &ports, NameStyle style, const QString &boxes)
    {
        FakeRtMidi &world = FakeRtMidi::world();
        world.reset();
        world.style = style;
        setPorts(ports);
        std::vector<fakeboxes::Box> onThePort;
        for (const QString &one : boxes.split(' '))
            onThePort.push_back(fakeboxes::box(one));
        world.onSend = [onThePort](const FakeRtMidi::Sent &sent) {
            fakeboxes::answer(onThePort, sent.bytes);
        };
    }

    static void prepare(ConnectedDeviceListModel &devices, QtRtMIDI &link)
    {
        QSettings().clear();
        devices.setMidiObj(&link);
        devices.setInputPortName("MIDIIN4 (Ostrel)");
        devices.setOutputPortName("MIDIOUT6 (Ostrel)");
        devices.addProductIDToList(ConnectedDeviceListModel::Ostrel);
    }
};

int main(int argc, char *argv[])
{
    const QTemporaryDir settings;
    QSettings::setDefaultFormat(QSettings::IniFormat);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, settings.path());
    QCoreApplication app(argc, argv);
    QCoreApplication::setOrganizationName("ZEVMusicTechnology");
    QCoreApplication::setApplicationName("Ostrel Editor");
    TestDeviceWatch test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_devicewatch.moc"
