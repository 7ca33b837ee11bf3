#pragma once

#include "midi/DataBlockFrame.h"

#include <algorithm>
#include <memory>

/// What the frame of a data block or block write carries; nothing where it is damaged.
inline std::optional<midi::ByteMessage> blockPayload(midi::ByteView frame)
{
    if (frame.size() > midi::MaxFrameLength)
        return std::nullopt;
    // On the heap, where a sanitizer sees a step over the end.
    const auto buffer = std::make_unique<std::array<std::uint8_t, midi::MaxFrameLength>>();
    std::ranges::copy(frame, buffer->begin());
    const auto length = midi::decodeDataBlock(*buffer);
    if (!length)
        return std::nullopt;
    const auto payload = midi::ByteView(*buffer).subspan(midi::BlockPayloadOffset, *length);
    return midi::ByteMessage(payload.begin(), payload.end());
}
