#pragma once

#include "midi/protocol/Crc32.h"
#include "midi/protocol/DataBlock.h"
#include "midi/protocol/SevenBit.h"

#include <algorithm>

namespace fuzz
{

/// Gives a frame the length and the checksum that go with its payload, which the fuzzer would
/// never guess. What is too short for a frame, or too long, stays as it is.
inline void repairDataBlock(midi::ByteMessage &frame)
{
    if (frame.size() <= midi::FrameOverhead || frame.size() > midi::MaxFrameLength)
        return;
    const auto payload =
        midi::ByteView(frame).subspan(midi::BlockPayloadOffset, frame.size() - midi::FrameOverhead);
    const std::uint16_t length = midi::convert16To14Bit(static_cast<std::uint16_t>(payload.size()));
    frame[midi::BlockLengthOffset] = static_cast<std::uint8_t>(length & 0xFFU);
    frame[midi::BlockLengthOffset + 1] = static_cast<std::uint8_t>(length >> 8U);
    const std::uint32_t crc = midi::calcCrc(payload);
    const std::array<std::uint8_t, 4> bytes{
        static_cast<std::uint8_t>(crc), static_cast<std::uint8_t>(crc >> 8U),
        static_cast<std::uint8_t>(crc >> 16U), static_cast<std::uint8_t>(crc >> 24U)};
    midi::encodeMCoded7(bytes, std::span(frame).subspan(midi::BlockCrcOffset, 5));
}

} // namespace fuzz
