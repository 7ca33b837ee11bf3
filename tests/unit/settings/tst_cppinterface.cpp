#include "midi/QtRtMIDI.h"
#include "settings/CppInterface.h"
#include "settings/SettingsTransfer.h"
#include "support/FakeRtMidi.h"
#include "support/Messages.h"

#include <QQmlEngine>
#include <QTest>

using midi::ByteMessage;
using testsupport::dataBlock;
using testsupport::hex;

namespace
{

constexpr std::uint8_t Id = 5;

/// A record in which no byte is what an empty one would hold.
ByteMessage boxRecord()
{
    ByteMessage record(256);
    for (std::size_t i = 0; i < record.size(); ++i)
        record[i] = static_cast<std::uint8_t>(i * 37 + 11);
    record[16] = 2;
    record[17] = Id;
    std::ranges::fill(std::span(record).subspan(224), 0);
    std::ranges::copy(testsupport::toBytes("Stage"), record.begin() + 224);
    return record;
}

} // namespace

/// The working copy of the settings, alone and with a box behind a scripted port.
class TestCppInterface : public QObject
{
    Q_OBJECT

private slots:
    void takesReferencesApart()
    {
        const CppInterface bridge;
        QCOMPARE(bridge.deviceRefGetProductId(0x1A03), 26);
        QCOMPARE(bridge.deviceRefGetProductId(0xFF03), 255);
        QCOMPARE(bridge.deviceRefGetSysexId(0xFF), 255);
        QCOMPARE(bridge.deviceRefSetProductId(0x1A03, 0x9A), 0x1A03);
        QCOMPARE(bridge.deviceRefSetProductId(0xFFFF, 26), 0x1AFF);
        QCOMPARE(bridge.deviceRefSetSysexId(0x1A03, 200), 0x1A48);
        QCOMPARE(bridge.deviceRefSetSysexId(0xFFFF, 5), 0xFF05);
        int productId = 0;
        int sysexId = 0;
        // As a document calls them, with a whole reference for each.
        QVERIFY(QMetaObject::invokeMethod(&m_bridge, "deviceRefGetProductId",
                                          Q_RETURN_ARG(int, productId), Q_ARG(quint16, 0x1A03)));
        QVERIFY(QMetaObject::invokeMethod(&m_bridge, "deviceRefGetSysexId",
                                          Q_RETURN_ARG(int, sysexId),
                                          Q_ARG(quint8, static_cast<quint8>(0x1A03))));
        QCOMPARE(productId << 8 | sysexId, 0x1A03);
    }

    void keepsNumbersInRange()
    {
        CppInterface bridge;
        for (const int mode : {2, 3, -1, 256})
            bridge.setOperatingMode(mode);
        QCOMPARE(bridge.operatingMode(), 2);
        for (const int id : {127, 128, -1, 256})
            bridge.setSysexId(id);
        QCOMPARE(bridge.sysexId(), 127);
        bridge.setOperatingMode(0);
        bridge.setSysexId(0);
        QCOMPARE(bridge.operatingMode() + bridge.sysexId(), 0);
    }

    void cutsTexts()
    {
        CppInterface bridge;
        bridge.setDisplayName(QString(31, 'a'));
        QCOMPARE(bridge.displayName(), QString(31, 'a'));
        bridge.setDisplayName(QString(32, 'b'));
        QCOMPARE(bridge.displayName(), QString(31, 'b'));
        bridge.setDisplayName("c");
        QCOMPARE(bridge.displayName(), "c");
        bridge.setScript(QString(6913, 'd'));
        QCOMPARE(bridge.script(), QString(6912, 'd'));
        bridge.setScript("e");
        QCOMPARE(bridge.script(), "e");
    }

    void failsWithoutABox()
    {
        CppInterface bridge;
        bridge.setDisplayName("kept");
        QVERIFY(!bridge.readGlobals());
        QVERIFY(!bridge.writeGlobals());

        Box box;
        bridge.setSettingsTransfer(Box::transfer());
        FakeRtMidi::world().sendFails = true;
        QVERIFY(!bridge.readGlobals());
        QVERIFY(!bridge.writeGlobals());
        QCOMPARE(bridge.displayName(), "kept");
    }

    void sendsBackWhatItDoesNotKnow()
    {
        Box box;
        CppInterface bridge;
        bridge.setSettingsTransfer(Box::transfer());
        QVERIFY(bridge.readGlobals());
        QCOMPARE(bridge.displayName(), "Stage");
        QCOMPARE(bridge.operatingMode(), 2);
        QCOMPARE(bridge.sysexId(), Id);

        // Untouched, the record goes back as it came.
        QVERIFY(bridge.writeGlobals());
        QCOMPARE(box.written(), hex(boxRecord()));

        bridge.setDisplayName(QString("B") + QChar(0xE4));
        bridge.setOperatingMode(1);
        bridge.setSysexId(6);
        QVERIFY(bridge.writeGlobals());
        ByteMessage expected = boxRecord();
        expected[16] = 1;
        expected[17] = 6;
        std::ranges::fill(std::span(expected).subspan(224), 0);
        expected[224] = 'B';
        expected[225] = 0xE4; // Latin-1 out
        QCOMPARE(box.written(), hex(expected));
    }

    void endsANameThatABoxDidNotEnd()
    {
        Box box;
        std::ranges::fill(std::span(box.record).subspan(224), 'x');
        CppInterface bridge;
        bridge.setSettingsTransfer(Box::transfer());
        QVERIFY(bridge.readGlobals());
        QCOMPARE(bridge.displayName(), QString(31, 'x'));
    }

private:
    /// A box on a scripted port, and the transfer object that reaches it.
    class Box
    {
    public:
        Box()
        {
            FakeRtMidi &world = FakeRtMidi::world();
            world.reset();
            world.inputs = world.outputs = {"Box"};
            world.onSend = [this](const FakeRtMidi::Sent &sent) {
                if (sent.bytes == midi::blockReadRequest(Id, midi::BlockType::Globals))
                    FakeRtMidi::world().receive(dataBlock(Id, midi::BlockType::Globals, record));
            };
            SettingsTransfer::registerSingleton(&m_engine);
            transfer()->setMidiObj(&m_link);
            m_link.setSysexID(Id);
            m_link.scanPorts(nullptr, nullptr);
            m_open = m_link.selectPort(0);
        }
        ~Box() { FakeRtMidi::world().reset(); }

        static SettingsTransfer *transfer() { return SettingsTransfer::instance(); }

        /// The record that was sent last.
        QByteArray written() const
        {
            if (!m_open || FakeRtMidi::world().sent.empty())
                return "nothing";
            std::array<std::uint8_t, midi::MaxFrameLength> buffer{};
            std::ranges::copy(FakeRtMidi::world().sent.back().bytes, buffer.begin());
            const auto length = midi::decodeDataBlock(buffer);
            return hex(midi::ByteView(buffer).subspan(16, length.value_or(0)));
        }

        ByteMessage record = boxRecord();

    private:
        QtRtMIDI m_link;
        QQmlEngine m_engine;
        bool m_open = false;
    };

    CppInterface m_bridge;
};

QTEST_GUILESS_MAIN(TestCppInterface)
#include "tst_cppinterface.moc"
