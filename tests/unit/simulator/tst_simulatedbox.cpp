#include "firmware/ImageCipher.h"
#include "midi/protocol/SevenBit.h"
#include "midi/protocol/UpdateMessages.h"
#include "simulator/BoxOptions.h"
#include "simulator/SimulatedBox.h"
#include "support/Messages.h"
#include "unit/midi/BlockPayload.h"

#include <QTest>

#include <algorithm>

using namespace simulator;
using midi::ByteMessage;
using midi::ByteView;
using testsupport::fromHex;
using testsupport::hex;

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
    ByteMessage message = testsupport::dataBlock(Id, type, payload);
    message[midi::CommandOffset] = toByte(midi::Command::BlockWrite);
    return message;
}

/// The payload of a data block as a client would get it; empty for anything else.
ByteMessage payload(const ByteMessage &message, midi::BlockType type, std::uint8_t id = Id)
{
    if (!midi::isDataBlock(message, id, type))
        return {};
    return blockPayload(message).value_or(ByteMessage());
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

ByteMessage firmwarePayload(std::size_t length)
{
    ByteMessage payload(length);
    for (std::size_t i = 0; i < length; ++i)
        payload[i] = static_cast<std::uint8_t>(i * 7 + (i >> 8U));
    return payload;
}

/// What became of an update, seen from a client that gives up after ten requests or no answer.
enum class End { Complete, Silence, BeyondEnd, TooManyRequests, Unplugged };

/// A client as simple as can be: sends what the box asks for.
class Client
{
public:
    Client(SimulatedBox &box, ByteMessage image)
        : m_box(box)
        , m_image(std::move(image))
    {}

    End update()
    {
        std::uint32_t position = 0;
        for (requests = 0; position < m_image.size();) {
            const auto length =
                std::min<std::size_t>(midi::UpdateBlockSize, m_image.size() - position);
            reaction = m_box.receive(
                midi::updateData(Id, position, ByteView(m_image).subspan(position, length)));
            if (reaction.absence)
                return End::Unplugged;
            if (reaction.replies.empty() || !midi::isUpdateResponse(reaction.replies.front(), Id))
                return End::Silence;
            const ByteMessage &answer = reaction.replies.front();
            if (answer[midi::UpdateStatusOffset] == midi::UpdateAccepted) {
                position += midi::UpdateBlockSize;
                continue;
            }
            position = midi::read28Bit(answer, midi::UpdateResponsePositionOffset);
            if (++requests > 9)
                return End::TooManyRequests;
            if (position >= m_image.size())
                return End::BeyondEnd;
        }
        reaction =
            m_box.receive(midi::updateDone(Id, static_cast<std::uint32_t>(m_image.size()), 1, 1));
        return End::Complete;
    }

    Reaction reaction; ///< the last one
    unsigned requests = 0;

private:
    SimulatedBox &m_box;
    ByteMessage m_image;
};

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
    void answers_data()
    {
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<QByteArray>("reply");
        const auto row = [](const char *name, const char *request, const char *reply = "") {
            QTest::newRow(name) << QByteArray(request) << QByteArray(reply);
        };
        row("identity", "F0 00 01 5B 03 F7", "F0 00 01 5B 04 1A 11 01 05 F7");
        row("name", "F0 00 01 5B 05 21 00 F7", "F0 00 01 5B 05 22 00 4F 73 74 72 65 6C F7");
        row("another box's name", "F0 00 01 5B 06 21 00 F7");
        row("script", "F0 00 01 5B 05 33 04 00 00 F7",
            "F0 00 01 5B 05 34 04 00 00 03 00 20 5F 2D 5A 2D 00 68 69 F7");
        row("unknown block", "F0 00 01 5B 05 33 03 00 00 F7");
        row("no end", "F0 00 01 5B 05 33 04 00 00 7F");
        row("identity with more", "F0 00 01 5B 03 00 F7");
        row("another maker", "F0 00 01 5C 03 F7");
        row("prefix only", "F0 00 01 5B 05 F7");
        row("command only", "F0 00 01 5B 05 20 F7");
        row("program change", "C3 05");
        row("nothing", "");
    }

    void answers()
    {
        QFETCH(QByteArray, request);
        QFETCH(QByteArray, reply);
        BoxProfile small = profile();
        small.script = {'h', 'i'};
        SimulatedBox box(small);
        const auto replies = box.receive(fromHex(request)).replies;
        QCOMPARE(replies.size(), reply.isEmpty() ? 0U : 1U);
        QCOMPARE(replies.empty() ? QByteArray() : hex(replies.front()), reply);
    }

    void keepsSettings()
    {
        SimulatedBox box(profile());
        const auto before = readBlock(box, midi::BlockType::Globals);
        QCOMPARE(before.size(), BoxMemory::RecordLength);
        QVERIFY(std::ranges::none_of(ByteView(before).first(BoxMemory::ModeOffset),
                                     [](std::uint8_t byte) { return byte == 0; }));

        auto written = before;
        written[BoxMemory::SysexIdOffset] = 9;
        written[BoxMemory::ModeOffset] = 1;
        written[BoxMemory::NameOffset] = 'X';
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
        QTest::addColumn<ByteMessage>("message");
        ByteMessage record(BoxMemory::RecordLength);
        const auto row = [](const char *name, const ByteMessage &message) {
            QTest::newRow(name) << message;
        };
        const ByteMessage good = blockWrite(midi::BlockType::Globals, record);

        ByteMessage damaged = good;
        damaged[midi::BlockPayloadOffset + 3] ^= 1U;
        row("checksum", damaged);
        ByteMessage lying = good;
        lying[midi::BlockLengthOffset] = lying[midi::BlockLengthOffset + 1] = 0x7F;
        row("length beyond the frame", lying);
        ByteMessage huge(HugeFrameLength, 0);
        std::ranges::copy(good, huge.begin());
        huge.back() = midi::SysexEnd;
        row("longer than any frame", huge);
        row("half a header", fromHex("F0 00 01 5B 05 31 00 00 F7"));
        row("short record", blockWrite(midi::BlockType::Globals, ByteView(record).first(255)));
        row("unknown type", blockWrite(midi::BlockType{3}, record));
        record[BoxMemory::ModeOffset] = 3;
        row("unknown mode", blockWrite(midi::BlockType::Globals, record));
        record[BoxMemory::ModeOffset] = 0;
        record[BoxMemory::SysexIdOffset] = 128;
        row("sysex ID of eight bits", blockWrite(midi::BlockType::Globals, record));
    }

    void refusesBadWrites()
    {
        QFETCH(ByteMessage, message);
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
        QTest::addColumn<QString>("options");
        QTest::addColumn<std::size_t>("replies");
        QTest::addColumn<std::size_t>("usable"); // of which a client can read the script
        QTest::addColumn<std::size_t>("longest");

        const std::size_t whole = midi::mcoded7Length(Script.size()) + midi::FrameOverhead;
        QTest::newRow("healthy") << "" << 1UL << 1UL << whole;
        QTest::newRow("mute") << "--mute" << 0UL << 0UL << 0UL;
        QTest::newRow("wrong once") << "--wrong-crc once" << 2UL << 1UL << whole;
        QTest::newRow("wrong always") << "--wrong-crc always" << 1UL << 0UL << whole;
        QTest::newRow("foreign") << "--foreign-sysex-id" << 1UL << 0UL << whole;
        QTest::newRow("flood") << "--flood 50" << 51UL << 1UL << whole;
        QTest::newRow("mute flood") << "--flood 50 --mute" << 50UL << 0UL << 10UL;
        QTest::newRow("lying") << "--lying-length" << 1UL << 0UL << whole;
        QTest::newRow("huge") << "--huge-frame" << 1UL << 0UL << HugeFrameLength;
        QTest::newRow("truncated") << "--truncated-frame" << 1UL << 0UL << whole / 2 + 1;
        QTest::newRow("twice") << "--twice" << 2UL << 2UL << whole;
    }

    void disturbs()
    {
        QFETCH(QString, options);
        SimulatedBox box(profile());
        box.setFaults(faults(options));
        const auto replies =
            box.receive(midi::blockReadRequest(Id, midi::BlockType::Script)).replies;
        std::size_t usable = 0;
        std::size_t longest = 0;
        for (const ByteMessage &reply : replies) {
            const auto script = payload(reply, midi::BlockType::Script);
            usable += std::ranges::equal(script, profile().script) ? 1 : 0;
            longest = std::max(longest, reply.size());
            QVERIFY(reply.front() >= 0x80);
        }
        QTEST(replies.size(), "replies");
        QTEST(usable, "usable");
        QTEST(longest, "longest");
    }

    void refusesBadOptions_data()
    {
        QTest::addColumn<QString>("options");
        for (const char *options :
             {"--nonsense", "5", "--sysex-id", "--sysex-id 128", "--product -1", "--slow soon",
              "--version 1.16.0", "--version 1.1", "--wrong-crc never", "--script /nonexistent",
              "--name a_name_of_one_byte_more_than_31_", "--boxes 2 --sysex-id 127", "--jack-names",
              "--pace 3", "--usb --pace 0", "--usb --pace -1", "--usb --pace nan",
              "--usb --pace fast", "--usb --pace inf"})
            QTest::newRow(options) << QString(options);
    }

    void refusesBadOptions()
    {
        QFETCH(QString, options);
        const QStringList arguments = QString("ostrel-box " + options).split(' ');
        QVERIFY(std::holds_alternative<UsageError>(parseOptions(arguments)));
    }

    void takesFirmware_data()
    {
        QTest::addColumn<QString>("options");
        QTest::addColumn<int>("end");
        QTest::addColumn<unsigned>("requests");

        const auto row = [](const char *name, const char *options, End end, unsigned requests) {
            QTest::newRow(name) << QString(options) << static_cast<int>(end) << requests;
        };
        row("healthy", "", End::Complete, 0);
        row("drops a block", "--drop-block 2", End::Complete, 1);
        row("nine requests", "--repeat-request 9", End::Complete, 9);
        row("ten requests", "--repeat-request 10", End::TooManyRequests, 10);
        row("beyond the end", "--ask-beyond-end 3", End::BeyondEnd, 1);
        row("silent", "--silent-at 2", End::Silence, 0);
        row("unplugged", "--unplug-at 3", End::Unplugged, 0);
        row("another box", "--foreign-sysex-id", End::Silence, 0);
    }

    void takesFirmware()
    {
        QFETCH(QString, options);
        QFETCH(int, end);
        const auto firmware = firmwarePayload(3 * midi::UpdateBlockSize + 100);
        BoxProfile old = profile();
        old.version = {1, 1, 0};
        old.expectedFirmware = firmware;
        SimulatedBox box(old);
        box.setFaults(faults(options));
        Client client(box, firmware::encipherPayload(firmware));

        // Nothing is taken before the restart into the bootloader.
        QCOMPARE(client.update(), End::Silence);
        const Reaction restart = box.receive(midi::updateRequest(Id));
        QVERIFY(restart.absence && restart.absence->offBus);
        (void)box.comeBack();
        QCOMPARE(box.receive(midi::identityRequest()).replies.at(0),
                 midi::identityReply({26, Id, midi::BootloaderVersion}));

        QCOMPARE(static_cast<int>(client.update()), end);
        QTEST(client.requests, "requests");
        if (end != static_cast<int>(End::Complete)) {
            // Whatever went wrong, the next attempt works.
            if (box.isAbsent())
                (void)box.comeBack();
            (void)box.receive(midi::updateCancel(Id));
            box.setFaults({});
            QCOMPARE(client.update(), End::Complete);
        }
        QVERIFY(contains(client.reaction, "match=yes"));
        QVERIFY(client.reaction.absence && client.reaction.absence->offBus);
        (void)box.comeBack();
        QCOMPARE(box.receive(midi::identityRequest()).replies.at(0),
                 midi::identityReply({26, Id, {1, 1, 1}}));
    }

    void staysInBootloader()
    {
        BoxProfile stuck = inBootloader();
        stuck.expectedFirmware = firmwarePayload(midi::UpdateBlockSize + 1);
        SimulatedBox box(stuck);
        QVERIFY(readBlock(box, midi::BlockType::Script).empty());

        const ByteMessage block = firmwarePayload(midi::UpdateBlockSize);
        (void)box.receive(midi::updateData(Id, 0, block));
        const Reaction done = box.receive(midi::updateDone(Id, midi::UpdateBlockSize, 1, 1));
        QVERIFY(contains(done, "match=no") && !done.absence);

        // Done with a length that did not arrive, and before anything did.
        (void)box.receive(midi::updateData(Id, 0, block));
        QVERIFY(contains(box.receive(midi::updateDone(Id, 1020, 1, 1)), "firmware refused"));
        (void)box.receive(midi::updateCancel(Id));
        QVERIFY(contains(box.receive(midi::updateDone(Id, 0, 1, 1)), "firmware refused"));
    }

    void asksAgainForDamagedBlocks_data()
    {
        QTest::addColumn<ByteMessage>("message");
        const ByteMessage good = midi::updateData(Id, 512, firmwarePayload(midi::UpdateBlockSize));
        const auto changed = [&](const char *name, std::size_t offset) {
            ByteMessage message = good;
            message[offset] ^= 1U;
            QTest::newRow(name) << message;
        };
        changed("position", midi::UpdatePositionOffset);
        changed("length", midi::UpdateLengthOffset);
        changed("encoded length", midi::UpdateEncodedLengthOffset);
        changed("checksum", midi::UpdateCrcOffset);
        changed("data", midi::UpdateDataOffset + 100);
        ByteMessage cut = good;
        cut.erase(cut.end() - 2);
        QTest::newRow("cut") << cut;
        QTest::newRow("the block after it") << midi::updateData(Id, 1024, firmwarePayload(512));
    }

    void asksAgainForDamagedBlocks()
    {
        QFETCH(ByteMessage, message);
        SimulatedBox box(inBootloader());
        (void)box.receive(midi::updateData(Id, 0, firmwarePayload(midi::UpdateBlockSize)));
        QCOMPARE(box.receive(message).replies.at(0), midi::updateResponse(Id, 0, 512));
    }
};

QTEST_APPLESS_MAIN(TestSimulatedBox)
#include "tst_simulatedbox.moc"
