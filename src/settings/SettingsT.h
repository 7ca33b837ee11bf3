#pragma once

#include "midi/protocol/Box.h"

#include <array>
#include <cstddef>
#include <cstdint>

/// The box's global settings, moved whole. The editor knows three fields; all other bytes go back
/// to the box exactly as they were read, so that settings it does not know survive an edit.
struct SettingsT
{
    std::array<std::uint8_t, 16> unknownHead{};
    std::uint8_t operatingMode = 0;
    std::uint8_t sysexId = 0;
    std::array<std::uint8_t, 206> unknownMiddle{};
    std::array<char, midi::MaxNameLength + 1> displayName{}; ///< and a zero
};

static_assert(sizeof(SettingsT) == midi::RecordLength);
static_assert(offsetof(SettingsT, operatingMode) == midi::RecordModeOffset);
static_assert(offsetof(SettingsT, sysexId) == midi::RecordSysexIdOffset);
static_assert(offsetof(SettingsT, displayName) == midi::RecordNameOffset);
