#include "midi/QtRtMIDI.h"
#include "midi/protocol/UpdateMessages.h"
#include "support/Messages.h"

#include <QTest>

using midi::ByteMessage;
using testsupport::fromHex;
using testsupport::hex;
using testsupport::toBytes;

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
        m_midi.setSysexID(Id);
        m_midi.setAltSysexID(AltId);
    }

    void tellsMessagesApart_data()
    {
        QTest::addColumn<QByteArray>("message");
        QTest::addColumn<QByteArrayList>("kinds");
        const auto row = [](const char *name, const char *message, const char *kinds) {
            QTest::newRow(name) << QByteArray(message) << QByteArray(kinds).split(' ');
        };
        row("empty", "", "");
        row("one byte", "F0", "");
        row("prefix alone", "F0 00 01 5B", "");
        row("prefix and a byte", "F0 00 01 5B 05", "sysex ours");
        row("prefix and another ID", "F0 00 01 5B 06", "sysex");
        row("alternate ID", "F0 00 01 5B 09 F7", "sysex ours");
        row("other manufacturer", "F0 00 01 5C 05 34 00 F7", "");
        row("identity request", "F0 00 01 5B 03 F7", "sysex");
        row("identity reply", "F0 00 01 5B 04 1A 11 00 05 F7", "sysex identity");
        row("identity reply, short", "F0 00 01 5B 04 1A 11 00 F7", "sysex");
        row("identity reply, long", "F0 00 01 5B 04 1A 11 00 05 00 F7", "sysex");
        // The two forms of messages overlap for a box with the ID 4.
        row("identity and name reply", "F0 00 01 5B 04 22 00 41 42 F7", "sysex identity name");
        row("name reply", "F0 00 01 5B 05 22 00 41 F7", "sysex ours name");
        row("name reply, shortest", "F0 00 01 5B 06 22", "sysex name");
        row("acknowledgement", "F0 00 01 5B 05 32 00 00 00 00 F7", "sysex ours ack");
        row("acknowledgement, other ID", "F0 00 01 5B 09 32 00 00 00 00 F7", "sysex ours");
        row("acknowledgement, short", "F0 00 01 5B 05 32 00 00 00 F7", "sysex ours");
        row("globals", "F0 00 01 5B 05 34 00 00 00 01 00 00 00 00 00 00 00 F7",
            "sysex ours globals");
        row("globals, alternate ID", "F0 00 01 5B 09 34 00 00 00 01 00 00 00 00 00 00 00 F7",
            "sysex ours");
        row("script", "F0 00 01 5B 05 34 04 00 00 01 00 00 00 00 00 00 00 F7", "sysex ours script");
        row("another block type", "F0 00 01 5B 05 34 01 00 00 01 00 00 00 00 00 00 00 F7",
            "sysex ours");
        row("block write", "F0 00 01 5B 05 31 04 00 00 01 00 00 00 00 00 00 00 F7", "sysex ours");
        row("empty block", "F0 00 01 5B 05 34 04 00 00 00 00 00 00 00 00 00 F7",
            "sysex ours emptyblock");
        row("empty block, other ID", "F0 00 01 5B 06 34 04 00 00 00 00 00 00 00 00 00 F7", "sysex");
        row("text", "F0 00 01 5B 06 1F 00 F7", "sysex text");
        row("text, short", "F0 00 01 5B 06 1F F7", "sysex");
        row("update response", "F0 00 01 5B 05 20 02 7F 00 00 00 00 F7", "sysex ours update");
        row("update response, long", "F0 00 01 5B 05 20 02 7F 00 00 00 00 00 F7", "sysex ours");
        row("update request", "F0 00 01 5B 05 20 00 7F 00 00 00 00 F7", "sysex ours");
        row("program change", "CF 05", "program");
        row("program change, cut off", "C0", "");
        row("program change and more", "C0 05 C0", "");
        row("channel pressure", "D0 05", "");
    }

    void tellsMessagesApart()
    {
        QFETCH(QByteArray, message);
        QFETCH(QByteArrayList, kinds);
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

    void noAlternateIdBeforeOneIsSet()
    {
        const QtRtMIDI fresh;
        QVERIFY(fresh.isOurZEVSysexMsg(fromHex("F0 00 01 5B 00 F7")));
        QVERIFY(!fresh.isOurZEVSysexMsg(fromHex("F0 00 01 5B 7F F7")));
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

    void buildsAndReadsReplies()
    {
        const ByteMessage reply = midi::identityReply({26, 5, {7, 15, 127}});
        QCOMPARE(hex(reply), QByteArray("F0 00 01 5B 04 1A 7F 7F 05 F7"));
        QCOMPARE(midi::readIdentity(reply).version, midi::BootloaderVersion);
        const midi::Identity other =
            midi::readIdentity(fromHex("F0 00 01 5B 04 20 A3 04 7E F7")); // bit 7 means nothing
        QCOMPARE(other.productId, 32);
        QCOMPARE(other.sysexId, 126);
        QCOMPARE(other.version, (midi::FirmwareVersion{2, 3, 4}));
        QCOMPARE(hex(midi::nameReply(5, toBytes("Hi"))),
                 QByteArray("F0 00 01 5B 05 22 00 48 69 F7"));
        QCOMPARE(hex(midi::textMessage(5, toBytes("Hi"))),
                 QByteArray("F0 00 01 5B 05 1F 00 48 69 F7"));
    }

    void copiesAndPrepends()
    {
        ByteMessage message{1, 2, 3};
        const ByteMessage bytes{7, 8};
        QtRtMIDI::convertToVector(message, bytes.data(), 2);
        QCOMPARE(message, bytes);
        m_midi.prependDataHeader(message);
        QCOMPARE(hex(message), QByteArray("F0 00 01 5B 05 0B 07 08"));
    }

private:
    QtRtMIDI m_midi;
};

QTEST_GUILESS_MAIN(TestMessages)
#include "tst_messages.moc"
