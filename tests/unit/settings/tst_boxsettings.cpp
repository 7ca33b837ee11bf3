#include "midi/QtRtMIDI.h"
#include "settings/CppInterface.h"
#include "settings/SettingsT.h"
#include "settings/SettingsTransfer.h"
#include "support/BoxLink.h"
#include "support/BoxProcess.h"
#include "support/MidiServer.h"

#include <QCryptographicHash>
#include <QQmlEngine>
#include <QTest>

using testsupport::BoxProcess;
using testsupport::MidiServer;

/// Settings of a box on a real MIDI service. A read gives up after about 100 ms, which a busy
/// machine may exceed, so it is tried again.
class TestBoxSettings : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_server = std::make_unique<MidiServer>();
        QVERIFY2(m_server->isRunning(), m_server->output());
    }

    void cleanupTestCase() { m_server.reset(); }

    void changesOnlyWhatTheUserChanged()
    {
        BoxProcess box({"--sysex-id", "5", "--name", "Stage", "--mode", "2"});
        QVERIFY2(box.isReady(), box.errorOutput());
        QQmlEngine engine;
        SettingsTransfer::registerSingleton(&engine);
        SettingsTransfer &transfer = *SettingsTransfer::instance();
        QtRtMIDI link;
        transfer.setMidiObj(&link);
        link.setSysexID(5);
        link.scanPorts("MIDIIN4 (Ostrel)", "MIDIOUT6 (Ostrel)");
        QVERIFY(link.selectPort(0));

        SettingsT expected;
        QVERIFY(eventually([&] {
            const SettingsT *received = transfer.receiveGlobals();
            if (received)
                expected = *received;
            return received != nullptr;
        }));
        QVERIFY(expected.unknownHead.front() != 0 && expected.unknownMiddle.back() != 0);

        CppInterface bridge;
        bridge.setSettingsTransfer(&transfer);
        QVERIFY(eventually([&] { return bridge.readGlobals(); }));
        QCOMPARE(bridge.displayName(), "Stage");
        QCOMPARE(bridge.operatingMode(), 2);
        bridge.setDisplayName("Left");
        bridge.setSysexId(6);
        expected.displayName = {'L', 'e', 'f', 't'};
        expected.sysexId = 6;
        QVERIFY(bridge.writeGlobals());
        // The box tells a checksum of all 256 bytes.
        QVERIFY(box.waitForLine("^settings name=\"Left\" sysex-id=6 mode=2 sha1=" + sha1(expected) +
                                "$"));

        // An answer that came too late for an earlier try must not pass for one.
        link.setCallbackMode(false);
        QVERIFY(link.sendIDReq());
        QVERIFY(!testsupport::awaitMessage(link, midi::isIdentityReply).empty());

        // Under its new ID the box gives back what it was given.
        QVERIFY(!bridge.readGlobals());
        link.setSysexID(6);
        QVERIFY(eventually([&] { return bridge.readGlobals(); }));
        QCOMPARE(bridge.displayName(), "Left");
        QCOMPARE(bridge.sysexId(), 6);
    }

private:
    template <typename Condition>
    static bool eventually(Condition condition)
    {
        return QTest::qWaitFor(condition, BoxProcess::DefaultTimeoutMs);
    }

    static QString sha1(const SettingsT &settings)
    {
        const QByteArray bytes(reinterpret_cast<const char *>(&settings), sizeof(settings));
        return QCryptographicHash::hash(bytes, QCryptographicHash::Sha1).toHex();
    }

    std::unique_ptr<MidiServer> m_server;
};

QTEST_GUILESS_MAIN(TestBoxSettings)
#include "tst_boxsettings.moc"
