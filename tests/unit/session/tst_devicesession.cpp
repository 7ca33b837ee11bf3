#include "devices/ConnectedDeviceListModel.h"
#include "devices/MidiDevice.h"
#include "firmware/FirmwareUpdate.h"
#include "midi/QtRtMIDI.h"
#include "session/DeviceSession.h"
#include "support/Rows.h"
#include "unit/devices/FakeBoxes.h"
#include "unit/devices/OwnSettings.h"

#include <QRegularExpression>
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

/// The session as the window sets it up. To be made when ports are plugged in.
struct Editor
{
    Editor()
    {
        QSettings().clear();
        devices.setMidiObj(&link);
        updater.setMidiObj(&link);
        session.setDevices(&devices);
        session.setUpdater(&updater);
        QObject::connect(&session, &DeviceSession::logged, &session,
                         [this](const QString &line) { log << line.trimmed(); });
    }

    void look(const Ports &ports)
    {
        setPorts(ports);
        session.check();
    }

    [[nodiscard]] bool isConnected() const
    {
        return session.state() == DeviceSession::State::Connected;
    }

    QtRtMIDI link;
    ConnectedDeviceListModel devices;
    FirmwareUpdate updater;
    DeviceSession session;
    QStringList log;
};

/// Boxes by a letter, each on ports of its own, that come and go.
const QMap<QChar, QString> Kinds{{'a', "26/5"},          {'b', "26/7"},   {'t', "26/5"},
                                 {'o', "26/5@1.0.0"},    {'e', "26/5"},   {'x', "12/5"},
                                 {'B', "26/5@7.15.127"}, {'s', "silent"}, {'k', "no Ostrel's"}};

/// Those that sit on ports of other names.
bool isElsewhere(QChar kind)
{
    return QString("eBk").contains(kind);
}

void setKinds(const QString &kinds)
{
    world().inputs.clear();
    world().outputs.clear();
    for (const QChar kind : kinds) {
        const std::string client = std::to_string(kind.unicode());
        if (isElsewhere(kind)) {
            world().inputs.push_back("Else:Else " + client + ":0");
            world().outputs.push_back("Else:Else " + client + ":0");
            continue;
        }
        world().inputs.push_back("Ostrel:Ostrel MIDI 4 " + client + ":3");
        // A box listens on one socket, which is not the one of the same name.
        world().outputs.push_back("Ostrel:Ostrel MIDI 4 " + client + ":3");
        world().outputs.push_back("Ostrel:Ostrel MIDI 6 " + client + ":5");
    }
}

/// Answers for the box whose letter stands in the port's address.
void answerByKind(const FakeRtMidi::Sent &sent)
{
    const QString address = QString::fromStdString(sent.port).section(' ', -1);
    const QString box = Kinds.value(QChar(address.section(':', 0, 0).toInt()));
    if (address.endsWith(":3"))
        return;
    if (box.startsWith("26") || box.startsWith("12"))
        fakeboxes::answer(fakeboxes::boxes(box), sent.bytes);
}

/// "C5/2": the state's letter, the sysex ID of the connected box, and how many are listed.
QString shown(const Editor &editor)
{
    const QChar letter = QString("NLCADUSX")[static_cast<int>(editor.session.state())];
    const int index = editor.session.connectedIndex();
    const QString id =
        index < 0 ? QString() : QString::number(editor.devices.devices()[index]->sysexID());
    return QString("%1%2/%3").arg(letter).arg(id).arg(editor.devices.rowCount() - 1);
}

} // namespace

