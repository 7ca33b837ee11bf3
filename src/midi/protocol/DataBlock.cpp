#include "midi/protocol/DataBlock.h"

#include "midi/protocol/Crc32.h"
#include "midi/protocol/SevenBit.h"

#include <array>

namespace midi
{
namespace
{

constexpr std::size_t CrcBytes = 4;
constexpr std::size_t EncodedCrcLength = mcoded7Length(CrcBytes);
static_assert(BlockCrcOffset + EncodedCrcLength == BlockPayloadOffset);
static_assert(mcoded7Length(MaxRawPayload) + FrameOverhead == MaxFrameLength);

std::uint32_t crcOf(ByteView encoded)
{
    return encoded.empty() ? 0 : calcCrc(encoded);
}

} // namespace

std::optional<ByteMessage> dataBlock(Command command, std::uint8_t sysexId, std::uint8_t blockType,
                                     ByteView payload)
{
    if (payload.size() > MaxRawPayload)
        return std::nullopt;
    ByteMessage encoded(mcoded7Length(payload.size()));
    encodeMCoded7(payload, encoded);
    ByteMessage crc;
    appendNumber(crc, crcOf(encoded), CrcBytes);
    std::array<std::uint8_t, EncodedCrcLength> encodedCrc{};
    encodeMCoded7(crc, encodedCrc);

    ByteMessage frame =
        addressed(sysexId, command,
                  std::array<std::uint8_t, 3>{static_cast<std::uint8_t>(blockType & 0x7FU), 0, 0});
    appendNumber(frame, convert16To14Bit(static_cast<std::uint16_t>(encoded.size())), 2);
    append(frame, encodedCrc);
    append(frame, encoded);
    frame.push_back(SysexEnd);
    return frame;
}

std::optional<ByteMessage> readDataBlock(ByteView frame)
{
    if (frame.size() < FrameOverhead || frame.size() > MaxFrameLength)
        return std::nullopt;
    const std::uint32_t packed = readNumber(frame.subspan(BlockLengthOffset, 2));
    const std::size_t length = convert14To16Bit(static_cast<std::uint16_t>(packed));
    if (length > frame.size() - FrameOverhead)
        return std::nullopt;

    const ByteView crcField = frame.subspan(BlockCrcOffset, EncodedCrcLength);
    ByteMessage crc(crcField.begin(), crcField.end());
    decodeMCoded7(crc);
    const ByteView encoded = frame.subspan(BlockPayloadOffset, length);
    if (crcOf(encoded) != readNumber(std::span(crc).first(CrcBytes)))
        return std::nullopt;
    ByteMessage payload(encoded.begin(), encoded.end());
    payload.resize(decodeMCoded7(payload));
    return payload;
}

} // namespace midi
