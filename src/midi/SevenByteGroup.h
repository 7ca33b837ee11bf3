#pragma once

#include <QtEndian>

#include <cstddef>
#include <cstdint>
#include <cstring>

/// Both 7-bit encodings take seven bytes at a time and add one that holds their top bits, the first
/// byte's in bit 6. Here the seven bytes are one number, the first byte its lowest, which is
/// several times faster than byte by byte.
namespace midi
{

inline constexpr std::size_t BytesPerGroup = 7;
inline constexpr std::uint64_t LowSevenBits = 0x007F'7F7F'7F7F'7F7FU; ///< of each of the seven

/// The eight bytes from `bytes` on.
[[nodiscard]] inline std::uint64_t loadEight(const std::uint8_t *bytes)
{
    return qFromLittleEndian<std::uint64_t>(bytes);
}

/// The lowest `Count` bytes of `value`, to `bytes`.
template <std::size_t Count>
void store(std::uint64_t value, std::uint8_t *bytes)
{
    const std::uint64_t ordered = qToLittleEndian(value);
    std::memcpy(bytes, &ordered, Count);
}

/// The byte that holds the group's top bits. The multiplication moves each of them to its place in
/// the highest byte, and no two of its sums meet.
[[nodiscard]] constexpr std::uint8_t gatherTopBits(std::uint64_t group)
{
    const std::uint64_t bits = (group >> 7U) & 0x0001'0101'0101'0101U;
    return static_cast<std::uint8_t>((bits * 0x4020'1008'0402'0100U) >> 56U);
}

/// The top bits that the byte holds, each at its place in the group.
[[nodiscard]] constexpr std::uint64_t spreadTopBits(std::uint8_t bits)
{
    return ((bits & 0x7FU) * 0x0080'4020'1008'0402U) & 0x0080'8080'8080'8080U;
}

} // namespace midi
