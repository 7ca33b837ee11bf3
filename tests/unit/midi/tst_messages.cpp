#include "midi/protocol/UpdateMessages.h"
#include "midi/QtRtMIDI.h"
#include "support/Messages.h"
#include "support/Rows.h"

using namespace testsupport;
using midi::ByteMessage;

namespace
{

constexpr std::uint8_t Id = 5;
constexpr std::uint8_t AltId = 9;

} // namespace

/// Building, telling apart and reading the short messages.
class TestMessages : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(!m_midi.isOurZEVSysexMsg(fromHex("F0 00 01 5B 7F F7"))); // no alternate ID yet
        m_midi.setSysexID(Id);
        m_midi.setAltSysexID(AltId);
    }

    void tellsMessagesApart_data()
    {
        const Rows<QByteArray, QByteArray> add;
        add("empty", "", "");
        add("one byte", "F0", "");
        add("prefix alone", "F0 00 01 5B", "");
        add("prefix and a byte", "F0 00 01 5B 05", "sysex ours");
        add("prefix and another ID", "F0 00 01 5B 06", "sysex");
        add("alternate ID", "F0 00 01 5B 09 F7", "sysex ours");
        add("other manufacturer", "F0 00 01 5C 05 34 00 F7", "");
        add("identity request", "F0 00 01 5B 03 F7", "sysex");
        add("identity reply", "F0 00 01 5B 04 1A 11 00 05 F7", "sysex identity");
        add("identity reply, short", "F0 00 01 5B 04 1A 11 00 F7", "sysex");
        add("identity reply, long", "F0 00 01 5B 04 1A 11 00 05 00 F7", "sysex");
        // The two forms of messages overlap for a box with the ID 4.
        add("identity and name reply", "F0 00 01 5B 04 22 00 41 42 F7", "sysex identity name");
        add("name reply", "F0 00 01 5B 05 22 00 41 F7", "sysex ours name");
        add("name reply, shortest", "F0 00 01 5B 06 22", "sysex name");
        add("acknowledgement", "F0 00 01 5B 05 32 00 00 00 00 F7", "sysex ours ack");
        add("acknowledgement, other ID", "F0 00 01 5B 09 32 00 00 00 00 F7", "sysex ours");
        add("acknowledgement, short", "F0 00 01 5B 05 32 00 00 00 F7", "sysex ours");
        add("globals", "F0 00 01 5B 05 34 00 00 00 01 00 00 00 00 00 00 00 F7",
            "sysex ours globals");
        add("globals, alternate ID", "F0 00 01 5B 09 34 00 00 00 01 00 00 00 00 00 00 00 F7",
            "sysex ours");
        add("script", "F0 00 01 5B 05 34 04 00 00 01 00 00 00 00 00 00 00 F7", "sysex ours script");
        add("another block type", "F0 00 01 5B 05 34 01 00 00 01 00 00 00 00 00 00 00 F7",
            "sysex ours");
        add("block write", "F0 00 01 5B 05 31 04 00 00 01 00 00 00 00 00 00 00 F7", "sysex ours");
        add("empty block", "F0 00 01 5B 05 34 04 00 00 00 00 00 00 00 00 00 F7",
            "sysex ours emptyblock");
        add("empty block, other ID", "F0 00 01 5B 06 34 04 00 00 00 00 00 00 00 00 00 F7", "sysex");
        add("text", "F0 00 01 5B 06 1F 00 F7", "sysex text");
        add("text, short", "F0 00 01 5B 06 1F F7", "sysex");
        add("update response", "F0 00 01 5B 05 20 02 7F 00 00 00 00 F7", "sysex ours update");
        add("update response, long", "F0 00 01 5B 05 20 02 7F 00 00 00 00 00 F7", "sysex ours");
        add("update request", "F0 00 01 5B 05 20 00 7F 00 00 00 00 F7", "sysex ours");
        add("program change", "CF 05", "program");
        add("program change, cut off", "C0", "");
        add("program change and more", "C0 05 C0", "");
        add("channel pressure", "D0 05", "");
    }

    void tellsMessagesApart()
    {
        const auto [message, words] = row<QByteArray, QByteArray>();
        const QByteArrayList kinds = words.split(' ');
        const ByteMessage bytes = fromHex(message);
        const auto check = [&](const char *kind, bool recognised) {
            QVERIFY2(recognised == kinds.contains(kind), kind);
        };
        check("sysex", QtRtMIDI::isZEVSysexMsg(bytes));
        check("ours", m_midi.isOurZEVSysexMsg(bytes));
        check("identity", midi::isIdentityReply(bytes));
        check("name", midi::isNameReply(bytes));
        check("ack", m_midi.isZEVSysexAck(bytes));
        check("globals", m_midi.isZEVGlobals(bytes));
        check("script", m_midi.isZEVScriptData(bytes));
        check("emptyblock", m_midi.isZEVSysexData(bytes));
        check("text", midi::isTextMessage(bytes));
        check("update", m_midi.isZEVUpdateResponse(bytes));
        check("program", QtRtMIDI::isPgmChange(bytes));
    }

    /// tst_qtrtmidi reads whole text messages; a name reply may be shorter.
    void readsTextsFromTheirOffsetOn()
    {
        const auto read = [](const char *message) {
            const ByteMessage bytes = fromHex(message); // the view points into it
            return hex(midi::readText(bytes));
        };
        QCOMPARE(read("F0 00 01 5B 05 22 00 48 F7 69 F7"), QByteArray("48"));
        QCOMPARE(read("F0 00 01 5B 05 22 F7 48 69"), QByteArray("48 69"));
        QCOMPARE(read("F0 00 01 5B 05 22 00"), QByteArray());
        QCOMPARE(read("F0 00 01 5B 05 22"), QByteArray());
    }

    void readsIdentities()
    {
        const midi::Identity identity =
            midi::readIdentity(fromHex("F0 00 01 5B 04 20 A3 04 7E F7")); // bit 7 means nothing
        QCOMPARE(identity.productId, 32);
        QCOMPARE(identity.sysexId, 126);
        QCOMPARE(identity.version, (midi::FirmwareVersion{2, 3, 4}));
        const ByteMessage bootloader = fromHex("F0 00 01 5B 04 1A 7F 7F 05 F7");
        QCOMPARE(midi::readIdentity(bootloader).version, midi::BootloaderVersion);
    }

private:
    QtRtMIDI m_midi;
};

QTEST_GUILESS_MAIN(TestMessages)
#include "tst_messages.moc"
