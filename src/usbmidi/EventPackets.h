#pragma once

#include "midi/protocol/Bytes.h"

#include <array>
#include <cstddef>
#include <cstdint>

/// The packets in which USB-MIDI carries messages: the cable's number and a code in the first byte,
/// then one to three bytes of a message and zeros. Pure functions.
namespace usbmidi
{

inline constexpr std::size_t PacketLength = 4;
inline constexpr std::size_t MaxCables = 16;

/// The codes with a meaning of their own; 8 to 14 are the upper half of a channel message's status.
enum class PacketCode : std::uint8_t {
    TwoBytes = 0x2,
    ThreeBytes = 0x3,
    SysexGoesOn = 0x4,
    OneByteOrSysexEnd = 0x5, ///< 6 and 7 end a sysex with two and three bytes
    SingleByte = 0xF,
};

/// How many bytes of a message a packet with this code holds.
inline constexpr std::array<std::uint8_t, 16> PacketContents{0, 0, 2, 3, 3, 1, 2, 3,
                                                             3, 3, 3, 3, 2, 2, 3, 1};

/// The length of a message with this status byte; 0 for a sysex and for what is no status.
[[nodiscard]] std::size_t shortMessageLength(std::uint8_t status);

/// `bytes`, any number of messages, as packets for `cable` (0 to 15). What is no whole message
/// travels as single bytes: nothing is added, nothing is lost.
[[nodiscard]] midi::ByteMessage toPackets(unsigned cable, midi::ByteView bytes);

} // namespace usbmidi
