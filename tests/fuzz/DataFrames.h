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
    midi::ByteMessage crc;
    midi::appendNumber(crc, midi::calcCrc(payload));
    midi::encodeMCoded7(crc, std::span(frame).subspan(midi::BlockCrcOffset, 5));
}

} // namespace fuzz
