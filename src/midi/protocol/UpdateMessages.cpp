#include "midi/protocol/UpdateMessages.h"

#include "midi/protocol/Crc32.h"
#include "midi/protocol/Messages.h"
#include "midi/protocol/SevenBit.h"

namespace midi
{
namespace
{

constexpr std::size_t SubCommandOffset = 6;
constexpr std::size_t BodyOffset = 7;
constexpr std::size_t NumberLength = 4;
constexpr std::size_t DataLengthOffset = BodyOffset + NumberLength; // behind the position
constexpr std::size_t EncodedLengthOffset = DataLengthOffset + NumberLength;
constexpr std::size_t DataCrcOffset = EncodedLengthOffset + NumberLength;
constexpr std::size_t DataOffset = DataCrcOffset + NumberLength;
constexpr std::size_t DoneParam1Offset = BodyOffset + NumberLength; // behind the length
constexpr std::size_t ResponseLength = 13;
constexpr std::size_t DoneLength = 14;

ByteMessage start(std::uint8_t sysexId, UpdateCommand command)
{
    return addressed(sysexId, Command::FirmwareUpdate,
                     std::array{static_cast<std::uint8_t>(command)});
}

ByteMessage ended(ByteMessage bytes)
{
    bytes.push_back(SysexEnd);
    return bytes;
}

void append28Bit(ByteMessage &bytes, std::size_t value)
{
    appendNumber(bytes, convert32To28Bit(static_cast<std::uint32_t>(value)));
}

std::uint32_t read28Bit(ByteView message, std::size_t offset)
{
    return convert28To32Bit(readNumber(message.subspan(offset, NumberLength)));
}

/// Made 7-bit-safe by clearing the top bit of each of its bytes.
std::uint32_t blockCrc(ByteView encoded)
{
    return calcCrc(encoded) & 0x7F7F7F7FU;
}

} // namespace

ByteMessage updateRequest(std::uint8_t sysexId)
{
    return ended(start(sysexId, UpdateCommand::Request));
}

ByteMessage updateCancel(std::uint8_t sysexId)
{
    return ended(start(sysexId, UpdateCommand::Cancel));
}

ByteMessage updateData(std::uint8_t sysexId, std::uint32_t position, ByteView block)
{
    const ByteMessage encoded = encodeBlock(block);
    ByteMessage bytes = start(sysexId, UpdateCommand::Data);
    append28Bit(bytes, position);
    append28Bit(bytes, block.size());
    append28Bit(bytes, encoded.size());
    appendNumber(bytes, blockCrc(encoded));
    append(bytes, encoded);
    return ended(bytes);
}

ByteMessage updateDone(std::uint8_t sysexId, const UpdateDone &done)
{
    ByteMessage bytes = start(sysexId, UpdateCommand::Done);
    append28Bit(bytes, done.length);
    append(bytes, std::array{done.param1, done.param2});
    return ended(bytes);
}

ByteMessage updateResponse(std::uint8_t sysexId, const UpdateResponse &response)
{
    ByteMessage bytes = start(sysexId, UpdateCommand::Response);
    bytes.push_back(response.status);
    append28Bit(bytes, response.position);
    return ended(bytes);
}

std::optional<UpdateCommand> updateCommand(ByteView message, std::uint8_t sysexId)
{
    if (!isAddressed(message, sysexId, Command::FirmwareUpdate) ||
        message.size() <= SubCommandOffset)
        return std::nullopt;
    return UpdateCommand{message[SubCommandOffset]};
}

std::variant<UpdateBlock, std::string> readUpdateData(ByteView message)
{
    if (message.size() <= DataOffset)
        return "short message";
    const std::uint32_t position = read28Bit(message, BodyOffset);
    const std::uint32_t length = read28Bit(message, DataLengthOffset);
    if (position % UpdateBlockSize != 0)
        return "position between blocks";
    if (length == 0 || length > UpdateBlockSize)
        return "bad length";
    const std::uint32_t encodedLength = read28Bit(message, EncodedLengthOffset);
    if (encodedLength != blockLength(length) || message.size() != DataOffset + encodedLength + 1)
        return "bad encoded length";
    const ByteView encoded = message.subspan(DataOffset, encodedLength);
    if (blockCrc(encoded) != readNumber(message.subspan(DataCrcOffset, NumberLength)))
        return "bad checksum";
    UpdateBlock block{position, ByteMessage(length)};
    decodeBlock(encoded, encoded.size(), block.bytes);
    return block;
}

std::optional<UpdateResponse> readUpdateResponse(ByteView message)
{
    if (message.size() != ResponseLength)
        return std::nullopt;
    return UpdateResponse{message[BodyOffset], read28Bit(message, BodyOffset + 1)};
}

std::optional<UpdateDone> readUpdateDone(ByteView message)
{
    if (message.size() != DoneLength)
        return std::nullopt;
    return UpdateDone{read28Bit(message, BodyOffset), message[DoneParam1Offset],
                      message[DoneParam1Offset + 1]};
}

} // namespace midi
