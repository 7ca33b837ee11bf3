#pragma once

#include "midi/protocol/Box.h"
#include "midi/protocol/Crc32.h"
#include "midi/protocol/Messages.h"
#include "midi/protocol/SevenBit.h"
#include "midi/protocol/UpdateMessages.h"

namespace midi
{

/// The part of QtRtMIDI that only looks at bytes: the functions of protocol/ under the names of
/// that interface, and the box that is addressed, since some of them compare with it.
class ProtocolInterface
{
public:
    using Message = std::vector<uint8_t>;
    static constexpr std::uint8_t NoSysexID = NoId; ///< equals no 7-bit ID

    void setAltSysexID(uint8_t id) { m_altSysexId = id; }
    [[nodiscard]] static bool isZEVSysexMsg(const Message &msg) { return isSysex(msg); }
    [[nodiscard]] static bool isPgmChange(const Message &msg) { return isProgramChange(msg); }

    // These compare with the current sysex ID, the first one with the alternate one as well.
    [[nodiscard]] bool isOurZEVSysexMsg(const Message &msg) const
    {
        return isSysex(msg) &&
               (msg[SysexIdOffset] == m_sysexId || msg[SysexIdOffset] == m_altSysexId);
    }
    [[nodiscard]] bool isZEVGlobals(const Message &msg) const
    {
        return isDataBlock(msg, m_sysexId, BlockType::Globals);
    }
    [[nodiscard]] bool isZEVScriptData(const Message &msg) const
    {
        return isDataBlock(msg, m_sysexId, BlockType::Script);
    }
    [[nodiscard]] bool isZEVSysexAck(const Message &msg) const
    {
        return isAcknowledgement(msg, m_sysexId);
    }
    [[nodiscard]] bool isZEVSysexData(const Message &msg) const
    {
        return isEmptyDataBlock(msg, m_sysexId);
    }
    [[nodiscard]] bool isZEVUpdateResponse(const Message &msg) const
    {
        return updateCommand(msg, m_sysexId) == UpdateCommand::Response && readUpdateResponse(msg);
    }

    static void genCRCTable() {} ///< it is a compile-time constant
    [[nodiscard]] static uint32_t calcCRC(const uint8_t *data, uint32_t length, uint32_t initial)
    {
        return calcCrc({data, length}, initial);
    }

    // Capacities are bytes on entry and the number of bytes written on return.
    static bool encodeMCoded7(const uint8_t *input, uint32_t length, uint8_t *output,
                              uint32_t &capacity)
    {
        return report(midi::encodeMCoded7({input, length}, {output, capacity}), capacity);
    }
    static uint32_t decodeMCoded7(uint8_t *buffer, uint32_t length)
    {
        return static_cast<uint32_t>(midi::decodeMCoded7({buffer, length}));
    }
    static bool encodeBlock(const uint8_t *input, uint32_t length, Message &output)
    {
        output = midi::encodeBlock({input, length});
        return true;
    }
    /// `input` must hold its last group whole, also where `length` ends within it, because the
    /// group's top bits stand at its end.
    static bool decodeBlock(const uint8_t *input, uint32_t length, uint8_t *output,
                            uint32_t &capacity)
    {
        const std::size_t groups = (std::size_t{length} + 7) / 8 * 8;
        return report(midi::decodeBlock({input, groups}, length, {output, capacity}), capacity);
    }
    [[nodiscard]] static uint16_t convert16To14Bit(uint16_t v) { return midi::convert16To14Bit(v); }
    [[nodiscard]] static uint16_t convert14To16Bit(uint16_t v) { return midi::convert14To16Bit(v); }
    [[nodiscard]] static uint32_t convert32To28Bit(uint32_t v) { return midi::convert32To28Bit(v); }
    [[nodiscard]] static uint32_t convert28To32Bit(uint32_t v) { return midi::convert28To32Bit(v); }
    static void convertToVector(Message &m, const uint8_t *p, uint32_t n) { m.assign(p, p + n); }
    /// Makes `message` the body of one for the box.
    void prependDataHeader(Message &message) const
    {
        message = addressed(m_sysexId, Command::DataHeader, message);
    }

protected:
    uint8_t m_sysexId = 0; ///< the box addressed, 0 to 127

private:
    static bool report(EncodingResult result, uint32_t &capacity)
    {
        capacity = static_cast<uint32_t>(result.written);
        return result.complete;
    }

    uint8_t m_altSysexId = NoSysexID;
};

} // namespace midi
