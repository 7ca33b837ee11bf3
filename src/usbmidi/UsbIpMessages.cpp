#include "usbmidi/UsbIpMessages.h"

#include <QtEndian>

#include <algorithm>

namespace usbmidi
{
namespace
{

using midi::ByteMessage;
using midi::ByteView;

constexpr std::size_t HeaderLength = 48;

/// Offsets of the fields, each 32 bits, highest byte first.
constexpr std::size_t CommandOffset = 0;
constexpr std::size_t NumberOffset = 4;
constexpr std::size_t DirectionOffset = 12;
constexpr std::size_t EndpointOffset = 16;
constexpr std::size_t UnlinkedOffset = 20;
constexpr std::size_t StatusOffset = 20;
constexpr std::size_t LengthOffset = 24;
constexpr std::size_t PacketCountOffset = 32;
constexpr std::size_t SetupOffset = 40;

enum Command : std::uint32_t { Submit = 1, Unlink = 2, SubmitReply = 3, UnlinkReply = 4 };
constexpr std::uint32_t ToComputer = 1;
/// Packets are counted for isochronous transfers only.
constexpr std::uint32_t NoPacketCount = 0xFFFFFFFF;

std::uint32_t field(ByteView header, std::size_t offset)
{
    return qFromBigEndian<std::uint32_t>(header.subspan(offset, sizeof(std::uint32_t)).data());
}

void setField(ByteMessage &header, std::size_t offset, std::uint32_t value)
{
    qToBigEndian(value, std::span(header).subspan(offset, sizeof value).data());
}

ByteMessage replyHeader(Command command, const UsbRequest &request, UsbStatus status)
{
    ByteMessage header(HeaderLength);
    setField(header, CommandOffset, command);
    setField(header, NumberOffset, request.number);
    setField(header, StatusOffset, static_cast<std::uint32_t>(status));
    return header;
}

UsbRequest readHeader(ByteView header)
{
    UsbRequest request;
    request.number = field(header, NumberOffset);
    request.isUnlink = field(header, CommandOffset) == Unlink;
    if (request.isUnlink) {
        request.unlinked = field(header, UnlinkedOffset);
        return request;
    }
    request.toComputer = field(header, DirectionOffset) == ToComputer;
    request.endpoint = field(header, EndpointOffset);
    request.length = field(header, LengthOffset);
    std::ranges::copy(header.subspan(SetupOffset, request.setup.size()), request.setup.begin());
    return request;
}

} // namespace

void UsbRequestReader::append(ByteView bytes)
{
    m_bytes.erase(m_bytes.begin(), m_bytes.begin() + static_cast<std::ptrdiff_t>(m_read));
    m_read = 0;
    midi::append(m_bytes, bytes);
}

std::optional<UsbRequest> UsbRequestReader::next()
{
    const ByteView rest = ByteView(m_bytes).subspan(m_read);
    if (m_broken || rest.size() < HeaderLength)
        return std::nullopt;
    const std::uint32_t command = field(rest, CommandOffset);
    UsbRequest request = readHeader(rest.first(HeaderLength));
    m_broken = (command != Submit && command != Unlink) || request.length > MaxTransferLength;
    if (m_broken)
        return std::nullopt;
    const std::size_t dataLength = request.toComputer ? 0 : request.length;
    if (rest.size() - HeaderLength < dataLength)
        return std::nullopt;
    const ByteView data = rest.subspan(HeaderLength, dataLength);
    request.data.assign(data.begin(), data.end());
    m_read += HeaderLength + dataLength;
    return request;
}

ByteMessage transferReply(const UsbRequest &request, UsbStatus status, std::size_t actual,
                          ByteView data)
{
    ByteMessage reply = replyHeader(SubmitReply, request, status);
    setField(reply, LengthOffset, static_cast<std::uint32_t>(actual));
    setField(reply, PacketCountOffset, NoPacketCount);
    midi::append(reply, data);
    return reply;
}

ByteMessage unlinkReply(const UsbRequest &request, UsbStatus status)
{
    return replyHeader(UnlinkReply, request, status);
}

} // namespace usbmidi
