#include "midi/DataBlockFrame.h"

#include "midi/Crc32.h"
#include "midi/MCoded7.h"
#include "midi/SevenBit.h"

#include <algorithm>

namespace midi
{
namespace
{

constexpr std::size_t CrcBytes = 4;
constexpr std::size_t EncodedCrcLength = mcoded7Length(CrcBytes);
static_assert(BlockCrcOffset + EncodedCrcLength == BlockPayloadOffset);
static_assert(mcoded7Length(MaxRawPayload) == MaxEncodedPayload);

void writeCrc(std::span<std::uint8_t> field, std::uint32_t crc)
{
    std::array<std::uint8_t, CrcBytes> bytes{};
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<std::uint8_t>(crc >> (8 * i));
    encodeMCoded7(bytes, field);
}

std::uint32_t readCrc(ByteView field)
{
    std::array<std::uint8_t, EncodedCrcLength> bytes{};
    std::ranges::copy(field, bytes.begin());
    decodeMCoded7(bytes);
    std::uint32_t crc = 0;
    for (std::size_t i = 0; i < CrcBytes; ++i)
        crc |= static_cast<std::uint32_t>(bytes[i]) << (8 * i);
    return crc;
}

} // namespace

std::optional<std::size_t> buildDataBlock(std::span<std::uint8_t, MaxFrameLength> buffer,
                                          Command command, std::uint8_t sysexId,
                                          std::uint8_t blockType, ByteView payload)
{
    std::ranges::fill(buffer, std::uint8_t{0});
    const auto area = buffer.subspan(BlockPayloadOffset, MaxEncodedPayload);
    const MCoded7Result encoded = encodeMCoded7(payload, area);
    if (!encoded.complete)
        return std::nullopt;

    std::ranges::copy(SysexPrefix, buffer.begin());
    buffer[SysexIdOffset] = sysexId;
    buffer[CommandOffset] = toByte(command);
    buffer[BlockTypeOffset] = blockType & 0x7FU;
    const std::uint16_t length = convert16To14Bit(static_cast<std::uint16_t>(encoded.written));
    buffer[BlockLengthOffset] = static_cast<std::uint8_t>(length & 0xFFU);
    buffer[BlockLengthOffset + 1] = static_cast<std::uint8_t>(length >> 8U);
    const std::uint32_t crc = encoded.written == 0 ? 0 : calcCrc(area.first(encoded.written));
    writeCrc(buffer.subspan(BlockCrcOffset, EncodedCrcLength), crc);
    buffer[BlockPayloadOffset + encoded.written] = SysexEnd;
    return encoded.written + FrameOverhead;
}

std::optional<std::size_t> decodeDataBlock(std::span<std::uint8_t, MaxFrameLength> buffer)
{
    const auto packed = static_cast<std::uint16_t>(buffer[BlockLengthOffset] |
                                                   (buffer[BlockLengthOffset + 1] << 8U));
    const std::size_t length = convert14To16Bit(packed);
    const std::uint32_t crc = readCrc(buffer.subspan(BlockCrcOffset, EncodedCrcLength));
    if (length == 0)
        return crc == 0 ? std::optional<std::size_t>(0) : std::nullopt;
    if (length > buffer.size() - BlockPayloadOffset)
        return std::nullopt;

    const auto payload = buffer.subspan(BlockPayloadOffset, length);
    if (calcCrc(payload) != crc)
        return std::nullopt;
    return decodeMCoded7(payload);
}

std::optional<ByteMessage> readDataBlock(ByteView message)
{
    std::array<std::uint8_t, MaxFrameLength> buffer{};
    if (message.size() < FrameOverhead || message.size() > buffer.size())
        return std::nullopt;
    std::ranges::copy(message, buffer.begin());
    const auto length = decodeDataBlock(buffer);
    if (!length)
        return std::nullopt;
    const ByteView payload = ByteView(buffer).subspan(BlockPayloadOffset, *length);
    return ByteMessage(payload.begin(), payload.end());
}

} // namespace midi
