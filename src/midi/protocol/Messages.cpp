#include "midi/protocol/DataBlock.h"

#include <algorithm>

namespace midi
{
namespace
{

constexpr std::size_t IdentityReplyLength = 10;
constexpr std::size_t ProductOffset = 5; // of an identity reply, and what follows
constexpr std::size_t VersionOffset = 6;
constexpr std::size_t PointVersionOffset = 7;
constexpr std::size_t ReplySysexIdOffset = 8;

constexpr std::size_t TextOffset = 7; // in name replies and text messages
constexpr std::size_t NameReplyMinimum = 6;
constexpr std::size_t TextMessageMinimum = 8;
constexpr std::size_t AcknowledgementLength = 11;

using Bytes = std::initializer_list<std::uint8_t>;

ByteMessage broadcast(Bytes body)
{
    ByteMessage bytes(SysexPrefix.begin(), SysexPrefix.end());
    append(bytes, body);
    return bytes;
}

/// A whole message whose body is `head`, then `text`.
ByteMessage whole(std::uint8_t sysexId, Command command, Bytes head, ByteView text = {})
{
    ByteMessage bytes = addressed(sysexId, command, head);
    append(bytes, text);
    bytes.push_back(SysexEnd);
    return bytes;
}

} // namespace

ByteMessage identityRequest()
{
    return broadcast({toByte(Command::IdentityRequest), SysexEnd});
}

ByteMessage identityReply(const Identity &identity)
{
    const FirmwareVersion &version = identity.version;
    const unsigned packed = (version.major & 0x07U) << 4U | (version.minor & 0x0FU);
    return broadcast({toByte(Command::IdentityReply), identity.productId, toByte(packed),
                      version.point, identity.sysexId, SysexEnd});
}

ByteMessage nameRequest(std::uint8_t sysexId)
{
    return whole(sysexId, Command::NameRequest, {0});
}

ByteMessage nameReply(std::uint8_t sysexId, ByteView name)
{
    return whole(sysexId, Command::NameReply, {0}, name);
}

ByteMessage blockReadRequest(std::uint8_t sysexId, BlockType type)
{
    return whole(sysexId, Command::BlockReadRequest, {toByte(type), 0, 0});
}

ByteMessage acknowledgement(std::uint8_t sysexId)
{
    return whole(sysexId, Command::Acknowledgement, {0, 0, 0, 0});
}

ByteMessage textMessage(std::uint8_t sysexId, ByteView text)
{
    return whole(sysexId, Command::Text, {0}, text);
}

ByteMessage programChange(std::uint8_t channel, std::uint8_t program)
{
    return {toByte(0xC0U | (channel & 0x0FU)), toByte(program & 0x7FU)};
}

ByteMessage addressed(std::uint8_t sysexId, Command command, ByteView body)
{
    ByteMessage bytes = broadcast({sysexId, toByte(command)});
    append(bytes, body);
    return bytes;
}

Arrival classify(ByteView message)
{
    if (!isSysex(message) && !isProgramChange(message))
        return Arrival::Foreign;
    return isTextMessage(message) ? Arrival::Text : Arrival::Other;
}

bool isSysex(ByteView message)
{
    return message.size() > SysexPrefix.size() &&
           std::ranges::equal(message.first(SysexPrefix.size()), SysexPrefix);
}

bool isAddressed(ByteView message, std::uint8_t sysexId, Command command)
{
    return isSysex(message) && message.size() > CommandOffset &&
           message[SysexIdOffset] == sysexId && message[CommandOffset] == toByte(command);
}

bool isIdentityReply(ByteView message)
{
    return message.size() == IdentityReplyLength && isSysex(message) &&
           message[SysexIdOffset] == toByte(Command::IdentityReply);
}

bool isNameReply(ByteView message)
{
    return message.size() >= NameReplyMinimum && isSysex(message) &&
           message[CommandOffset] == toByte(Command::NameReply);
}

bool isDataBlock(ByteView message, std::uint8_t sysexId, BlockType type)
{
    return message.size() > FrameOverhead && isAddressed(message, sysexId, Command::DataBlock) &&
           message[BlockTypeOffset] == toByte(type);
}

bool isEmptyDataBlock(ByteView message, std::uint8_t sysexId)
{
    return message.size() == FrameOverhead && isAddressed(message, sysexId, Command::DataBlock);
}

bool isAcknowledgement(ByteView message, std::uint8_t sysexId)
{
    return message.size() == AcknowledgementLength &&
           isAddressed(message, sysexId, Command::Acknowledgement);
}

bool isTextMessage(ByteView message)
{
    return message.size() >= TextMessageMinimum && isSysex(message) &&
           message[CommandOffset] == toByte(Command::Text);
}

bool isProgramChange(ByteView message)
{
    return message.size() == 2 && (message[0] & 0xF0U) == 0xC0U;
}

Identity readIdentity(ByteView reply)
{
    const std::uint8_t packed = reply[VersionOffset];
    return {reply[ProductOffset],
            reply[ReplySysexIdOffset],
            {toByte((packed >> 4U) & 0x07U), toByte(packed & 0x0FU), reply[PointVersionOffset]}};
}

ByteView readText(ByteView message)
{
    const ByteView rest = message.subspan(std::min(TextOffset, message.size()));
    const auto end = std::ranges::find(rest, SysexEnd);
    return rest.first(static_cast<std::size_t>(end - rest.begin()));
}

} // namespace midi