/// What the session makes of boxes that come and go, of scans, updates and answers, step by step.
class TestDeviceSession : public OwnSettings
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
        editor.look(steps.first()); // before the first scan
        QVERIFY(!editor.isConnected());
        editor.session.start();
        QString seen;
        for (const Ports &ports : steps) {
            editor.look(ports);
            QCOMPARE(editor.link.portsReady(), editor.isConnected());
            seen += editor.isConnected() ? 'c' : '-';
        }
        QCOMPARE(seen, expected);
        QString heard;
        for (const QString &line : std::as_const(editor.log))
            heard += line.contains("disconnected") ? 'l' : 'f';
        QCOMPARE(heard, news);
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
        editor.session.start();
        MidiDevice *const record = editor.devices.currentDevice();
        QVERIFY(record);
        editor.devices.scanForDevice();
        QVERIFY(record->updateVersion());
        QVERIFY(editor.devices.connectToDevice(0x1A05));
        QCOMPARE(world().openInput(), std::string("MIDIIN4 (Ostrel)"));
        QCOMPARE(world().openOutput(), std::string("MIDIOUT6 (Ostrel)"));
    }

    /// As when a box is plugged out and in again between two looks.
    void noticesClosedPortsOfABoxThatIsThere()
    {
        plugIn(Stage);
        Editor editor;
        editor.session.start();
        editor.link.closePort();
        editor.session.check();
        QCOMPARE(editor.log, QStringList({"Box 5:5 disconnected", "Box 5:5 connected"}));
        QVERIFY(editor.isConnected());
    }

    void waitsForABoxThatStarts()
    {
        plugIn(NoPorts);
        Editor editor;
        editor.session.start();
        const auto answers = std::exchange(world().onSend, nullptr);
        editor.look(Stage);
        QVERIFY(!editor.isConnected());
        world().onSend = answers;
        editor.session.check();
        QVERIFY(editor.isConnected());

        // One that never answers is asked a few times and then left alone.
        world().onSend = nullptr;
        editor.look(NoPorts);
        setPorts(Stage);
        world().sent.clear();
        for (int i = 0; i < 100; ++i)
            editor.session.check();
        QCOMPARE(world().takeSent().size(), std::size_t{DeviceSession::MaxAttempts});
        world().onSend = answers;
        editor.look({Stage.inputs, {"Synth"}});
        editor.look(Stage);
        QVERIFY(editor.isConnected());
    }

    void doesWithoutAService()
    {
        plugIn(Stage, "26/5", NameStyle::Jack);
        Editor editor;
        editor.session.start();
        QVERIFY(editor.isConnected());

        world().endJackServer();
        QVERIFY(!editor.link.sendIDReq());
        editor.session.check();
        QVERIFY(!editor.isConnected());
        QVERIFY(!world().openInput());
        editor.devices.scanForDevice();
        QVERIFY(!editor.isConnected());

        world().jackServerRuns = true;
        QTRY_VERIFY((editor.session.check(), editor.isConnected()));
    }

    void knowsTheBox_data()
    {
        const testsupport::Rows<QString, QString, QString, QString> add; // there, steps, seen, log
        add("one", "a", "", "C5/1", "");
        add("leaves and comes", "a", "-a +a -a scan", "C5/1 X/0 C5/1 X/0 N/0",
            "Box 5:5 disconnected|Box 5:5 connected|Box 5:5 disconnected|"
            "No device found. Check cable and power.");
        add("comes back before a scan", "a", "-a scan+a", "C5/1 X/0 C5/1",
            "Box 5:5 disconnected|Box 5:5 connected");
        add("another one comes instead", "a", "-a +b c7 -b +a", "C5/1 X/0 X/1 C7/1 X/0 X/1",
            "Box 5:5 disconnected|Box 7:7 disconnected");
        add("two, of which one goes", "ab", "scan -a check +a c0", "C5/1 C5/2 X/1 X/1 C5/2 N/2",
            "Box 5:5 disconnected|Box 5:5 connected");
        add("two, none known", "", "scan+ab c0 +k scan", "N/0 N/2 N/2 N/2 N/2",
            "Found 2 devices: choose one.|Found 2 devices: choose one.");
        add("twins", "at", "scan -a check +a", "C5/1 C5/2 X/1 X/1 X/2",
            "2 devices answer as Box 5:5: give each its own Sysex ID.|Box 5:5 disconnected");
        add("another product", "x", "scan", "N/0 N/0", "No device found. Check cable and power.");
        add("found over all ports", "ke", "scan -e +e", "N/0 C5/1 X/0 C5/1",
            "Box 5:5 disconnected|Box 5:5 connected");
        add("its new sysex ID", "a", "new7 -a +b", "C5/1 C5/1 X/0 C7/1",
            "Settings written.|Box 5:5 disconnected|Box 7:7 connected");
        add("settings, and another box", "ab", "scan new6 -a wait", "C5/1 C5/2 C5/2 X/1 X/1",
            "Settings written.|Box 5:5 disconnected");
        add("slow, and another one chosen", "b", "+s scan c7 check check",
            "C7/1 C7/1 C7/1 C7/1 C7/1 C7/1", "");
        add("back and slow, and another one chosen", "ab", "scan -a +s c7 check check",
            "C5/1 C5/2 X/1 X/1 C7/1 C7/1 C7/1", "Box 5:5 disconnected");
        add("asked, another one comes first", "o", "+b -o", "A/1 A/1 C7/1", "Box 7:7 connected");
        add("old, declined", "o", "no -o +o scan", "A/1 D/1 D/0 D/1 A/1", "");
        add("declined, another one comes", "o", "no +b scan -b -o +o",
            "A/1 D/1 C7/2 C7/2 X/1 X/0 X/1", "Box 7:7 connected|Box 7:7 disconnected");
        add("asked, and gone", "o", "-o +b", "A/1 X/0 C7/1", "Box 7:7 connected");
        add("updated", "o", "ok done -o +a check check", "A/1 U/1 S/1 S/1 C5/1 C5/1 C5/1",
            "Firmware updated to 1.2.3.");
        add("updated, still in its bootloader", "B", "scan ok done check -B+a",
            "N/0 A/1 U/1 S/1 S/1 C5/1", "Firmware updated to 1.2.3.");
        add("updated, and a scan meanwhile", "o", "ok done -o+b scan", "A/1 U/1 S/1 S/2 C7/1", "");
        add("cancelled", "o", "ok end scan", "A/1 U/1 D/1 A/1", "");
        add("failed, and there again", "o", "ok fail -o end +o", "A/1 U/1 U/1 U/1 N/1 A/1", "");
        add("update of a twin", "ot", "ok", "A/1 N/1",
            "2 devices answer as Box 5:5: give each its own Sysex ID.");
        add("no service", "", "none scan", "N/0 N/0 N/0", "No MIDI service: scripted MIDI error");
    }

    void knowsTheBox()
    {
        const auto [there, steps, expected, log] =
            testsupport::row<QString, QString, QString, QString>();
        world().reset();
        world().style = NameStyle::Alsa;
        world().onSend = answerByKind;
        m_there = there;
        setKinds(m_there);
        Editor editor;
        if (steps.startsWith("none"))
            world().service = FakeRtMidi::Service::FailsAlways;
        editor.session.start();
        QStringList seen(shown(editor));
        for (const QString &step : steps.split(' ', Qt::SkipEmptyParts)) {
            take(editor, step);
            seen << shown(editor);
            // Nobody can send to a box that the window does not call connected.
            if (QString("NDX").contains(seen.last()[0]))
                QVERIFY(!editor.link.portsReady());
            QVERIFY(!world().openOutput().value_or("").ends_with(":3"));
        }
        QCOMPARE(seen.join(' '), expected);
        QCOMPARE(editor.log.join('|'), log);
    }

