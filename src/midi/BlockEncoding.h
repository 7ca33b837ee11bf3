#pragma once

#include "midi/ByteMessage.h"

#include <cstddef>

/// The 7-bit encoding of firmware data: groups of always eight bytes, seven data bytes with their
/// top bits cleared and then one byte that holds those bits, the first byte's in bit 6.
namespace midi
{

/// Encodes `input`. The result holds floor(length / 7) + 1 groups: an input whose length is a
/// multiple of seven ends in a group of zeros, because boxes in the field expect it.
[[nodiscard]] ByteMessage encodeBlock(ByteView input);

struct BlockResult
{
    std::size_t written = 0; ///< bytes written to the output
    bool complete = false;   ///< false as soon as the output is full, even exactly full
};

/// Decodes `input` into `output`. Every group yields seven bytes, padding included; a last group
/// that is cut short yields what its data bytes give, with the top bits that did not arrive as 0.
BlockResult decodeBlock(ByteView input, std::span<std::uint8_t> output);

} // namespace midi
