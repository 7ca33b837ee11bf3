#include "firmware/ImageCipher.h"
#include "midi/protocol/UpdateMessages.h"
#include "scripts/LibraryDocument.h"
#include "support/Messages.h"
#include "unit/firmware/ImageBuilder.h"

#include <cstdio>
#include <filesystem>
#include <fstream>

using midi::BlockType;
using midi::ByteMessage;
using midi::ByteView;
using testsupport::dataBlock;
using testsupport::fromHex;
using testsupport::toBytes;

// fuzz_seeds FOLDER: writes what the fuzz targets start from, a folder for each, in the form that
// the target's source describes. Made here, so that they change with what they are made of.

namespace
{

constexpr std::uint8_t Id = 5;

ByteMessage operator+(ByteMessage left, ByteView right)
{
    midi::append(left, right);
    return left;
}

/// As fuzz::Input takes one.
ByteMessage counted(ByteView message)
{
    return ByteMessage{static_cast<std::uint8_t>(message.size()),
                       static_cast<std::uint8_t>(message.size() >> 8U)} +
           message;
}

ByteMessage changed(ByteMessage message, std::size_t offset, std::uint8_t byte)
{
    message.at(offset) = byte;
    return message;
}

class Seeds
{
public:
    explicit Seeds(std::filesystem::path folder)
        : m_folder(std::move(folder))
    {}

