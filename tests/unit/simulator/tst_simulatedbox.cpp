#include "firmware/ImageCipher.h"
#include "midi/DataBlockFrame.h"
#include "midi/MCoded7.h"
#include "midi/UpdateMessages.h"
#include "simulator/BoxOptions.h"
#include "simulator/SimulatedBox.h"

#include <QTest>

#include <algorithm>

using namespace simulator;
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

ByteMessage bytes(const QByteArray &hex)
{
    const QByteArray raw = QByteArray::fromHex(hex);
    return {raw.begin(), raw.end()};
}

ByteMessage blockFrame(midi::Command command, std::uint8_t type, ByteView payload)
{
    std::array<std::uint8_t, midi::MaxFrameLength> buffer{};
    const auto length = midi::buildDataBlock(buffer, command, Id, type, payload);
    return {buffer.begin(), buffer.begin() + *length};
}

ByteMessage blockWrite(midi::BlockType type, ByteView payload)
{
    return blockFrame(midi::Command::BlockWrite, toByte(type), payload);
}

/// The payload of a data block as a client would get it; empty for anything else.
std::vector<std::uint8_t> payload(const ByteMessage &message, midi::BlockType type,
                                  std::uint8_t id = Id)
{
    if (message.size() > midi::MaxFrameLength || !midi::isDataBlock(message, id, type))
        return {};
    std::array<std::uint8_t, midi::MaxFrameLength> buffer{};
    std::ranges::copy(message, buffer.begin());
    const auto length = midi::decodeDataBlock(buffer);
    if (!length)
        return {};
    const auto start = buffer.begin() + midi::BlockPayloadOffset;
    return {start, start + static_cast<std::ptrdiff_t>(*length)};
}

std::vector<std::uint8_t> readBlock(SimulatedBox &box, midi::BlockType type)
{
    const Reaction reaction = box.receive(midi::blockReadRequest(box.sysexId(), type));
    return reaction.replies.empty() ? std::vector<std::uint8_t>{}
                                    : payload(reaction.replies.front(), type, box.sysexId());
}

BoxFaults faults(const QString &options)
{
    const auto parsed = parseFaults(options.split(' ', Qt::SkipEmptyParts));
    return std::get<BoxFaults>(parsed);
}

