#pragma once

#include <cstdint>

/// Numbers of more than seven bits travel as a run of 7-bit bytes, the least significant first.
/// These functions pack such a run into one integer of the same byte order and back.
namespace midi
{

/// The low 14 bits of `value` as two 7-bit bytes; bits 14 and 15 are dropped.
[[nodiscard]] constexpr std::uint16_t convert16To14Bit(std::uint16_t value)
{
    return static_cast<std::uint16_t>((value & 0x7FU) + ((value & 0x3F80U) << 1U));
}

/// The number that two 7-bit bytes stand for; the top bit of each is ignored.
[[nodiscard]] constexpr std::uint16_t convert14To16Bit(std::uint16_t packed)
{
    return static_cast<std::uint16_t>((packed & 0x7FU) | ((packed >> 1U) & 0x3F80U));
}

/// The low 28 bits of `value` as four 7-bit bytes; bits 28 to 31 are dropped.
[[nodiscard]] constexpr std::uint32_t convert32To28Bit(std::uint32_t value)
{
    return (value & 0x7FU) + ((value & 0x3F80U) << 1U) + ((value & 0x1FC000U) << 2U) +
           ((value & 0xFE00000U) << 3U);
}

/// The number that four 7-bit bytes stand for; the top bit of each is ignored.
[[nodiscard]] constexpr std::uint32_t convert28To32Bit(std::uint32_t packed)
{
    return (packed & 0x7FU) | ((packed >> 1U) & 0x3F80U) | ((packed >> 2U) & 0x1FC000U) |
           ((packed >> 3U) & 0xFE00000U);
}

} // namespace midi
