#include "midi/QtRtMIDI.h"
#include "support/BoxLink.h"
#include "support/BoxProcess.h"
#include "support/MidiServer.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <set>

using testsupport::awaitMessage;
using testsupport::BoxProcess;
using testsupport::connectToBox;
using testsupport::MidiServer;

namespace
{

constexpr std::uint8_t Id = 5;

bool isScript(midi::ByteView message)
{
    return midi::isDataBlock(message, Id, midi::BlockType::Script);
}

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
        QVERIFY(connectToBox(midi, Id));
        // Reads give up after a tenth of a second, which a loaded machine may need for itself.
        QString script;
        const auto read = [&] { return midi.getScript().toString(); };
        QTRY_VERIFY(!script.isEmpty() || !(script = read()).isEmpty());
        QCOMPARE(script, QString("print(\"stored\")\n"));

        const std::uint8_t *record = nullptr;
        QTRY_VERIFY(record || (record = midi.getGlobals()));
        std::vector<std::uint8_t> settings(record, record + 256);
        settings[17] = 6;
        settings[224] = 'X';
        QVERIFY(midi.sendSettingsBlock(0, settings.data(), 256, false));
        QVERIFY(box.waitForLine("^settings name=\"Xstrel\" sysex-id=6 mode=2"));
        midi.setSysexID(6);
        record = nullptr;
        QTRY_VERIFY(record || (record = midi.getGlobals()));
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
        std::set<std::uint8_t> ids;
        const auto bothAnswered = [&] {
            midi.sendIDReq();
            const auto reply = awaitMessage(midi, midi::isIdentityReply, 200);
            if (!reply.empty())
                ids.insert(midi::readIdentity(reply).sysexId);
            return ids.size() == 2;
        };
        QTRY_VERIFY(ids.size() == 2 || bothAnswered());
        QCOMPARE(ids, (std::set<std::uint8_t>{5, 6}));
    }

    void losesNoLineAtFullSpeed()
    {
        constexpr int Count = 20000;
        BoxProcess box({"--sysex-id", "5"});
        QVERIFY(box.isReady());
        QtRtMIDI midi;
        QVERIFY(connectToBox(midi, Id));
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
        QVERIFY(connectToBox(midi, Id));
        QVERIFY(midi.sendScriptReq());
        const auto message = awaitMessage(midi, isScript);
        QCOMPARE(message.size(), 20000U);
        box.send("faults");
        QVERIFY(box.waitForLine("^faults"));
        QVERIFY(midi.sendScriptReq());
        QCOMPARE(awaitMessage(midi, isScript).size(), 36U);
    }

    void leavesTheBusForItsBootloader()
    {
        BoxProcess box({"--version", "1.1.0", "--restart-ms", "300", "--sysex-id", "5"});
        QVERIFY(box.isReady());
        QtRtMIDI midi;
        QVERIFY(connectToBox(midi, Id));
        QVERIFY(midi.sendUpdateReq());
        QVERIFY(box.waitForLine("^unplugged$"));
        QVERIFY(box.waitForLine("^started bootloader$"));
        QVERIFY(box.waitForLine("^plugged$"));
        QVERIFY(connectToBox(midi, Id));
        QVERIFY(midi.sendIDReq());
        const auto reply = awaitMessage(midi, midi::isIdentityReply);
        QVERIFY(!reply.empty());
        QCOMPARE(midi::readIdentity(reply).version, midi::BootloaderVersion);

        box.send("unplug");
        QVERIFY(box.waitForLine("^unplugged$"));
        midi.scanPorts(testsupport::InputPortName, testsupport::OutputPortName);
        QCOMPARE(midi.portCount(), 0);
        box.send("plug");
        QVERIFY(box.waitForLine("^plugged$"));
        QVERIFY(connectToBox(midi, Id));
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

    MidiServer m_server;
    QTemporaryDir m_folder;
};

QTEST_GUILESS_MAIN(TestBoxProgram)
#include "tst_boxprogram.moc"
