#pragma once

#include <cstddef>
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
    for (const std::uint8_t byte : bytes)
        message.push_back(byte);
}

/// Appends the lowest `count` bytes of `value`, the least significant first.
inline void appendNumber(ByteMessage &message, std::uint32_t value, std::size_t count = 4)
{
    for (std::size_t i = 0; i < count; ++i)
        message.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}

/// The number that `bytes`, at most four, stand for, the least significant first.
[[nodiscard]] inline std::uint32_t readNumber(ByteView bytes)
{
    std::uint32_t value = 0;
    for (std::size_t i = bytes.size(); i-- > 0;)
        value = value << 8U | bytes[i];
    return value;
}

} // namespace midi
