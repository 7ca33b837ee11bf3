#include "firmware/ImageHeader.h"

namespace firmware
{
namespace
{

std::uint32_t read32(const HeaderBytes &bytes, std::size_t offset)
{
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < sizeof value; ++i)
        value |= static_cast<std::uint32_t>(bytes[offset + i]) << (8 * i);
    return value;
}

void write32(HeaderBytes &bytes, std::size_t offset, std::uint32_t value)
{
    for (std::size_t i = 0; i < sizeof value; ++i)
        bytes[offset + i] = static_cast<std::uint8_t>(value >> (8 * i));
}

} // namespace

ImageHeader parseHeader(const HeaderBytes &bytes)
{
    return {.magic = read32(bytes, MagicOffset),
            .productID = bytes[ProductIdOffset],
            .doneParam1 = bytes[DoneParam1Offset],
            .doneParam2 = bytes[DoneParam2Offset],
            .reserved = bytes[ReservedOffset],
            .dataLength = read32(bytes, DataLengthOffset),
            .imageCRC = read32(bytes, ImageCrcOffset)};
}

HeaderBytes serialiseHeader(const ImageHeader &header)
{
    HeaderBytes bytes{};
    write32(bytes, MagicOffset, header.magic);
    bytes[ProductIdOffset] = header.productID;
    bytes[DoneParam1Offset] = header.doneParam1;
    bytes[DoneParam2Offset] = header.doneParam2;
    bytes[ReservedOffset] = header.reserved;
    write32(bytes, DataLengthOffset, header.dataLength);
    write32(bytes, ImageCrcOffset, header.imageCRC);
    return bytes;
}

} // namespace firmware
