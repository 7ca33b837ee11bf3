#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace midi
{

/// One complete MIDI message; a system-exclusive message runs from its 0xF0 to its 0xF7 inclusive.
using ByteMessage = std::vector<std::uint8_t>;

/// Bytes that somebody else owns.
using ByteView = std::span<const std::uint8_t>;

/// Appends `bytes`, which must not be part of `message`. One by one, because GCC 12 mistakes the
/// range insert of a vector for an overrun (a false -Warray-bounds).
inline void append(ByteMessage &message, ByteView bytes)
{
    message.reserve(message.size() + bytes.size());
    for (const std::uint8_t byte : bytes)
        message.push_back(byte);
}

} // namespace midi
