#include "simulator/UpdateBlock.h"

#include "midi/BlockEncoding.h"
#include "midi/Crc32.h"
#include "midi/UpdateMessages.h"

namespace simulator
{
namespace
{

std::uint32_t readCrc(midi::ByteView message)
{
    std::uint32_t crc = 0;
    for (std::size_t i = 0; i < sizeof crc; ++i)
        crc |= static_cast<std::uint32_t>(message[midi::UpdateCrcOffset + i]) << (8 * i);
    return crc;
}

constexpr std::uint32_t encodedLength(std::uint32_t length)
{
    return 8 * (length / 7 + 1);
}

} // namespace

std::variant<UpdateBlock, std::string> readUpdateBlock(midi::ByteView message)
{
    if (message.size() <= midi::UpdateDataOffset)
        return "short message";
    const std::uint32_t position = midi::read28Bit(message, midi::UpdatePositionOffset);
    const std::uint32_t length = midi::read28Bit(message, midi::UpdateLengthOffset);
    if (position % midi::UpdateBlockSize != 0)
        return "position between blocks";
    if (length == 0 || length > midi::UpdateBlockSize)
        return "bad length";
    const std::uint32_t encoded = midi::read28Bit(message, midi::UpdateEncodedLengthOffset);
    if (encoded != encodedLength(length) || message.size() != midi::UpdateDataOffset + encoded + 1)
        return "bad encoded length";
    const midi::ByteView data = message.subspan(midi::UpdateDataOffset, encoded);
    if ((midi::calcCrc(data) & midi::UpdateCrcMask) != readCrc(message))
        return "bad checksum";

    UpdateBlock block{position, std::vector<std::uint8_t>(length)};
    midi::decodeBlock(data, block.bytes);
    return block;
}

} // namespace simulator
