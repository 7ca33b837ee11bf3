#include "midi/QtRtMIDI.h"
#include "simulator/SimulatedBox.h"
#include "support/FakeRtMidi.h"
#include "support/Messages.h"
#include "support/Rows.h"

#include <functional>

using namespace testsupport;
using midi::ByteMessage;

namespace
{

constexpr std::uint8_t Id = 5;

enum class Runs { Firmware, Bootloader };
using Act = std::function<bool(QtRtMIDI &)>;

/// `count` times the same byte within a message.
QByteArray run(const char *byte, int count)
{
    return QByteArray(byte).append(' ').repeated(count);
}

const QByteArray FullBlock =
    "F0 00 01 5B 05 20 01 00 00 00 00 00 04 00 00 50 04 00 00 61 30 04 50 " + run("7F", 585) +
    "00 00 00 00 00 00 40 F7";

Act sendFirmware(std::uint32_t position, const QByteArray &bytes)
{
    return [position, block = fromHex(bytes)](QtRtMIDI &link) {
        return link.sendUpdateData(position, static_cast<std::uint32_t>(block.size()),
                                   block.data());
    };
}

Act sendDone(std::uint32_t length)
{
    return [length](QtRtMIDI &link) { return link.sendUpdateDone(length, 0x11, 0x22); };
}

bool sendWithHeader(QtRtMIDI &link)
{
    ByteMessage message{1, 2, 3};
    const ByteMessage bytes{7, 8};
    QtRtMIDI::convertToVector(message, bytes.data(), 2);
    link.prependDataHeader(message);
    return link.sendMessage(message);
}

bool askForName(QtRtMIDI &link)
{
    link.setSysexID(Id + 1); // the argument counts
    return link.sendNameReq(Id);
}

bool keepSettings(QtRtMIDI &link)
{
    ByteMessage record(256, 0xFF);
    record[16] = 2;
    record[17] = Id;
    record[255] = 0;
    if (!link.sendSettingsBlock(0, record.data(), 256, false))
        return false;
    const std::uint8_t *read = link.getGlobals();
    return read && std::equal(record.begin(), record.end(), read);
}

bool keepScript(QtRtMIDI &link)
{
    const QByteArray script = "# \xC3\xA4 b\xE2\x82\xAC\n";
    const ByteMessage bytes = toBytes(script);
    return link.sendSettingsBlock(4, bytes.data(), 10, false) &&
           link.getScript() == QString::fromUtf8(script);
}

} // namespace

