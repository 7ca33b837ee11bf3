#pragma once

#include "midi/protocol/Bytes.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// What a USB-MIDI 1.0 device says of itself when it is plugged in: pure functions, names to bytes.
namespace usbmidi
{

/// The names are ASCII and at most 126 characters long; what is longer is cut. Each list has 1 to
/// 16 entries, one for each cable. An empty name means a jack without one.
struct DeviceNames
{
    std::string product;
    std::vector<std::string> toComputer; ///< the device's outputs, which a computer calls inputs
    std::vector<std::string> toDevice;
};

inline constexpr std::uint16_t TransferLength = 64; ///< bytes, of both endpoints
inline constexpr std::uint8_t MidiEndpoint = 1;     ///< the number of both endpoints

/// The types by which a computer asks for them.
enum DescriptorType : std::uint8_t {
    DeviceType = 1,
    ConfigurationType = 2,
    StringType = 3,
};

struct DeviceDescriptors
{
    midi::ByteMessage device;
    midi::ByteMessage configuration;
    std::vector<midi::ByteMessage> strings; ///< by their index; the first lists the languages
};

[[nodiscard]] DeviceDescriptors describe(const DeviceNames &names);

} // namespace usbmidi