    void add(const char *target, ByteView bytes)
    {
        const auto folder = m_folder / target;
        std::filesystem::create_directories(folder);
        std::ofstream file(folder / std::to_string(m_count++), std::ios::binary);
        file.write(reinterpret_cast<const char *>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
        m_written = m_written && file.flush().good();
    }

    [[nodiscard]] bool allWritten() const { return m_written; }

private:
    std::filesystem::path m_folder;
    int m_count = 0;
    bool m_written = true;
};

ByteMessage ramp(std::size_t length)
{
    ByteMessage bytes(length);
    for (std::size_t i = 0; i < length; ++i)
        bytes[i] = static_cast<std::uint8_t>(i * 37 + 128);
    return bytes;
}

void addEncodings(Seeds &seeds)
{
    for (const std::size_t length : {0U, 1U, 6U, 7U, 8U, 13U, 14U, 16U, 64U, 512U}) {
        const auto capacity = static_cast<std::uint8_t>(length);
        seeds.add("encodings", ByteMessage{capacity, 2, 0, 0} + ramp(length));
        seeds.add("encodings", ByteMessage{capacity, 0, 0xFF, 0xFF} + ramp(length));
    }
}

void addFrames(Seeds &seeds)
{
    const std::vector<ByteMessage> messages{
        {},
        midi::programChange(15, 5),
        midi::identityRequest(),
        midi::identityReply({26, Id, {1, 2, 3}}),
        midi::identityReply({26, Id, midi::BootloaderVersion}),
        midi::nameReply(Id, toBytes("Box")),
        midi::textMessage(Id, toBytes("Hi")),
        midi::updateRequest(Id),
        midi::updateResponse(Id, {midi::UpdateAccepted, 512}),
        midi::updateData(Id, 512, ramp(20)),
        fromHex("F0 00 01 5B 05 32 00 00 00 00 F7"),
        dataBlock(Id, BlockType::Script, {}),
        dataBlock(Id, BlockType::Script, toBytes("print(1)")),
        dataBlock(Id, BlockType::Globals, ramp(256)),
        changed(dataBlock(Id, BlockType::Script, ramp(20)), midi::BlockLengthOffset + 1, 0x7F),
    };
    for (const ByteMessage &message : messages)
        seeds.add("frames", ByteMessage{Id, 0} + message);
    seeds.add("frames", ByteMessage{Id, 1} + dataBlock(Id, BlockType::Script, ramp(20)));
}

void addScans(Seeds &seeds)
{
    const auto block = [](const std::vector<ByteMessage> &messages) {
        ByteMessage bytes{static_cast<std::uint8_t>(messages.size())};
        for (const ByteMessage &message : messages)
            bytes = bytes + counted(message);
        return bytes;
    };
    const ByteMessage ostrel = midi::identityReply({26, Id, {1, 2, 3}});
    const ByteMessage other = midi::identityReply({12, 1, {7, 15, 127}});
    const ByteMessage name = midi::nameReply(Id, toBytes("A name that is longer than it may be"));
    const ByteMessage script = dataBlock(Id, BlockType::Script, toBytes("\xC3\xA4 = 1"));
    const ByteMessage globals = dataBlock(Id, BlockType::Globals, ramp(256));
    const ByteMessage one = block({ostrel}) + block({name});
    seeds.add("scan", ByteMessage{0});
    seeds.add("scan", ByteMessage{1} + one + one + one);
    seeds.add("scan", ByteMessage{1} + block({ostrel}) + block({name, script, globals}));
    seeds.add("scan",
              ByteMessage{1} + block({ostrel}) + block({changed(script, 12, 0x55), script}));
    seeds.add("scan", ByteMessage{0x31} + one + block({other}) + block({}) + one);
    seeds.add("scan", ByteMessage{2} + one + block({other, ostrel}) + block({name}));
    seeds.add("scan", ByteMessage{0x22} + block({other}) + block({}) + one + one + one);
    seeds.add("scan", ByteMessage{1} + block({midi::identityReply({200, 200, {}}), ostrel}) +
                          block({name, midi::nameReply(Id, {})}));
    seeds.add("scan", ByteMessage{1} + block(std::vector<ByteMessage>(24, ostrel)) + block({name}));
}

void addImages(Seeds &seeds)
{
    constexpr std::uint8_t RepairAll = 15;
    for (const std::size_t length : {0U, 4U, 20U, 512U, 516U, 600U}) {
        const QByteArray file = image::make(image::payload(length));
        seeds.add("image", ByteMessage{0} + toBytes(file));
        seeds.add("image", ByteMessage{RepairAll} + toBytes(file));
    }
    const ByteMessage file = toBytes(image::make(image::payload(20)));
    for (const std::size_t offset : {0U, 4U, 8U, 11U, 12U, 16U})
        seeds.add("image", ByteMessage{0} + changed(file, offset, 0x7F));
    seeds.add("image", ByteMessage{0} + ByteView(file).first(15));
}

void addLibraries(Seeds &seeds)
{
    for (const char *document : {
             "{}",
             "[]",
             R"({"scripts":[]})",
             R"({"scripts":{"name":"a"}})",
             R"({"scripts":[{"name":7},1,null,[],{"text":"t"}]})",
             R"({"scripts":[{"x":{"name":"no"},"name":"a","text":"b\r\n\u0000\ud83d\ude00"}]})",
             R"({"scripts":[{}],"scripts":[{"name":"a","name":"b","text":"t","text":1}]})",
             "\xEF\xBB\xBF{\"scripts\":[{\"name\":\"\xEF\xBB\xBF\"}]}",
             R"({"scripts":[{"name":"a")",
         })
        seeds.add("library", toBytes(document));
    seeds.add("library", toBytes(scripts::writeLibrary({{"a", "x = 1\n\t\"\\"}, {}})));
    // A name and a text: a byte order mark, a half of a pair, a NUL.
    seeds.add("library", fromHex("02 FF FE 41 00 03 00 D8 00 00 00 DC"));
}

void addPorts(Seeds &seeds)
{
    for (const char *text : {
             "0MIDIIN4 (Ostrel)\niMIDIIN4 (Ostrel)\noMIDIOUT6 (Ostrel)",
             "1MIDIIN4 (Ostrel)\niOstrel:Ostrel MIDI 1 20:0\niOstrel:Ostrel MIDI 4 20:3",
             "1MIDIOUT6 (Ostrel)\niOstrel:Ostrel MIDI 6 20:5\noOstrel:Ostrel MIDI 6 20:6",
             "1MIDIIN4294967297 (Ostrel)\niE:KQEditor MIDI 129:0\noE:KQEditor MIDI 129:0",
             "2MIDIIN4 (Ostrel)\nia:b\niBox:MIDIIN4 (Ostrel)\noOther:X\noc:b",
             "2p\niA:p\niB:p\noB:p\noC:p",
             "3MIDIIN4 (Ostrel)\niKeys 0\niMIDIIN4 (Ostrel) 1\noKeys 1\noSynth 0",
             "3A\niA 0\niA 1\noSynth 0\noA 1\noA 2\niKQEditor MIDI 2",
             "0A\niA\niA\niA\noA\noB\noA",
         })
        seeds.add("ports", toBytes(text));
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        static_cast<void>(std::fputs("usage: fuzz_seeds FOLDER\n", stderr));
        return 2;
    }
    Seeds seeds(argv[1]);
    addEncodings(seeds);
    addFrames(seeds);
    addScans(seeds);
    addImages(seeds);
    addLibraries(seeds);
    addPorts(seeds);
    return seeds.allWritten() ? 0 : 1;
}
