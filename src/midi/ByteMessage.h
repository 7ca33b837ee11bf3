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

} // namespace midi