/// Every byte that editor and box exchange. golden_bytes.py, which shares nothing with either of
/// them, tells where the bytes come from.
class TestGoldenBytes : public QObject
{
    Q_OBJECT

private slots:
    /// "> " is what the editor sends, "< " what the box answers.
    void exchange_data()
    {
        const Rows<Runs, Act, QStringList> add;
        using enum Runs;
        add("identity", Firmware, &QtRtMIDI::sendIDReq,
            {"> F0 00 01 5B 03 F7", "< F0 00 01 5B 04 1A 23 04 05 F7"});
        add("identity of a bootloader", Bootloader, &QtRtMIDI::sendIDReq,
            {"> F0 00 01 5B 03 F7", "< F0 00 01 5B 04 1A 7F 7F 05 F7"});
        add("name", Firmware, askForName,
            {"> F0 00 01 5B 05 21 00 F7", "< F0 00 01 5B 05 22 00 41 62 F7"});
        const QByteArray settings = "00 00 00 25 02 30 32 27 66 1B " + run("7F", 16) +
                                    "67 7F 7F 02 05 " + run("7F", 267) + "70 7F 7F 7F 00 F7";
        add("settings", Firmware, keepSettings,
            {"> F0 00 01 5B 05 31 " + settings, "< F0 00 01 5B 05 32 00 00 00 00 F7",
             "> F0 00 01 5B 05 33 00 00 00 F7", "< F0 00 01 5B 05 34 " + settings});
        add("settings request", Bootloader, &QtRtMIDI::sendGlobalsReq,
            {"> F0 00 01 5B 05 33 00 00 00 F7"});
        add("script request", Bootloader, &QtRtMIDI::sendScriptReq,
            {"> F0 00 01 5B 05 33 04 00 00 F7"});
        const QString script =
            "04 00 00 0C 00 68 39 3B 59 4F 19 23 20 43 24 20 62 62 60 02 2C 0A F7";
        const QString received =
            "53 63 72 69 70 74 20 72 65 63 65 69 76 65 64 3A 20 31 30 20 62 79 74 "
            "65 73 0A F7";
        add("script", Firmware, keepScript,
            {"> F0 00 01 5B 05 31 " + script, "< F0 00 01 5B 05 32 00 00 00 00 F7",
             "< F0 00 01 5B 05 1F 00 " + received,
             "< F0 00 01 5B 05 1F 00 52 75 6E 6E 69 6E 67 2E 2E 2E 0A F7",
             "> F0 00 01 5B 05 33 04 00 00 F7", "< F0 00 01 5B 05 34 " + script});
        add("flagged write, empty, of a type that no box knows", Firmware,
            [](QtRtMIDI &link) { return link.sendSettingsBlock(0xFF, nullptr, 0, true); },
            {"> F0 00 01 5B 05 39 7F 00 00 00 00 00 00 00 00 00 F7"});
        add("data header", Firmware, sendWithHeader, {"> F0 00 01 5B 05 0B 07 08"});
        add("program change", Firmware, [](QtRtMIDI &link) { return link.pgmChange(0xFF, 0xFF); },
            {"> CF 7F"});

        const QByteArray firmware = "80 01 FF 7F 00 C3 12 99 34 E6";
        const QString encoded = "0A 00 00 00 10 00 00 00 28 6B 22 46 00 01 7F 7F 00 43 12 52 19 34 "
                                "66 00 00 00 00 50 F7";
        add("update request", Firmware, &QtRtMIDI::sendUpdateReq, {"> F0 00 01 5B 05 20 00 F7"});
        add("full block", Bootloader, sendFirmware(0, QByteArray("FF").repeated(512)),
            {"> " + FullBlock, "< F0 00 01 5B 05 20 02 7F 00 04 00 00 F7"});
        add("next block", Bootloader, sendFirmware(512, firmware),
            {"> F0 00 01 5B 05 20 01 00 04 00 00 " + encoded,
             "< F0 00 01 5B 05 20 02 7F 0A 04 00 00 F7"});
        add("block from elsewhere", Bootloader, sendFirmware(0x2345678, firmware),
            {"> F0 00 01 5B 05 20 01 78 2C 51 11 " + encoded,
             "firmware asks position=512 reason=position between blocks",
             "< F0 00 01 5B 05 20 02 00 00 04 00 00 F7"});
        add("done", Bootloader, sendDone(512),
            {"> F0 00 01 5B 05 20 03 00 04 00 00 11 22 F7", "firmware done param1=17 param2=34",
             "firmware complete length=512"});
        add("done too early", Bootloader, sendDone(0x2345678),
            {"> F0 00 01 5B 05 20 03 78 2C 51 11 11 22 F7",
             "firmware refused: received 512 of 36984440 bytes"});
        add("cancel", Bootloader, &QtRtMIDI::sendUpdateCancel,
            {"> F0 00 01 5B 05 20 04 F7", "firmware cancelled"});
    }

    void exchange()
    {
        const auto [runs, act, expected] = row<Runs, Act, QStringList>();
        simulator::BoxProfile profile;
        profile.sysexId = Id;
        profile.name = "Ab";
        profile.version = {2, 3, 4};
        profile.inBootloader = runs == Runs::Bootloader;
        simulator::SimulatedBox box(profile);
        // Only a bootloader takes it.
        QCOMPARE(box.receive(fromHex(FullBlock)).replies.empty(), runs == Runs::Firmware);

        FakeRtMidi &world = FakeRtMidi::world();
        world.reset();
        world.inputs = world.outputs = {"Box"};
        QStringList lines;
        world.onSend = [&](const FakeRtMidi::Sent &sent) {
            lines << "> " + hex(sent.bytes);
            const simulator::Reaction reaction = box.receive(sent.bytes);
            for (const std::string &event : reaction.events)
                if (event.starts_with("firmware"))
                    lines << QString::fromStdString(event).section(" sha1", 0, 0);
            for (const ByteMessage &reply : reaction.replies) {
                lines << "< " + hex(reply);
                world.receive(reply);
            }
        };
        QtRtMIDI link;
        link.setSysexID(Id);
        link.scanPorts(nullptr, nullptr);
        QVERIFY(link.selectPort(0));
        QVERIFY(act(link));
        QCOMPARE(lines.join('\n'), expected.join('\n'));
        world.sendFails = true;
        QVERIFY(!act(link));
    }
};

QTEST_GUILESS_MAIN(TestGoldenBytes)
#include "tst_goldenbytes.moc"
