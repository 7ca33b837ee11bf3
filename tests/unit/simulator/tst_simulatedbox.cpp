#include "midi/protocol/SevenBit.h"
#include "midi/protocol/UpdateMessages.h"
#include "simulator/BoxOptions.h"
#include "simulator/SimulatedBox.h"
#include "support/Messages.h"
#include "support/Rows.h"

#include <algorithm>

using namespace simulator;
using namespace testsupport;
using midi::ByteMessage;
using midi::ByteView;

namespace
{

constexpr std::uint8_t Id = 5;
const std::string Script = "from ostrel import *\nprint(\"Hello\")\n  print('deeper')\nprint(1)\n";

BoxProfile profile()
{
    BoxProfile profile;
    profile.sysexId = Id;
    profile.script.assign(Script.begin(), Script.end());
    return profile;
}

BoxProfile inBootloader()
{
    BoxProfile stuck = profile();
    stuck.inBootloader = true;
    return stuck;
}

ByteMessage blockWrite(midi::BlockType type, ByteView payload)
{
    ByteMessage message = dataBlock(Id, type, payload);
    message[midi::CommandOffset] = toByte(midi::Command::BlockWrite);
    return message;
}

/// The payload of a data block as a client would get it; empty for anything else.
ByteMessage payload(const ByteMessage &message, midi::BlockType type, std::uint8_t id = Id)
{
    if (!midi::isDataBlock(message, id, type))
        return {};
    return midi::readDataBlock(message).value_or(ByteMessage());
}

ByteMessage readBlock(SimulatedBox &box, midi::BlockType type)
{
    const Reaction reaction = box.receive(midi::blockReadRequest(box.sysexId(), type));
    return reaction.replies.empty() ? ByteMessage()
                                    : payload(reaction.replies.front(), type, box.sysexId());
}

BoxFaults faults(const QString &options)
{
    const auto parsed = parseFaults(options.split(' ', Qt::SkipEmptyParts));
    return std::get<BoxFaults>(parsed);
}

bool contains(const Reaction &reaction, const char *event)
{
    return std::ranges::any_of(reaction.events, [event](const std::string &line) {
        return line.find(event) != std::string::npos;
    });
}

} // namespace

class TestSimulatedBox : public QObject
{
    Q_OBJECT

private slots:
    /// tst_goldenbytes shows what is answered.
    void ignoresWhatIsNotForIt()
    {
        SimulatedBox box(profile());
        for (const char *message : {"F0 00 01 5B 06 21 00 F7",       // another box's name
                                    "F0 00 01 5B 05 33 03 00 00 F7", // unknown block
                                    "F0 00 01 5B 05 33 04 00 00 7F", // no end
                                    "F0 00 01 5B 03 00 F7",          // identity with more
                                    "F0 00 01 5C 03 F7",             // another maker
                                    "F0 00 01 5B 05 F7",             // prefix only
                                    "F0 00 01 5B 05 20 F7",          // command only
                                    "C3 05", ""})
            QVERIFY2(box.receive(fromHex(message)).replies.empty(), message);
    }

    void keepsSettings()
    {
        SimulatedBox box(profile());
        const auto before = readBlock(box, midi::BlockType::Globals);
        QCOMPARE(before.size(), midi::RecordLength);
        QVERIFY(std::ranges::none_of(ByteView(before).first(midi::RecordModeOffset),
                                     [](std::uint8_t byte) { return byte == 0; }));

        auto written = before;
        written[midi::RecordSysexIdOffset] = 9;
        written[midi::RecordModeOffset] = 1;
        written[midi::RecordNameOffset] = 'X';
        const Reaction reaction = box.receive(blockWrite(midi::BlockType::Globals, written));
        QVERIFY(midi::isAcknowledgement(reaction.replies.at(0), Id));

        // Another mode means a restart, in which a box is quiet.
        QVERIFY(reaction.absence && !reaction.absence->offBus);
        QVERIFY(box.receive(midi::identityRequest()).replies.empty());
        (void)box.comeBack();
        QVERIFY(box.receive(midi::nameRequest(Id)).replies.empty());
        QCOMPARE(readBlock(box, midi::BlockType::Globals), written);
        const Reaction name = box.receive(midi::nameRequest(9));
        QCOMPARE(hex(name.replies.at(0)), QByteArray("F0 00 01 5B 09 22 00 58 73 74 72 65 6C F7"));
    }

    void refusesBadWrites_data()
    {
        const Rows<ByteMessage> add;
        ByteMessage record(midi::RecordLength);
        const ByteMessage good = blockWrite(midi::BlockType::Globals, record);

        ByteMessage damaged = good;
        damaged[midi::BlockPayloadOffset + 3] ^= 1U;
        add("checksum", damaged);
        ByteMessage lying = good;
        lying[midi::BlockLengthOffset] = lying[midi::BlockLengthOffset + 1] = 0x7F;
        add("length beyond the frame", lying);
        ByteMessage huge(HugeFrameLength, 0);
        std::ranges::copy(good, huge.begin());
        huge.back() = midi::SysexEnd;
        add("longer than any frame", huge);
        add("half a header", fromHex("F0 00 01 5B 05 31 00 00 F7"));
        add("short record", blockWrite(midi::BlockType::Globals, ByteView(record).first(255)));
        add("unknown type", blockWrite(midi::BlockType{3}, record));
        record[midi::RecordModeOffset] = 3;
        add("unknown mode", blockWrite(midi::BlockType::Globals, record));
        record[midi::RecordModeOffset] = 0;
        record[midi::RecordSysexIdOffset] = 128;
        add("sysex ID of eight bits", blockWrite(midi::BlockType::Globals, record));
    }

