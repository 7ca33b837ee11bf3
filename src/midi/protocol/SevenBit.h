#pragma once

#include "midi/protocol/Bytes.h"

/// What travels in a sysex has seven bits a byte. Here is how 8-bit data and larger numbers are put
/// into such bytes and taken out again.
namespace midi
{

// A number goes as a run of 7-bit bytes, the least significant first. These pack such a run into
// one integer of the same byte order and back. Bits that have no place are dropped.

[[nodiscard]] constexpr std::uint16_t convert16To14Bit(std::uint16_t value)
{
    return static_cast<std::uint16_t>((value & 0x7FU) + ((value & 0x3F80U) << 1U));
}
[[nodiscard]] constexpr std::uint16_t convert14To16Bit(std::uint16_t packed)
{
    return static_cast<std::uint16_t>((packed & 0x7FU) | ((packed >> 1U) & 0x3F80U));
}
[[nodiscard]] constexpr std::uint32_t convert32To28Bit(std::uint32_t value)
{
    return (value & 0x7FU) + ((value & 0x3F80U) << 1U) + ((value & 0x1FC000U) << 2U) +
           ((value & 0xFE00000U) << 3U);
}
[[nodiscard]] constexpr std::uint32_t convert28To32Bit(std::uint32_t packed)
{
    return (packed & 0x7FU) | ((packed >> 1U) & 0x3F80U) | ((packed >> 2U) & 0x1FC000U) |
           ((packed >> 3U) & 0xFE00000U);
}

/// What became of an encoding or a decoding.
struct EncodingResult
{
    std::size_t written = 0; ///< bytes written to the output
    bool complete = false;   ///< false when the output was full before the input ended
};

// MCoded7, for data blocks: groups of up to seven bytes behind a header byte that holds their top
// bits, the first byte's in bit 6.

[[nodiscard]] constexpr std::size_t mcoded7Length(std::size_t rawLength)
{
    return rawLength + (rawLength + 6) / 7;
}
/// Encodes `input` into `output`, which is cleared first and must not overlap the input.
EncodingResult encodeMCoded7(ByteView input, std::span<std::uint8_t> output);
/// Decodes `buffer` in place and returns the number of decoded bytes, which stand at its start.
std::size_t decodeMCoded7(std::span<std::uint8_t> buffer);

// The block form, for firmware: groups of always eight bytes, seven data bytes with their top bits
// cleared and then one byte that holds those bits, the first byte's in bit 6. A length that is a
// multiple of seven ends in a group of zeros, because boxes in the field expect it.

[[nodiscard]] constexpr std::size_t blockLength(std::size_t rawLength)
{
    return 8 * (rawLength / 7 + 1);
}
[[nodiscard]] ByteMessage encodeBlock(ByteView input);
/// Decodes the first `length` bytes of `input`, at most its size, into `output`. Each group yields
/// seven bytes, padding included. A last group of which `length` counts only a part yields that
/// part, its top bits taken from the group's eighth byte as far as `input` reaches, and 0 beyond.
/// An output that is exactly full counts as too small.
EncodingResult decodeBlock(ByteView input, std::size_t length, std::span<std::uint8_t> output);

} // namespace midi
