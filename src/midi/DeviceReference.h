#pragma once

#include <cstdint>

/// A device reference names one device in 16 bits: the product ID in bits 8 to 15, the sysex ID in
/// bits 0 to 7. It is what the device list, the settings store and the documents exchange.
namespace midi
{

/// Stands for "no product", "no sysex ID" in one byte.
inline constexpr std::uint8_t NoId = 255;
/// The reference that names no device.
inline constexpr int NoDeviceReference = 0xFFFF;

[[nodiscard]] constexpr int deviceReference(std::uint8_t productId, std::uint8_t sysexId)
{
    return productId << 8 | sysexId;
}

[[nodiscard]] constexpr std::uint8_t referencedProductId(int reference)
{
    return static_cast<std::uint8_t>(static_cast<unsigned>(reference) >> 8U & 0xFFU);
}

[[nodiscard]] constexpr std::uint8_t referencedSysexId(int reference)
{
    return static_cast<std::uint8_t>(static_cast<unsigned>(reference) & 0xFFU);
}

} // namespace midi
