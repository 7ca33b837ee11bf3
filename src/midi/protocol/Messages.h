#pragma once

#include "midi/protocol/Bytes.h"

#include <array>
#include <compare>

/// The frame that all messages to and from a box share, the short messages in it, and the tests
/// that tell messages apart. docs/protocol.md describes the whole protocol.
namespace midi
{

inline constexpr std::uint8_t SysexStart = 0xF0;
inline constexpr std::uint8_t SysexEnd = 0xF7;
inline constexpr std::array<std::uint8_t, 4> SysexPrefix{SysexStart, 0x00, 0x01, 0x5B};

inline constexpr std::size_t SysexIdOffset = 4; ///< the command stands here in identity messages
inline constexpr std::size_t CommandOffset = 5;
inline constexpr std::size_t NameRequestLength = 8;
inline constexpr std::size_t ReadRequestLength = 10;

enum class Command : std::uint8_t {
    IdentityRequest = 0x03,
    IdentityReply = 0x04,
    DataHeader = 0x0B,
    Text = 0x1F,
    FirmwareUpdate = 0x20,
    NameRequest = 0x21,
    NameReply = 0x22,
    BlockWrite = 0x31,
    Acknowledgement = 0x32,
    BlockReadRequest = 0x33,
    DataBlock = 0x34,
    BlockWriteFlagged = 0x39,
};

enum class BlockType : std::uint8_t { Globals = 0, Script = 4 };

/// The byte that stands for a command or a block type.
template <typename Enum>
[[nodiscard]] constexpr std::uint8_t toByte(Enum value)
{
    return static_cast<std::uint8_t>(value);
}

/// A version as an identity reply carries it.
struct FirmwareVersion
{
    std::uint8_t major = 0; ///< 0 to 7
    std::uint8_t minor = 0; ///< 0 to 15
    std::uint8_t point = 0; ///< 0 to 127

    // NOLINTNEXTLINE(modernize-use-nullptr): clang-tidy 14 sees a null pointer where none is.
    auto operator<=>(const FirmwareVersion &) const = default;
};

inline constexpr FirmwareVersion BootloaderVersion{7, 15, 127}; ///< reported by a bootloader

/// What an identity reply says.
struct Identity
{
    std::uint8_t productId = 0;
    std::uint8_t sysexId = 0;
    FirmwareVersion version;
};

// Building. Sysex IDs are 7-bit values and are written as given.

[[nodiscard]] ByteMessage identityRequest();
[[nodiscard]] ByteMessage identityReply(const Identity &identity);
[[nodiscard]] ByteMessage nameRequest(std::uint8_t sysexId);
[[nodiscard]] ByteMessage nameReply(std::uint8_t sysexId, ByteView name);
[[nodiscard]] ByteMessage blockReadRequest(std::uint8_t sysexId, BlockType type);
[[nodiscard]] ByteMessage acknowledgement(std::uint8_t sysexId);
[[nodiscard]] ByteMessage textMessage(std::uint8_t sysexId, ByteView text);
[[nodiscard]] ByteMessage programChange(std::uint8_t channel, std::uint8_t program);
/// How every message to or from one box begins: prefix, ID and command, then `body`. No end.
[[nodiscard]] ByteMessage addressed(std::uint8_t sysexId, Command command, ByteView body = {});

// Recognising. Any bytes may be given, none at all included.

/// What becomes of a message that nobody waits for.
enum class Arrival { Foreign, Text, Other };
[[nodiscard]] Arrival classify(ByteView message);

[[nodiscard]] bool isSysex(ByteView message);
/// A message for this box, or from it, under this command.
[[nodiscard]] bool isAddressed(ByteView message, std::uint8_t sysexId, Command command);
[[nodiscard]] bool isIdentityReply(ByteView message);
[[nodiscard]] bool isNameReply(ByteView message);
/// A data block of this type for this box, with at least one encoded byte.
[[nodiscard]] bool isDataBlock(ByteView message, std::uint8_t sysexId, BlockType type);
/// A data block for this box that can hold no payload.
[[nodiscard]] bool isEmptyDataBlock(ByteView message, std::uint8_t sysexId);
[[nodiscard]] bool isAcknowledgement(ByteView message, std::uint8_t sysexId);
[[nodiscard]] bool isTextMessage(ByteView message);
[[nodiscard]] bool isProgramChange(ByteView message);

// Reading.

/// Reads a message for which isIdentityReply() holds.
[[nodiscard]] Identity readIdentity(ByteView reply);
/// The bytes from offset 7 up to the first 0xF7 or the end: a name, or what a box prints.
[[nodiscard]] ByteView readText(ByteView message);

} // namespace midi
