#include "midi/QtRtMIDI.h"
#include "support/BoxProcess.h"
#include "support/MidiServer.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using testsupport::BoxProcess;
using testsupport::MidiServer;

namespace
{

constexpr std::uint8_t Id = 5;
constexpr char InputName[] = "MIDIIN4 (Ostrel)";
constexpr char OutputName[] = "MIDIOUT6 (Ostrel)";

} // namespace

/// The program on a real MIDI service, from the editor's side.
class TestBoxProgram : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY2(m_server.isRunning(), m_server.output());
        QVERIFY(m_folder.isValid());
        QFile script(scriptPath());
        QVERIFY(script.open(QIODevice::WriteOnly) && script.write("print(\"stored\")\n") > 0);
    }

    void readsAndWrites()
    {
        BoxProcess box({"--sysex-id", "5", "--script", scriptPath()});
        QVERIFY2(box.isReady(), box.errorOutput());
        QtRtMIDI midi;
        QVERIFY(connectTo(midi));
        QCOMPARE(midi.getScript().toString(), QString("print(\"stored\")\n"));

        const auto *record = midi.getGlobals();
        QVERIFY(record);
        std::vector<std::uint8_t> settings(record, record + 256);
        settings[17] = 6;
        settings[224] = 'X';
        QVERIFY(midi.sendSettingsBlock(0, settings.data(), 256, false));
        QVERIFY(box.waitForLine("^settings name=\"Xstrel\" sysex-id=6 mode=2"));
        midi.setSysexID(6);
        record = midi.getGlobals();
        QVERIFY(record);
        QVERIFY(std::equal(settings.begin(), settings.end(), record));
    }

    void answersOnThePairThatAsked()
    {
        const BoxProcess box({"--sysex-id", "5", "--boxes", "2"});
        QVERIFY(box.isReady());
        QtRtMIDI midi;
        midi.scanPorts(nullptr, nullptr);
        QCOMPARE(midi.portCount(), 1);
        QVERIFY(midi.selectPort(0));
        midi.setCallbackMode(false);
        QVERIFY(midi.sendIDReq());
        for (const int id : {5, 6}) {
            const auto reply = nextMessage(midi);
            QVERIFY(midi::isIdentityReply(reply));
            QCOMPARE(int{midi::readIdentity(reply).sysexId}, id);
        }
    }

    void losesNoLineAtFullSpeed()
    {
        constexpr int Count = 20000;
        BoxProcess box;
        QVERIFY(box.isReady());
        QtRtMIDI midi;
        QVERIFY(connectTo(midi));
        QStringList texts;
        connect(&midi, &QtRtMIDI::textMessageReceived, this,
                [&texts](const QString &text) { texts.append(text); });
        midi.setCallbackMode(true);
        box.send(QString("lines %1").arg(Count));
        QTRY_COMPARE_WITH_TIMEOUT(texts.size(), Count, 60000);
        for (int i = 0; i < Count; ++i)
            QCOMPARE(texts[i], QString("Line %1 of %2\n").arg(i + 1).arg(Count));
    }

    void sendsFramesLongerThanTheServiceTakes()
    {
        BoxProcess box({"--sysex-id", "5", "--script", scriptPath(), "--huge-frame"});
        QVERIFY(box.isReady());
        QtRtMIDI midi;
        QVERIFY(connectTo(midi));
        midi.setCallbackMode(false);
        QVERIFY(midi.sendScriptReq());
        const auto message = nextMessage(midi);
        QCOMPARE(message.size(), 20000U);
        QCOMPARE(message.back(), 0xF7);
        box.send("faults");
        QVERIFY(box.waitForLine("^faults"));
        QVERIFY(midi.getScript().isValid());
    }

    void leavesTheBusForItsBootloader()
    {
        BoxProcess box({"--version", "1.1.0", "--restart-ms", "300", "--sysex-id", "5"});
        QVERIFY(box.isReady());
        QtRtMIDI midi;
        QVERIFY(connectTo(midi));
        QVERIFY(midi.sendUpdateReq());
        QVERIFY(box.waitForLine("^unplugged$"));
        QVERIFY(box.waitForLine("^started bootloader$"));
        QVERIFY(box.waitForLine("^port \"Ostrel\"$"));
        QVERIFY(connectTo(midi));
        midi.setCallbackMode(false);
        QVERIFY(midi.sendIDReq());
        const auto message = nextMessage(midi);
        QVERIFY(midi::isIdentityReply(message));
        QCOMPARE(midi::readIdentity(message).version, midi::BootloaderVersion);

        box.send("unplug");
        QVERIFY(box.waitForLine("^unplugged$"));
        midi.scanPorts(InputName, OutputName);
        QCOMPARE(midi.portCount(), 0);
        box.send("plug");
        QVERIFY(box.waitForLine("^plugged$"));
        QVERIFY(connectTo(midi));
    }

    void endsCleanly_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("command");
        QTest::addColumn<int>("exitCode");
        QTest::newRow("quit") << QStringList{} << "quit" << 0;
        QTest::newRow("terminated") << QStringList{} << "" << 0;
        QTest::newRow("unknown option") << QStringList{"--nonsense"} << "" << 2;
    }

    void endsCleanly()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, command);
        QFETCH(int, exitCode);
        BoxProcess box(arguments);
        QCOMPARE(box.isReady(), exitCode == 0);
        if (!command.isEmpty())
            box.send(command);
        else
            box.process().terminate();
        QTRY_COMPARE(box.process().state(), QProcess::NotRunning);
        QCOMPARE(box.process().exitStatus(), QProcess::NormalExit);
        QCOMPARE(box.process().exitCode(), exitCode);
        QCOMPARE(box.errorOutput().contains("Usage: ostrel-box"), exitCode == 2);
    }

private:
    QString scriptPath() const { return m_folder.filePath("script.py"); }

    static bool connectTo(QtRtMIDI &midi)
    {
        midi.setSysexID(Id);
        midi.scanPorts(InputName, OutputName);
        return midi.portCount() == 1 && midi.selectPort(0);
    }

    /// The next message in polling mode; empty when none came.
    static std::vector<std::uint8_t> nextMessage(QtRtMIDI &midi)
    {
        std::vector<std::uint8_t> message;
        (void)QTest::qWaitFor([&] { return !message.empty() || midi.receiveMessage(message); });
        return message;
    }

    MidiServer m_server;
    QTemporaryDir m_folder;
};

QTEST_GUILESS_MAIN(TestBoxProgram)
#include "tst_boxprogram.moc"
