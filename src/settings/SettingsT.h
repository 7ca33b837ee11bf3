#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// The box's global settings, moved whole. The editor knows three fields; all other bytes go back
/// to the box exactly as they were read, so that settings it does not know survive an edit.
struct SettingsT
{
    static constexpr std::uint8_t ModeCount = 3; ///< Merge/Thru, USB MIDI, Python Script
    static constexpr std::uint8_t SysexIdCount = 128;

    std::array<std::uint8_t, 16> unknownHead{};
    std::uint8_t operatingMode = 0;
    std::uint8_t sysexId = 0;
    std::array<std::uint8_t, 206> unknownMiddle{};
    std::array<char, 32> displayName{}; ///< at most 31 characters and a zero
};

static_assert(sizeof(SettingsT) == 256);
static_assert(offsetof(SettingsT, operatingMode) == 16);
static_assert(offsetof(SettingsT, sysexId) == 17);
static_assert(offsetof(SettingsT, displayName) == 224);
