#pragma once

#include <QString>

#include <optional>
#include <variant>

namespace usbmidi
{

/// A port of the kernel's virtual USB hub (module vhci-hcd) with a device on it. The kernel speaks
/// USB/IP to the device through a socket of this process; no network is involved. Takes the device
/// off when destroyed. Main thread.
class VirtualHubPort
{
public:
    /// Why this process cannot attach any device, in words for the user; nothing when it can.
    [[nodiscard]] static std::optional<QString> obstacle();

    /// Puts a full-speed device on the first free port, or tells why not. The device can answer
    /// from then on, and must, for the kernel to take it in.
    [[nodiscard]] static std::variant<VirtualHubPort, QString> attach();

    VirtualHubPort(VirtualHubPort &&other) noexcept;
    VirtualHubPort &operator=(VirtualHubPort &&) = delete;
    ~VirtualHubPort();

    /// The device's end of the connection, once; whoever takes it owns it.
    [[nodiscard]] int takeSocket();

    /// By which name the kernel knows the device, such as "3-1"; empty until it took it in.
    [[nodiscard]] QString deviceName() const;

    /// Takes the device off the hub and waits, for two seconds at most, until it is.
    void detach();

private:
    VirtualHubPort(int number, int socket)
        : m_number(number)
        , m_socket(socket)
    {}

    int m_number; ///< of the port; negative: detached
    int m_socket; ///< negative: taken
};

} // namespace usbmidi
