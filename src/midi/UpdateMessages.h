#pragma once

#include "midi/ByteMessage.h"

#include <cstddef>

/// The messages of a firmware update, all under one command and told apart by a sub-command.
namespace midi
{

inline constexpr std::size_t UpdateSubCommandOffset = 6;
inline constexpr std::size_t UpdateStatusOffset = 7;
inline constexpr std::size_t UpdatePositionOffset = 7;
inline constexpr std::size_t UpdateLengthOffset = 11;
inline constexpr std::size_t UpdateEncodedLengthOffset = 15;
inline constexpr std::size_t UpdateCrcOffset = 19;
inline constexpr std::size_t UpdateDataOffset = 23;
inline constexpr std::size_t UpdateResponsePositionOffset = 8;
inline constexpr std::size_t UpdateResponseLength = 13;

/// Payload bytes in one update data message; the last one may hold fewer.
inline constexpr std::uint32_t UpdateBlockSize = 512;
/// The status of a response that accepts the last block; any other one asks for a position.
inline constexpr std::uint8_t UpdateAccepted = 0x7F;
/// The block CRC is made 7-bit-safe by clearing the top bit of each of its bytes.
inline constexpr std::uint32_t UpdateCrcMask = 0x7F7F7F7F;

enum class UpdateCommand : std::uint8_t {
    Request = 0x00,
    Data = 0x01,
    Response = 0x02,
    Done = 0x03,
    Cancel = 0x04,
};

/// Asks a running box to restart into its bootloader.
[[nodiscard]] ByteMessage updateRequest(std::uint8_t sysexId);
[[nodiscard]] ByteMessage updateCancel(std::uint8_t sysexId);
/// One payload block of 1 to 512 bytes, as stored in the image; `position` is its offset there.
[[nodiscard]] ByteMessage updateData(std::uint8_t sysexId, std::uint32_t position, ByteView block);
/// Ends a transfer of `length` bytes; the two parameters come from the image, each below 0x80.
[[nodiscard]] ByteMessage updateDone(std::uint8_t sysexId, std::uint32_t length,
                                     std::uint8_t param1, std::uint8_t param2);
/// The box's answer to a block: UpdateAccepted, or another status with the position it asks for.
[[nodiscard]] ByteMessage updateResponse(std::uint8_t sysexId, std::uint8_t status,
                                         std::uint32_t position);

[[nodiscard]] bool isUpdateResponse(ByteView message, std::uint8_t sysexId);

/// Four 7-bit bytes of `message` from `offset` on; the message must be long enough.
[[nodiscard]] std::uint32_t read28Bit(ByteView message, std::size_t offset);

} // namespace midi
