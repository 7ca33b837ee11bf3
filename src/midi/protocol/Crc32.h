#pragma once

#include "midi/protocol/Bytes.h"

namespace midi
{

/// What a checksum starts from.
inline constexpr std::uint32_t CrcInitial = 0xFFFFFFFFU;

/// The CRC-32 of the protocol: polynomial 0x04C11DB7, most significant bit first, not reflected.
/// `initial` is taken as it is while the result is inverted, so handing one call's result to the
/// next does not give the checksum of the joined data; firmware images rely on just that chain.
[[nodiscard]] std::uint32_t calcCrc(ByteView data, std::uint32_t initial = CrcInitial);

} // namespace midi
