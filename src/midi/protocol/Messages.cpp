#include "midi/protocol/Messages.h"

#include <algorithm>

namespace midi
{
namespace
{

constexpr std::size_t IdentityReplyLength = 10;
constexpr std::size_t IdentityProductOffset = 5;
constexpr std::size_t IdentityVersionOffset = 6;
constexpr std::size_t IdentityPointVersionOffset = 7;
constexpr std::size_t IdentitySysexIdOffset = 8;
constexpr std::size_t TextOffset = 7; ///< in name replies and text messages

constexpr std::size_t AcknowledgementLength = 11;
constexpr std::size_t NameReplyMinimum = 6;
constexpr std::size_t TextMessageMinimum = 8;
constexpr std::size_t EmptyDataBlockLength = 17;

ByteMessage broadcast(std::initializer_list<std::uint8_t> body)
{
    ByteMessage bytes(SysexPrefix.begin(), SysexPrefix.end());
    append(bytes, body);
    return bytes;
}

ByteMessage whole(std::uint8_t sysexId, Command command, std::initializer_list<std::uint8_t> body)
{
    ByteMessage bytes = addressed(sysexId, command, body);
    bytes.push_back(SysexEnd);
    return bytes;
}

ByteMessage textFrame(std::uint8_t sysexId, Command command, ByteView text)
{
    ByteMessage bytes = addressed(sysexId, command, std::array<std::uint8_t, 1>{});
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
    const auto packed =
        static_cast<std::uint8_t>(((version.major & 0x07U) << 4U) | (version.minor & 0x0FU));
    return broadcast({toByte(Command::IdentityReply), identity.productId, packed, version.point,
                      identity.sysexId, SysexEnd});
}

ByteMessage nameRequest(std::uint8_t sysexId)
{
    return whole(sysexId, Command::NameRequest, {0});
}

ByteMessage nameReply(std::uint8_t sysexId, ByteView name)
{
    return textFrame(sysexId, Command::NameReply, name);
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
    return textFrame(sysexId, Command::Text, text);
}

ByteMessage programChange(std::uint8_t channel, std::uint8_t program)
{
    return {static_cast<std::uint8_t>(0xC0U | (channel & 0x0FU)),
            static_cast<std::uint8_t>(program & 0x7FU)};
}

ByteMessage addressed(std::uint8_t sysexId, Command command, ByteView body)
{
    ByteMessage bytes = broadcast({sysexId, toByte(command)});
    append(bytes, body);
    return bytes;
}

Arrival classify(ByteView message)
{
    if (isProgramChange(message))
        return Arrival::Other;
    if (!isSysex(message))
        return Arrival::Foreign;
    return isTextMessage(message) ? Arrival::Text : Arrival::Other;
}

bool isSysex(ByteView message)
{
    return message.size() > SysexPrefix.size() &&
           std::equal(SysexPrefix.begin(), SysexPrefix.end(), message.begin());
}

bool isAddressed(ByteView message, std::uint8_t sysexId, Command command)
{
    return isSysex(message) && message.size() > CommandOffset &&
           message[SysexIdOffset] == sysexId && message[CommandOffset] == toByte(command);
}

bool isIdentityReply(ByteView message)
{
    return message.size() == IdentityReplyLength && isSysex(message) &&
           message[BroadcastCommandOffset] == toByte(Command::IdentityReply);
}

bool isNameReply(ByteView message)
{
    return message.size() >= NameReplyMinimum && isSysex(message) &&
           message[CommandOffset] == toByte(Command::NameReply);
}

bool isDataBlock(ByteView message, std::uint8_t sysexId, BlockType type)
{
    return message.size() > EmptyDataBlockLength &&
           isAddressed(message, sysexId, Command::DataBlock) &&
           message[CommandOffset + 1] == toByte(type);
}

bool isEmptyDataBlock(ByteView message, std::uint8_t sysexId)
{
    return message.size() == EmptyDataBlockLength &&
           isAddressed(message, sysexId, Command::DataBlock);
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
    const std::uint8_t packed = reply[IdentityVersionOffset];
    return {reply[IdentityProductOffset],
            reply[IdentitySysexIdOffset],
            {static_cast<std::uint8_t>((packed >> 4U) & 0x07U),
             static_cast<std::uint8_t>(packed & 0x0FU), reply[IdentityPointVersionOffset]}};
}

ByteView readText(ByteView message)
{
    if (message.size() <= TextOffset)
        return {};
    const ByteView rest = message.subspan(TextOffset);
    const auto end = std::ranges::find(rest, SysexEnd);
    return rest.first(static_cast<std::size_t>(end - rest.begin()));
}

std::string toHex(ByteView message)
{
    static constexpr char Digits[] = "0123456789ABCDEF";
    std::string text;
    for (const std::uint8_t byte : message) {
        if (!text.empty())
            text += ' ';
        text += Digits[byte >> 4U];
        text += Digits[byte & 0x0FU];
    }
    return text;
}

} // namespace midi