    void refusesBadWrites()
    {
        const auto [message] = row<ByteMessage>();
        SimulatedBox box(profile());
        const auto before = box.state();
        QVERIFY(contains(box.receive(message), "refused"));
        QCOMPARE(box.state(), before);
    }

    void runsScripts()
    {
        SimulatedBox box(profile());
        const ByteMessage script = profile().script;
        const Reaction reaction = box.receive(blockWrite(midi::BlockType::Script, script));
        std::string texts;
        for (const ByteMessage &reply : reaction.replies) {
            const ByteView text = midi::readText(reply);
            if (midi::isTextMessage(reply))
                texts.append(text.begin(), text.end()).append("|");
        }
        QCOMPARE(texts, "Script received: " + std::to_string(Script.size()) +
                            " bytes\n|Running...\n|Hello\n|");
        QCOMPARE(readBlock(box, midi::BlockType::Script), script);
        // No sysex carries a byte with its top bit set.
        QCOMPARE(hex(box.text("\xC3\xA4")), QByteArray("F0 00 01 5B 05 1F 00 3F 3F F7"));
    }

    void disturbs_data()
    {
        // Replies, those of which a client can read the script, the longest one
        const Rows<QString, std::size_t, std::size_t, std::size_t> add;
        const std::size_t whole = midi::mcoded7Length(Script.size()) + midi::FrameOverhead;
        add("healthy", "", 1, 1, whole);
        add("mute", "--mute", 0, 0, 0);
        add("wrong once", "--wrong-crc once", 2, 1, whole);
        add("wrong always", "--wrong-crc always", 1, 0, whole);
        add("foreign", "--foreign-sysex-id", 1, 0, whole);
        add("flood", "--flood 50", 51, 1, whole);
        add("mute flood", "--flood 50 --mute", 50, 0, 10);
        add("lying", "--lying-length", 1, 0, whole);
        add("huge", "--huge-frame", 1, 0, HugeFrameLength);
        add("truncated", "--truncated-frame", 1, 0, whole / 2 + 1);
        add("twice", "--twice", 2, 2, whole);
    }

    void disturbs()
    {
        const auto [options, count, usable, longest] =
            row<QString, std::size_t, std::size_t, std::size_t>();
        SimulatedBox box(profile());
        box.setFaults(faults(options));
        const auto replies =
            box.receive(midi::blockReadRequest(Id, midi::BlockType::Script)).replies;
        std::size_t usableSeen = 0;
        std::size_t longestSeen = 0;
        for (const ByteMessage &reply : replies) {
            const auto script = payload(reply, midi::BlockType::Script);
            usableSeen += std::ranges::equal(script, profile().script) ? 1 : 0;
            longestSeen = std::max(longestSeen, reply.size());
            QVERIFY(reply.front() >= 0x80);
        }
        QCOMPARE(replies.size(), count);
        QCOMPARE(usableSeen, usable);
        QCOMPARE(longestSeen, longest);
    }

    void refusesBadOptions()
    {
        for (const char *options :
             {"--nonsense", "5", "--sysex-id", "--sysex-id 128", "--product -1", "--slow soon",
              "--version 1.16.0", "--version 1.1", "--wrong-crc never", "--script /nonexistent",
              "--name a_name_of_one_byte_more_than_31_", "--boxes 2 --sysex-id 127", "--jack-names",
              "--pace 3", "--usb --pace 0", "--usb --pace -1", "--usb --pace nan",
              "--usb --pace fast", "--usb --pace inf"}) {
            const QStringList arguments = QString("ostrel-box %1").arg(options).split(' ');
            QVERIFY2(std::holds_alternative<UsageError>(parseOptions(arguments)), options);
        }
    }

    void startsNoOtherFirmware()
    {
        BoxProfile stuck = inBootloader();
        stuck.expectedFirmware = ByteMessage(8, 0xFF);
        SimulatedBox box(stuck);
        QVERIFY(readBlock(box, midi::BlockType::Script).empty());
        (void)box.receive(midi::updateData(Id, 0, ByteMessage(8, 0xFF))); // not enciphered
        const Reaction done = box.receive(midi::updateDone(Id, {8, 1, 2}));
        QVERIFY(contains(done, "match=no") && !done.absence);
        QVERIFY(contains(box.receive(midi::updateDone(Id, {0, 1, 2})), "firmware refused"));
    }

    void asksAgainForDamagedBlocks_data()
    {
        const Rows<ByteMessage> add;
        const ByteMessage good = midi::updateData(Id, 512, ByteMessage(512, 0xA5));
        const auto changed = [&](const char *name, std::size_t offset) {
            ByteMessage message = good;
            message[offset] ^= 1U;
            add(name, message);
        };
        changed("position", 7);
        changed("length", 11);
        changed("encoded length", 15);
        changed("checksum", 19);
        changed("data", 123);
        ByteMessage cut = good;
        cut.erase(cut.end() - 2);
        add("cut", cut);
        add("the block after it", midi::updateData(Id, 1024, ByteMessage(512, 0xA5)));
    }

    void asksAgainForDamagedBlocks()
    {
        const auto [message] = row<ByteMessage>();
        SimulatedBox box(inBootloader());
        (void)box.receive(midi::updateData(Id, 0, ByteMessage(512, 0xA5)));
        QCOMPARE(hex(box.receive(message).replies.at(0)),
                 QByteArray("F0 00 01 5B 05 20 02 00 00 04 00 00 F7"));
    }
};

QTEST_APPLESS_MAIN(TestSimulatedBox)
#include "tst_simulatedbox.moc"