private:
    /// A step in words: boxes that go and come, and then what the user, the updater or the timer
    /// does.
    void take(Editor &editor, const QString &step)
    {
        DeviceSession &session = editor.session;
        QString kinds = step;
        static const QRegularExpression plugging("([-+])([a-zA-Z]+)");
        for (auto all = plugging.globalMatch(step); all.hasNext();) {
            const auto one = all.next();
            kinds.remove(one.captured(0));
            for (const QChar kind : one.captured(2))
                one.captured(1) == "+" ? m_there.append(kind) : m_there.remove(kind);
        }
        setKinds(m_there);
        const QString word = kinds;
        if (word == "scan") {
            session.scan();
            QCOMPARE(shown(editor)[0], 'L');
            QTRY_VERIFY(session.state() != DeviceSession::State::Looking);
        } else if (word.startsWith("c") && word != "check") {
            const int reference = fakeboxes::reference("26/" + word.mid(1));
            if (!session.askForUpdate(reference))
                session.connectTo(reference);
        } else if (word.startsWith("new")) {
            session.settingsWritten(word.mid(3).toInt());
        } else if (word == "wait") {
            QTest::qWait(DeviceSession::RestartMs + 100); // for nothing to happen
        } else if (word == "no") {
            session.declineUpdate();
        } else if (word == "ok") {
            session.acceptUpdate();
        } else if (word == "done") {
            emit editor.updater.updateCompleted();
        } else if (word == "fail") {
            emit editor.updater.updateError("scripted");
        } else if (word == "end") {
            session.endUpdate();
        } else {
            session.check();
        }
    }

    QString m_there;
};

QTEST_GUILESS_MAIN(TestDeviceSession)
#include "tst_devicesession.moc"
