#include "midi/protocol/Crc32.h"

#include <array>

namespace midi
{
namespace
{

constexpr std::uint32_t Polynomial = 0x04C11DB7U;
constexpr std::uint32_t TopBit = 0x80000000U;

/// What each byte makes of the checksum.
constexpr std::array<std::uint32_t, 256> makeTable()
{
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t i = 0; i < table.size(); ++i) {
        std::uint32_t value = i << 24U;
        for (int bit = 0; bit < 8; ++bit)
            value = (value & TopBit) != 0 ? (value << 1U) ^ Polynomial : value << 1U;
        table[i] = value;
    }
    return table;
}

constexpr auto Table = makeTable();

} // namespace

std::uint32_t calcCrc(ByteView data, std::uint32_t initial)
{
    std::uint32_t crc = initial;
    for (const std::uint8_t byte : data)
        crc = (crc << 8U) ^ Table[(crc >> 24U) ^ byte];
    return ~crc;
}

} // namespace midi
