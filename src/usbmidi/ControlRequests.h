#pragma once

#include "usbmidi/DeviceDescriptors.h"

#include <array>
#include <optional>

/// What a computer asks of a device before it uses it.
namespace usbmidi
{

/// The eight bytes that begin each control transfer.
using SetupPacket = std::array<std::uint8_t, 8>;

/// What the device answers on its control endpoint, uncut; empty where a request has no answer
/// but success. Nothing for a request that it refuses.
[[nodiscard]] std::optional<midi::ByteMessage> answerControl(const DeviceDescriptors &descriptors,
                                                             const SetupPacket &setup);

} // namespace usbmidi
