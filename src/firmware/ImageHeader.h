#pragma once

#include "midi/protocol/Bytes.h"

#include <array>
#include <cstddef>

/// The 16 bytes in front of the payload in a firmware image file. Numbers are little-endian.
namespace firmware
{

inline constexpr std::size_t HeaderSize = 16;
inline constexpr std::size_t MagicOffset = 0;
inline constexpr std::size_t ProductIdOffset = 4;
inline constexpr std::size_t DoneParam1Offset = 5;
inline constexpr std::size_t DoneParam2Offset = 6;
inline constexpr std::size_t ReservedOffset = 7;
inline constexpr std::size_t DataLengthOffset = 8;
inline constexpr std::size_t ImageCrcOffset = 12;

/// The bytes "ZVF" and 1.
inline constexpr std::uint32_t ImageMagic = 0x0146565A;

using HeaderBytes = std::array<std::uint8_t, HeaderSize>;

/// The header, field by field, in the order of the file.
struct ImageHeader
{
    std::uint32_t magic = ImageMagic;
    std::uint8_t productID = 0;  ///< of the device the image is for
    std::uint8_t doneParam1 = 0; ///< for the box alone: goes unchanged into the update done message
    std::uint8_t doneParam2 = 0; ///< likewise
    std::uint8_t reserved = 0;   ///< written as 0, not looked at
    std::uint32_t dataLength = 0; ///< of the payload, in bytes
    std::uint32_t imageCRC = 0;   ///< imageCheckValue() of the payload

    bool operator==(const ImageHeader &) const = default;
};

/// Reads the fields as they stand; any bytes may be given, the magic is not checked.
[[nodiscard]] ImageHeader parseHeader(const HeaderBytes &bytes);
[[nodiscard]] HeaderBytes serialiseHeader(const ImageHeader &header);

} // namespace firmware
