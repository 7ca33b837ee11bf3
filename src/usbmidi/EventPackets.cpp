#include "usbmidi/EventPackets.h"

#include "midi/protocol/Messages.h"

#include <algorithm>

namespace usbmidi
{
namespace
{

using midi::ByteView;

constexpr std::uint8_t FirstStatus = 0x80;
constexpr std::uint8_t FirstSystemStatus = 0xF0;
constexpr std::size_t MaxContents = 3;

/// What goes into the next packet.
struct Piece
{
    std::uint8_t code = 0;
    std::size_t length = 0;
};

constexpr Piece SingleByte{static_cast<std::uint8_t>(PacketCode::SingleByte), 1};

bool isStatus(std::uint8_t byte)
{
    return byte >= FirstStatus;
}

Piece nextOfSysex(ByteView rest)
{
    const ByteView window = rest.first(std::min(rest.size(), MaxContents));
    const std::size_t first = window.front() == midi::SysexStart ? 1 : 0;
    const auto status = std::ranges::find_if(window.subspan(first), isStatus);
    if (status == window.end())
        return window.size() == MaxContents
                   ? Piece{static_cast<std::uint8_t>(PacketCode::SysexGoesOn), MaxContents}
                   : SingleByte;
    if (*status != midi::SysexEnd)
        return SingleByte;
    const auto length = static_cast<std::size_t>(status - window.begin()) + 1;
    const auto endOfOne = static_cast<std::size_t>(PacketCode::OneByteOrSysexEnd);
    return {static_cast<std::uint8_t>(endOfOne + length - 1), length};
}

std::uint8_t codeOfShortMessage(std::uint8_t status, std::size_t length)
{
    if (status < FirstSystemStatus)
        return static_cast<std::uint8_t>(status >> 4U);
    if (length == 1)
        return SingleByte.code;
    return static_cast<std::uint8_t>(length == 2 ? PacketCode::TwoBytes : PacketCode::ThreeBytes);
}

Piece nextPiece(ByteView rest)
{
    const std::uint8_t first = rest.front();
    if (!isStatus(first) || first == midi::SysexStart || first == midi::SysexEnd)
        return nextOfSysex(rest);
    const std::size_t length = shortMessageLength(first);
    if (length == 0 || rest.size() < length ||
        std::ranges::any_of(rest.subspan(1, length - 1), isStatus))
        return SingleByte;
    return {codeOfShortMessage(first, length), length};
}

} // namespace

std::size_t shortMessageLength(std::uint8_t status)
{
    static constexpr std::array<std::uint8_t, 7> OfChannels{3, 3, 3, 3, 2, 2, 3};
    static constexpr std::array<std::uint8_t, 16> OfSystem{0, 2, 3, 2, 1, 1, 1, 0,
                                                           1, 1, 1, 1, 1, 1, 1, 1};
    if (!isStatus(status))
        return 0;
    return status < FirstSystemStatus ? OfChannels[(status - FirstStatus) >> 4U]
                                      : OfSystem[status - FirstSystemStatus];
}

midi::ByteMessage toPackets(unsigned cable, ByteView bytes)
{
    midi::ByteMessage packets;
    packets.reserve((bytes.size() / MaxContents + 1) * PacketLength);
    for (ByteView rest = bytes; !rest.empty();) {
        const Piece piece = nextPiece(rest);
        packets.push_back(static_cast<std::uint8_t>((cable & 0xFU) << 4U | piece.code));
        midi::append(packets, rest.first(piece.length));
        packets.resize(packets.size() + MaxContents - piece.length);
        rest = rest.subspan(piece.length);
    }
    return packets;
}

} // namespace usbmidi
