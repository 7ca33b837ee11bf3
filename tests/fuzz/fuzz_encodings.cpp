#include "fuzz/FuzzInput.h"
#include "fuzz/Require.h"
#include "midi/BlockEncoding.h"
#include "midi/MCoded7.h"
#include "midi/SevenBit.h"

using fuzz::require;
using midi::ByteMessage;
using midi::ByteView;

// A capacity and a number, then bytes: taken once for raw data and once for encoded data.

namespace
{

constexpr std::size_t Group = 7;
constexpr std::size_t MaxCapacity = 4096;

bool isSevenBit(ByteView bytes)
{
    return std::ranges::all_of(bytes, [](std::uint8_t byte) { return byte < 0x80; });
}

bool startsWith(ByteView bytes, ByteView start)
{
    return start.size() <= bytes.size() && std::ranges::equal(bytes.first(start.size()), start);
}

void checkMCoded7(const ByteMessage &bytes, std::size_t capacity)
{
    ByteMessage encoded(capacity, 0xEE);
    const auto [written, complete] = midi::encodeMCoded7(bytes, encoded);
    require(written == std::min(capacity, midi::mcoded7Length(bytes.size())), "MCoded7: written");
    require(complete == (midi::mcoded7Length(bytes.size()) <= capacity), "MCoded7: complete");
    require(isSevenBit(encoded), "MCoded7: seven bits");
    encoded.resize(written);
    encoded.shrink_to_fit();
    encoded.resize(midi::decodeMCoded7(encoded));
    require(startsWith(bytes, encoded), "MCoded7: what is decoded was encoded");
    require(!complete || encoded.size() == bytes.size(), "MCoded7: all of it");

    ByteMessage decoded = bytes;
    const std::size_t groups = (bytes.size() + Group) / (Group + 1);
    require(midi::decodeMCoded7(decoded) == bytes.size() - groups, "MCoded7: decoded length");
}

void checkBlock(const ByteMessage &bytes, std::size_t capacity)
{
    const ByteMessage encoded = midi::encodeBlock(bytes);
    require(encoded.size() == (bytes.size() / Group + 1) * (Group + 1), "block: length");
    require(isSevenBit(encoded), "block: seven bits");
    ByteMessage output(encoded.size());
    output.resize(midi::decodeBlock(encoded, output).written);
    require(startsWith(output, bytes), "block: there and back");
    require(std::ranges::all_of(ByteView(output).subspan(bytes.size()),
                                [](std::uint8_t byte) { return byte == 0; }),
            "block: padded with zeros");

    const std::size_t lastGroup = std::min(Group, bytes.size() % (Group + 1));
    const std::size_t available = bytes.size() / (Group + 1) * Group + lastGroup;
    ByteMessage decoded(capacity);
    const auto [written, complete] = midi::decodeBlock(bytes, decoded);
    require(written == std::min(capacity, available), "block: written");
    require(complete == (available < capacity || bytes.empty()), "block: complete");
}

void checkSevenBit(std::uint32_t value)
{
    const std::uint32_t packed = midi::convert32To28Bit(value);
    require((packed & 0x80808080U) == 0, "28 bits: seven bits a byte");
    require(midi::convert28To32Bit(packed) == (value & 0x0FFFFFFFU), "28 bits: there and back");
    const auto half = static_cast<std::uint16_t>(value);
    const std::uint16_t packedHalf = midi::convert16To14Bit(half);
    require((packedHalf & 0x8080U) == 0, "14 bits: seven bits a byte");
    require(midi::convert14To16Bit(packedHalf) == (half & 0x3FFFU), "14 bits: there and back");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    fuzz::Input input(data, size);
    const std::size_t capacity = input.takeNumber() % MaxCapacity;
    checkSevenBit(static_cast<std::uint32_t>(input.takeNumber()) << 16U |
                  static_cast<std::uint32_t>(capacity));
    const ByteMessage bytes = input.takeRest();
    checkMCoded7(bytes, capacity);
    checkBlock(bytes, capacity);
    return 0;
}
