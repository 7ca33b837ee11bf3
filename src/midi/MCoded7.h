#pragma once

#include "midi/ByteMessage.h"

#include <cstddef>

/// The 7-bit encoding of data blocks: groups of up to seven bytes behind a header byte that holds
/// their top bits, the first byte's in bit 6.
namespace midi
{

struct MCoded7Result
{
    std::size_t written = 0; ///< bytes written to the output, headers included
    bool complete = false;   ///< false when the output was full before the input ended
};

/// Length of `rawLength` bytes once encoded.
[[nodiscard]] constexpr std::size_t mcoded7Length(std::size_t rawLength)
{
    return rawLength + (rawLength + 6) / 7;
}

/// Encodes `input` into `output`, which is cleared first and must not overlap the input.
MCoded7Result encodeMCoded7(ByteView input, std::span<std::uint8_t> output);

/// Decodes `buffer` in place and returns the number of decoded bytes, which stand at its start.
std::size_t decodeMCoded7(std::span<std::uint8_t> buffer);

} // namespace midi
