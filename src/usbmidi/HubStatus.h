#pragma once

#include <QString>

#include <optional>

/// What the kernel says of the ports of its virtual USB hub.
namespace usbmidi
{

/// One port of the hub and what is on it.
struct HubPort
{
    int number = -1;
    bool fast = false; ///< of the half for USB 3
    bool free = false;
    QString deviceName; ///< "0-0" while there is none
};

/// Nothing when there is no such port, or no hub.
[[nodiscard]] std::optional<HubPort> hubPort(int number);

/// The first port that a device of USB 2 or older can be put on.
[[nodiscard]] std::optional<HubPort> freePort();

} // namespace usbmidi
