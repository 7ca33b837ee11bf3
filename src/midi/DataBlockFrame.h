#pragma once

#include "midi/SysexFrame.h"

#include <optional>

/// Data blocks carry the settings record and the script, MCoded7-encoded and guarded by a CRC.
namespace midi
{

inline constexpr std::size_t BlockTypeOffset = 6;
inline constexpr std::size_t BlockLengthOffset = 9;
inline constexpr std::size_t BlockCrcOffset = 11;
inline constexpr std::size_t BlockPayloadOffset = 16;

/// Of a whole frame, and of the buffer that holds one, in bytes.
inline constexpr std::size_t MaxFrameLength = 8192;
/// What a frame holds beside its encoded payload.
inline constexpr std::size_t FrameOverhead = BlockPayloadOffset + 1;
inline constexpr std::size_t MaxEncodedPayload = MaxFrameLength - FrameOverhead;
/// The largest payload that fits in one frame, in raw bytes.
inline constexpr std::size_t MaxRawPayload = 7153;

/// Builds a data block frame inside `buffer`, which is cleared first. Returns the frame's length,
/// or nothing when the payload does not fit (more than 7153 bytes); the buffer then holds no frame.
[[nodiscard]] std::optional<std::size_t>
buildDataBlock(std::span<std::uint8_t, MaxFrameLength> buffer, Command command,
               std::uint8_t sysexId, std::uint8_t blockType, ByteView payload);

/// Checks the frame that stands at the start of `buffer` (zeros behind it) and decodes its payload
/// in place, at BlockPayloadOffset. Returns the payload's length in raw bytes, or nothing when the
/// CRC is wrong or the length field reaches beyond the buffer. The header is not looked at.
[[nodiscard]] std::optional<std::size_t>
decodeDataBlock(std::span<std::uint8_t, MaxFrameLength> buffer);

/// The payload of the data block `message`, or nothing as above, and nothing for a message that is
/// shorter or longer than any frame. The header is not looked at.
[[nodiscard]] std::optional<ByteMessage> readDataBlock(ByteView message);

} // namespace midi
