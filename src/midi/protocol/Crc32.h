#pragma once

#include "midi/protocol/Bytes.h"

#include <array>

namespace midi
{

inline constexpr std::uint32_t CrcInitial = 0xFFFFFFFFU; ///< what a checksum starts from

/// What each byte makes of a checksum: polynomial 0x04C11DB7, most significant bit first.
inline constexpr auto CrcTable = [] {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t i = 0; i < table.size(); ++i) {
        std::uint32_t value = i << 24U;
        for (int bit = 0; bit < 8; ++bit)
            value = (value & 0x80000000U) != 0 ? (value << 1U) ^ 0x04C11DB7U : value << 1U;
        table[i] = value;
    }
    return table;
}();

/// The CRC-32 of the protocol, not reflected. `initial` is taken as it is while the result is
/// inverted, so handing one call's result to the next does not give the checksum of the joined
/// data; firmware images rely on just that chain.
[[nodiscard]] constexpr std::uint32_t calcCrc(ByteView data, std::uint32_t initial = CrcInitial)
{
    std::uint32_t crc = initial;
    for (const std::uint8_t byte : data)
        crc = (crc << 8U) ^ CrcTable[(crc >> 24U) ^ byte];
    return ~crc;
}

} // namespace midi
