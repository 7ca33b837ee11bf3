#pragma once

#include "midi/protocol/Messages.h"

#include <optional>

/// Data blocks carry the settings record and the script, MCoded7-encoded and guarded by a CRC.
namespace midi
{

inline constexpr std::size_t BlockTypeOffset = 6;
inline constexpr std::size_t BlockLengthOffset = 9; ///< of the encoded payload, two 7-bit bytes
inline constexpr std::size_t BlockCrcOffset = 11;
inline constexpr std::size_t BlockPayloadOffset = 16;
inline constexpr std::size_t FrameOverhead = BlockPayloadOffset + 1; ///< beside the payload
inline constexpr std::size_t MaxFrameLength = 8192;
inline constexpr std::size_t MaxRawPayload = 7153; ///< that fits in one frame, in raw bytes

/// Builds a frame. Nothing when the payload does not fit in one. A block type has seven bits.
[[nodiscard]] std::optional<ByteMessage> dataBlock(Command command, std::uint8_t sysexId,
                                                   std::uint8_t blockType, ByteView payload);

/// The payload of a data block. Nothing when `frame` is shorter or longer than any, its length
/// field reaches beyond its end, or the CRC is wrong. The header is not looked at.
[[nodiscard]] std::optional<ByteMessage> readDataBlock(ByteView frame);

} // namespace midi
