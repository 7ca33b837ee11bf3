#pragma once

#include <cstddef>
#include <cstdint>

/// What is known about a box, beside its messages.
namespace midi
{

/// The product whose scripts and firmware this editor handles.
inline constexpr std::uint8_t OstrelProductId = 26;
inline constexpr std::uint8_t NoId = 255; ///< no product, or no sysex ID, in one byte
inline constexpr std::uint8_t MaxSysexId = 127;

enum class OperatingMode : std::uint8_t { MergeThru = 0, UsbMidi = 1, PythonScript = 2 };
inline constexpr std::uint8_t OperatingModeCount = 3;

// The settings record, in bytes.
inline constexpr std::size_t RecordLength = 256;
inline constexpr std::size_t RecordModeOffset = 16;
inline constexpr std::size_t RecordSysexIdOffset = 17;
inline constexpr std::size_t RecordNameOffset = 224;
inline constexpr std::size_t MaxNameLength = 31; ///< of the display name, which a zero follows

// A device reference names one box: the product ID in bits 8 to 15, the sysex ID in bits 0 to 7.

inline constexpr int NoDeviceReference = 0xFFFF; ///< names none

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
