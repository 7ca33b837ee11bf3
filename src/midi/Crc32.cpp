#include "midi/Crc32.h"

#include <QtEndian>

#include <array>

namespace midi
{
namespace
{

constexpr std::uint32_t Polynomial = 0x04C11DB7U;
constexpr std::uint32_t TopBit = 0x80000000U;

constexpr std::size_t Stride = 16; ///< bytes taken at once

using Table = std::array<std::uint32_t, 256>;

/// The first table tells what a byte makes of the checksum; each further one, what it makes of it
/// when one more byte comes behind.
constexpr std::array<Table, Stride> makeTables()
{
    std::array<Table, Stride> tables{};
    for (std::uint32_t i = 0; i < 256; ++i) {
        std::uint32_t value = i << 24U;
        for (int bit = 0; bit < 8; ++bit)
            value = (value & TopBit) != 0 ? (value << 1U) ^ Polynomial : value << 1U;
        tables[0][i] = value;
    }
    for (std::size_t table = 1; table < Stride; ++table) {
        for (std::size_t i = 0; i < 256; ++i) {
            const std::uint32_t value = tables[table - 1][i];
            tables[table][i] = (value << 8U) ^ tables[0][value >> 24U];
        }
    }
    return tables;
}

constexpr std::array<Table, Stride> Tables = makeTables();

/// The checksum goes in with the first four bytes. The sum over the others waits for nothing.
std::uint32_t addStride(std::uint32_t crc, const std::uint8_t *bytes)
{
    std::uint32_t rest = 0;
    for (std::size_t i = 4; i < Stride; ++i)
        rest ^= Tables[Stride - 1 - i][bytes[i]];
    const std::uint32_t head = qFromBigEndian<std::uint32_t>(bytes) ^ crc;
    std::uint32_t first = 0;
    for (std::size_t i = 0; i < 4; ++i)
        first ^= Tables[Stride - 1 - i][(head >> (24 - 8 * i)) & 0xFFU];
    return rest ^ first;
}

} // namespace

std::uint32_t calcCrc(ByteView data, std::uint32_t initial)
{
    std::uint32_t crc = initial;
    for (; data.size() >= Stride; data = data.subspan(Stride))
        crc = addStride(crc, data.data());
    for (const std::uint8_t byte : data)
        crc = (crc << 8U) ^ Tables[0][(crc >> 24U) ^ byte];
    return ~crc;
}

} // namespace midi
