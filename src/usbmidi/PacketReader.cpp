#include "usbmidi/PacketReader.h"

#include "midi/protocol/Messages.h"

#include <utility>

namespace usbmidi
{
namespace
{

constexpr std::uint8_t FirstStatus = 0x80;
constexpr std::uint8_t FirstRealTime = 0xF8;

} // namespace

std::vector<PacketReader::Message> PacketReader::read(midi::ByteView packets)
{
    for (; packets.size() >= PacketLength; packets = packets.subspan(PacketLength)) {
        const unsigned cable = packets[0] >> 4U;
        const std::size_t count = PacketContents[packets[0] & 0xFU];
        for (const std::uint8_t byte : packets.subspan(1, count))
            readByte(cable, byte);
    }
    return std::exchange(m_done, {});
}

void PacketReader::readByte(unsigned cable, std::uint8_t byte)
{
    midi::ByteMessage &begun = m_begun[cable];
    if (byte >= FirstRealTime) { // may stand within another message
        m_done.push_back({cable, {byte}});
        return;
    }
    const bool endsSysex =
        byte == midi::SysexEnd && !begun.empty() && begun.front() == midi::SysexStart;
    const bool begins = byte >= FirstStatus && !endsSysex;
    if (begins && !begun.empty())
        finish(cable, false);
    if (begun.empty() && (!begins || byte == midi::SysexEnd))
        return;
    begun.push_back(byte);
    if (endsSysex || begun.size() == shortMessageLength(begun.front()))
        finish(cable, true);
    else if (begun.size() > MaxMessageLength)
        finish(cable, false);
}

void PacketReader::finish(unsigned cable, bool whole)
{
    m_done.push_back({cable, std::exchange(m_begun[cable], {}), whole});
}

} // namespace usbmidi
