#pragma once

#include "midi/protocol/SevenBit.h"

#include <algorithm>

/// What must hold for the 7-bit encodings of any bytes, and any room for them. `require` is called
/// with each condition and a text that says what it is about.
namespace encodingchecks
{

using Require = void (*)(bool holds, const char *what);

inline constexpr std::size_t Group = 7;
inline constexpr std::uint8_t Untouched = 0xEE;

inline bool isSevenBit(midi::ByteView bytes)
{
    return std::ranges::all_of(bytes, [](std::uint8_t byte) { return byte < 0x80; });
}

inline bool startsWith(midi::ByteView bytes, midi::ByteView start)
{
    return start.size() <= bytes.size() && std::ranges::equal(bytes.first(start.size()), start);
}

inline void checkMCoded7(const midi::ByteMessage &bytes, std::size_t capacity, Require require)
{
    const std::size_t needed = midi::mcoded7Length(bytes.size());
    midi::ByteMessage encoded(capacity + 1, Untouched);
    const auto [written, complete] = midi::encodeMCoded7(bytes, std::span(encoded).first(capacity));
    require(written == std::min(capacity, needed), "MCoded7: written");
    require(complete == (needed <= capacity), "MCoded7: complete");
    require(encoded.back() == Untouched, "MCoded7: no step over the end");
    encoded.resize(written);
    encoded.shrink_to_fit();
    require(isSevenBit(encoded), "MCoded7: seven bits");
    encoded.resize(midi::decodeMCoded7(encoded));
    require(startsWith(bytes, encoded), "MCoded7: what is decoded was encoded");
    require(!complete || encoded.size() == bytes.size(), "MCoded7: all of it");

    midi::ByteMessage decoded = bytes;
    const std::size_t groups = (bytes.size() + Group) / (Group + 1);
    require(midi::decodeMCoded7(decoded) == bytes.size() - groups, "MCoded7: decoded length");
}

inline void checkBlock(const midi::ByteMessage &bytes, std::size_t capacity, Require require)
{
    const midi::ByteMessage encoded = midi::encodeBlock(bytes);
    require(encoded.size() == (bytes.size() / Group + 1) * (Group + 1), "block: length");
    require(isSevenBit(encoded), "block: seven bits");
    midi::ByteMessage output(encoded.size(), Untouched);
    const auto all = midi::decodeBlock(encoded, encoded.size(), output);
    require(all.complete && all.written == encoded.size() / (Group + 1) * Group, "block: all");
    output.resize(all.written);
    require(startsWith(output, bytes), "block: there and back");
    require(std::ranges::all_of(midi::ByteView(output).subspan(bytes.size()),
                                [](std::uint8_t byte) { return byte == 0; }),
            "block: padded with zeros");

    const std::size_t lastGroup = std::min(Group, bytes.size() % (Group + 1));
    const std::size_t available = bytes.size() / (Group + 1) * Group + lastGroup;
    midi::ByteMessage decoded(capacity + 1, Untouched);
    const auto [written, complete] =
        midi::decodeBlock(bytes, bytes.size(), std::span(decoded).first(capacity));
    require(written == std::min(capacity, available), "block: written");
    // Exactly full counts as too small.
    require(complete == (available < capacity || bytes.empty()), "block: complete");
    require(decoded.back() == Untouched, "block: no step over the end");
}

inline void checkSevenBit(std::uint32_t value, Require require)
{
    const std::uint32_t packed = midi::convert32To28Bit(value);
    require((packed & 0x80808080U) == 0, "28 bits: seven bits a byte");
    require(midi::convert28To32Bit(packed) == (value & 0x0FFFFFFFU), "28 bits: there and back");
    const auto half = static_cast<std::uint16_t>(value);
    const std::uint16_t packedHalf = midi::convert16To14Bit(half);
    require((packedHalf & 0x8080U) == 0, "14 bits: seven bits a byte");
    require(midi::convert14To16Bit(packedHalf) == (half & 0x3FFFU), "14 bits: there and back");
}

} // namespace encodingchecks
