#include "midi/QtRtMIDI.h"
#include "support/BoxLink.h"
#include "support/BoxProcess.h"
#include "support/Messages.h"
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
constexpr char StoredScript[] = "print(\"stored\")\n";

bool isScript(midi::ByteView message)
{
    return midi::isDataBlock(message, Id, midi::BlockType::Script);
}

/// A box and the editor's link to it.
struct Link
{
    explicit Link(const QStringList &options)
        : box(QStringList{"--sysex-id", "5"} + options)
        , isOpen(box.isReady() && connectToBox(midi, Id))
    {}

    void setFaults(const QString &faults)
    {
        box.send("faults " + faults);
        QVERIFY(box.waitForLine("^faults " + faults));
    }

    /// A read gives up after a tenth of a second, which a loaded machine may need for itself.
    bool readsBack(const QByteArray &script)
    {
        return QTest::qWaitFor([&] { return midi.getScript().toString() == script; },
                               BoxProcess::DefaultTimeoutMs);
    }

    const std::uint8_t *readGlobals()
    {
        const std::uint8_t *record = nullptr;
        static_cast<void>(QTest::qWaitFor([&] { return record = midi.getGlobals(); },
                                          BoxProcess::DefaultTimeoutMs));
        return record;
    }

    BoxProcess box;
    QtRtMIDI midi;
    bool isOpen;
};

} // namespace

/// The program on a real MIDI service, from the editor's side. How it leaves the bus and comes back
/// is seen in tst_update, and that it loses no line in tst_traffic.
class TestBoxProgram : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY2(m_server.isRunning(), m_server.output());
        QVERIFY(m_folder.isValid());
        QFile script(scriptPath());
        QVERIFY(script.open(QIODevice::WriteOnly) && script.write(StoredScript) > 0);
    }

    void readsAndWrites()
    {
        Link link({"--script", scriptPath()});
        QVERIFY2(link.isOpen, link.box.errorOutput());
        QVERIFY(link.readsBack(StoredScript));
        const QByteArray largest(midi::MaxRawPayload, '#');
        QVERIFY(link.midi.sendSettingsBlock(
            4, reinterpret_cast<const std::uint8_t *>(largest.constData()), midi::MaxRawPayload,
            false));
        QVERIFY(link.box.waitForLine("^script 7153 "));
        QVERIFY(link.readsBack(largest));

        const std::uint8_t *record = link.readGlobals();
        QVERIFY(record);
        midi::ByteMessage settings(record, record + 256);
        settings[17] = 6;
        settings[224] = 'X';
        QVERIFY(link.midi.sendSettingsBlock(0, settings.data(), 256, false));
        QVERIFY(link.box.waitForLine("^settings name=\"Xstrel\" sysex-id=6 mode=2"));
        link.midi.setSysexID(6);
        record = link.readGlobals();
        QVERIFY(record && std::equal(settings.begin(), settings.end(), record));
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

    void passesProgramChangesBothWays()
    {
        Link link({});
        QVERIFY2(link.isOpen, link.box.errorOutput());
        QVERIFY(link.midi.pgmChange(3, 7));
        QVERIFY(link.box.waitForLine("^received program-change channel=3 program=7$"));
        link.box.send("program 15 127");
        QCOMPARE(testsupport::hex(awaitMessage(link.midi, midi::isProgramChange)),
                 QByteArray("CF 7F"));
    }

    /// The other faults only change bytes, which tst_simulatedbox and tst_qtrtmidi look at.
    void readsInSpiteOfFaults()
    {
        Link link({"--script", scriptPath(), "--huge-frame"});
        QVERIFY2(link.isOpen, link.box.errorOutput());
        QVERIFY(link.midi.sendScriptReq());
        QCOMPARE(awaitMessage(link.midi, isScript).size(), 20000U); // more than the service takes
        QVERIFY(!link.midi.getScript().isValid());
        link.setFaults("--slow 30");
        QVERIFY(link.readsBack(StoredScript));
        link.setFaults("--flood 40");
        QVERIFY(link.readsBack(StoredScript));
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