std::vector<std::uint8_t> firmwarePayload(std::size_t length)
{
    std::vector<std::uint8_t> payload(length);
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
    Client(SimulatedBox &box, std::vector<std::uint8_t> image)
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
    std::vector<std::uint8_t> m_image;
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

        QTest::newRow("identity") << QByteArray("F000015B03F7")
                                  << QByteArray("F000015B041A110105F7");
        QTest::newRow("name") << QByteArray("F000015B052100F7")
                              << QByteArray("F000015B0522004F737472656CF7");
        QTest::newRow("another box's name") << QByteArray("F000015B062100F7") << QByteArray();
        QTest::newRow("script") << QByteArray("F000015B0533040000F7")
                                << QByteArray("F000015B0534040000030020 5F2D5A2D 006869F7");
        QTest::newRow("unknown block") << QByteArray("F000015B0533030000F7") << QByteArray();
        QTest::newRow("no end") << QByteArray("F000015B05330400007F") << QByteArray();
        QTest::newRow("identity with more") << QByteArray("F000015B0300F7") << QByteArray();
        QTest::newRow("another maker") << QByteArray("F000015C03F7") << QByteArray();
        QTest::newRow("prefix only") << QByteArray("F000015B05F7") << QByteArray();
        QTest::newRow("command only") << QByteArray("F000015B0520F7") << QByteArray();
        QTest::newRow("program change") << QByteArray("C305") << QByteArray();
        QTest::newRow("nothing") << QByteArray() << QByteArray();
    }

    void answers()
    {
        QFETCH(QByteArray, request);
        QFETCH(QByteArray, reply);
        BoxProfile small = profile();
        small.script = {'h', 'i'};
        SimulatedBox box(small);
        const Reaction reaction = box.receive(bytes(request));
        QCOMPARE(reaction.replies.size(), reply.isEmpty() ? 0U : 1U);
        if (!reply.isEmpty())
            QCOMPARE(midi::toHex(reaction.replies.front()), midi::toHex(bytes(reply)));
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
        QCOMPARE(midi::toHex(name.replies.at(0)),
                 midi::toHex(bytes("F000015B09220058737472656CF7")));
    }

    void refusesBadWrites_data()
    {
        QTest::addColumn<std::vector<std::uint8_t>>("message");
        std::vector<std::uint8_t> record(BoxMemory::RecordLength);
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
        row("half a header", bytes("F000015B05310000F7"));
        row("short record", blockWrite(midi::BlockType::Globals, ByteView(record).first(255)));
        row("unknown type", blockFrame(midi::Command::BlockWrite, 3, record));
        record[BoxMemory::ModeOffset] = 3;
        row("unknown mode", blockWrite(midi::BlockType::Globals, record));
        record[BoxMemory::ModeOffset] = 0;
        record[BoxMemory::SysexIdOffset] = 128;
        row("sysex ID of eight bits", blockWrite(midi::BlockType::Globals, record));
    }

    void refusesBadWrites()
    {
        QFETCH(std::vector<std::uint8_t>, message);
        SimulatedBox box(profile());
        const auto before = box.state();
        QVERIFY(contains(box.receive(message), "refused"));
        QCOMPARE(box.state(), before);
    }

    void runsScripts()
    {
        SimulatedBox box(profile());
        const auto script =
            ByteView(reinterpret_cast<const std::uint8_t *>(Script.data()), Script.size());
        const Reaction reaction = box.receive(blockWrite(midi::BlockType::Script, script));
        QStringList texts;
        for (const ByteMessage &reply : reaction.replies) {
            const ByteView text = midi::readText(reply);
            if (midi::isTextMessage(reply))
                texts << QString::fromLatin1(
                    QByteArrayView(text.data(), static_cast<qsizetype>(text.size())));
        }
        const QStringList expected{QString("Script received: %1 bytes\n").arg(Script.size()),
                                   "Running...\n", "Hello\n"};
        QCOMPARE(texts, expected);
        QVERIFY(std::ranges::equal(readBlock(box, midi::BlockType::Script), script));
        // No sysex carries a byte with its top bit set.
        QCOMPARE(midi::toHex(box.text("\xC3\xA4")), midi::toHex(bytes("F000015B051F003F3FF7")));
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
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("unknown") << QStringList{"--nonsense"};
        QTest::newRow("not an option") << QStringList{"5"};
        QTest::newRow("no value") << QStringList{"--sysex-id"};
        QTest::newRow("too large") << QStringList{"--sysex-id", "128"};
        QTest::newRow("negative") << QStringList{"--product", "-1"};
        QTest::newRow("not a number") << QStringList{"--slow", "soon"};
        QTest::newRow("version") << QStringList{"--version", "1.16.0"};
        QTest::newRow("short version") << QStringList{"--version", "1.1"};
        QTest::newRow("word") << QStringList{"--wrong-crc", "never"};
        QTest::newRow("no such file") << QStringList{"--script", "/nonexistent"};
        QTest::newRow("long name") << QStringList{"--name", QString(32, 'x')};
        QTest::newRow("boxes without IDs") << QStringList{"--boxes", "2", "--sysex-id", "127"};
    }

    void refusesBadOptions()
    {
        QFETCH(QStringList, arguments);
        QVERIFY(std::holds_alternative<UsageError>(
            parseOptions(QStringList{"ostrel-box"} + arguments)));
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
        BoxProfile stuck = profile();
        stuck.inBootloader = true;
        stuck.expectedFirmware = firmwarePayload(1024);
        SimulatedBox box(stuck);
        QVERIFY(readBlock(box, midi::BlockType::Script).empty());

        const auto image = firmware::encipherPayload(firmwarePayload(1020));
        Client client(box, image);
        QCOMPARE(client.update(), End::Complete);
        QVERIFY(contains(client.reaction, "match=no") && !client.reaction.absence);

        // Done with a length that did not arrive, and before anything did.
        (void)box.receive(midi::updateData(Id, 0, ByteView(image).first(512)));
        QVERIFY(contains(box.receive(midi::updateDone(Id, 1020, 1, 1)), "firmware refused"));
        (void)box.receive(midi::updateCancel(Id));
        QVERIFY(contains(box.receive(midi::updateDone(Id, 0, 1, 1)), "firmware refused"));
    }

    void asksAgainForDamagedBlocks_data()
    {
        QTest::addColumn<int>("offset"); // of the byte that is changed; -1 cuts one off instead
        QTest::newRow("position") << int{midi::UpdatePositionOffset};
        QTest::newRow("length") << int{midi::UpdateLengthOffset};
        QTest::newRow("encoded length") << int{midi::UpdateEncodedLengthOffset};
        QTest::newRow("checksum") << int{midi::UpdateCrcOffset};
        QTest::newRow("data") << int{midi::UpdateDataOffset + 100};
        QTest::newRow("cut") << -1;
    }

    void asksAgainForDamagedBlocks()
    {
        QFETCH(int, offset);
        BoxProfile stuck = profile();
        stuck.inBootloader = true;
        SimulatedBox box(stuck);
        const auto block = firmwarePayload(midi::UpdateBlockSize);
        (void)box.receive(midi::updateData(Id, 0, block));

        ByteMessage message = midi::updateData(Id, 512, block);
        if (offset < 0)
            message.erase(message.end() - 2);
        else
            message[static_cast<std::size_t>(offset)] ^= 1U;
        QCOMPARE(box.receive(message).replies.at(0), midi::updateResponse(Id, 0, 512));
    }
};

QTEST_APPLESS_MAIN(TestSimulatedBox)
#include "tst_simulatedbox.moc"
