#pragma once

#include "usbmidi/EventPackets.h"

#include <vector>

namespace usbmidi
{

/// Joins packets to whole messages, on each cable for itself.
class PacketReader
{
public:
    /// A sysex that grows beyond this many bytes is dropped.
    static constexpr std::size_t MaxMessageLength = 65536;

    struct Message
    {
        unsigned cable = 0;
        midi::ByteMessage bytes;
        bool whole = true; ///< false: dropped, because another message began before its end
    };

    /// What became complete or was dropped with these packets, in this order. Bytes that belong to
    /// no message and the rest of a cut packet are passed over.
    [[nodiscard]] std::vector<Message> read(midi::ByteView packets);

private:
    void readByte(unsigned cable, std::uint8_t byte);
    void finish(unsigned cable, bool whole);

    std::array<midi::ByteMessage, MaxCables> m_begun;
    std::vector<Message> m_done;
};

} // namespace usbmidi
