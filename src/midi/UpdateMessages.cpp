#include "midi/UpdateMessages.h"

#include "midi/BlockEncoding.h"
#include "midi/Crc32.h"
#include "midi/SevenBit.h"
#include "midi/SysexFrame.h"

namespace midi
{
namespace
{

ByteMessage start(std::uint8_t sysexId, UpdateCommand command)
{
    ByteMessage bytes;
    append(bytes, SysexPrefix);
    append(bytes, std::array{sysexId, toByte(Command::FirmwareUpdate),
                             static_cast<std::uint8_t>(command)});
    return bytes;
}

void append32(ByteMessage &bytes, std::uint32_t value)
{
    for (unsigned shift = 0; shift < 32; shift += 8)
        bytes.push_back(static_cast<std::uint8_t>(value >> shift));
}

void append28Bit(ByteMessage &bytes, std::uint32_t value)
{
    append32(bytes, convert32To28Bit(value));
}

ByteMessage bare(std::uint8_t sysexId, UpdateCommand command)
{
    ByteMessage bytes = start(sysexId, command);
    bytes.push_back(SysexEnd);
    return bytes;
}

} // namespace

ByteMessage updateRequest(std::uint8_t sysexId)
{
    return bare(sysexId, UpdateCommand::Request);
}

ByteMessage updateCancel(std::uint8_t sysexId)
{
    return bare(sysexId, UpdateCommand::Cancel);
}

ByteMessage updateData(std::uint8_t sysexId, std::uint32_t position, ByteView block)
{
    const ByteMessage encoded = encodeBlock(block);
    ByteMessage bytes = start(sysexId, UpdateCommand::Data);
    bytes.reserve(UpdateDataOffset + encoded.size() + 1);
    append28Bit(bytes, position);
    append28Bit(bytes, static_cast<std::uint32_t>(block.size()));
    append28Bit(bytes, static_cast<std::uint32_t>(encoded.size()));
    append32(bytes, calcCrc(encoded) & UpdateCrcMask);
    append(bytes, encoded);
    bytes.push_back(SysexEnd);
    return bytes;
}

ByteMessage updateDone(std::uint8_t sysexId, std::uint32_t length, std::uint8_t param1,
                       std::uint8_t param2)
{
    ByteMessage bytes = start(sysexId, UpdateCommand::Done);
    append28Bit(bytes, length);
    append(bytes, std::array{param1, param2, SysexEnd});
    return bytes;
}

ByteMessage updateResponse(std::uint8_t sysexId, std::uint8_t status, std::uint32_t position)
{
    ByteMessage bytes = start(sysexId, UpdateCommand::Response);
    bytes.push_back(status);
    append28Bit(bytes, position);
    bytes.push_back(SysexEnd);
    return bytes;
}

bool isUpdateResponse(ByteView message, std::uint8_t sysexId)
{
    return message.size() == UpdateResponseLength && isSysex(message) &&
           message[SysexIdOffset] == sysexId &&
           message[CommandOffset] == toByte(Command::FirmwareUpdate) &&
           message[UpdateSubCommandOffset] == static_cast<std::uint8_t>(UpdateCommand::Response);
}

std::uint32_t read28Bit(ByteView message, std::size_t offset)
{
    std::uint32_t packed = 0;
    for (std::size_t i = 0; i < 4; ++i)
        packed |= static_cast<std::uint32_t>(message[offset + i]) << (8 * i);
    return convert28To32Bit(packed);
}

} // namespace midi
