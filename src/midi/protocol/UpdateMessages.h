#pragma once

#include "midi/protocol/Bytes.h"

#include <optional>
#include <string>
#include <variant>

/// The messages of a firmware update, all under one command and told apart by a sub-command.
namespace midi
{

inline constexpr std::uint32_t UpdateBlockSize = 512; ///< payload bytes; the last block may be less
inline constexpr std::uint8_t UpdateAccepted = 0x7F;  ///< any other status asks for a position

enum class UpdateCommand : std::uint8_t {
    Request = 0x00,
    Data = 0x01,
    Response = 0x02,
    Done = 0x03,
    Cancel = 0x04,
};

/// What a data message holds.
struct UpdateBlock
{
    std::uint32_t position = 0; ///< in the payload
    ByteMessage bytes;          ///< 1 to 512, as stored in the image
};

/// The box's answer to a block.
struct UpdateResponse
{
    std::uint8_t status = 0;
    std::uint32_t position = 0; ///< the next one, or the one asked for
};

/// What ends a transfer.
struct UpdateDone
{
    std::uint32_t length = 0; ///< of the payload, in bytes
    std::uint8_t param1 = 0;  ///< both from the image, below 0x80
    std::uint8_t param2 = 0;
};

/// Asks a running box to restart into its bootloader.
[[nodiscard]] ByteMessage updateRequest(std::uint8_t sysexId);
[[nodiscard]] ByteMessage updateCancel(std::uint8_t sysexId);
[[nodiscard]] ByteMessage updateData(std::uint8_t sysexId, std::uint32_t position, ByteView block);
[[nodiscard]] ByteMessage updateDone(std::uint8_t sysexId, const UpdateDone &done);
[[nodiscard]] ByteMessage updateResponse(std::uint8_t sysexId, const UpdateResponse &response);

/// Nothing for a message that is no update message for this box.
[[nodiscard]] std::optional<UpdateCommand> updateCommand(ByteView message, std::uint8_t sysexId);

/// Reads a data message. One that is not right in every field gives the reason instead.
[[nodiscard]] std::variant<UpdateBlock, std::string> readUpdateData(ByteView message);
/// Nothing for a message of the wrong length.
[[nodiscard]] std::optional<UpdateResponse> readUpdateResponse(ByteView message);
[[nodiscard]] std::optional<UpdateDone> readUpdateDone(ByteView message);

} // namespace midi
