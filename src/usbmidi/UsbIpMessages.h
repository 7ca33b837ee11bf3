#pragma once

#include "usbmidi/ControlRequests.h"

#include <optional>

/// The messages of USB/IP, in which the kernel hands transfers to a device and the device completes
/// them. Pure.
namespace usbmidi
{

/// A transfer, or the wish to take an earlier one back.
struct UsbRequest
{
    std::uint32_t number = 0;
    bool isUnlink = false;
    std::uint32_t unlinked = 0; ///< with isUnlink: the number of the transfer that is not wanted
    bool toComputer = false;
    std::uint32_t endpoint = 0;
    std::uint32_t length = 0; ///< bytes that the computer sent or has room for
    SetupPacket setup{};
    midi::ByteMessage data; ///< what the computer sent
};

/// Results of a transfer, as the kernel counts errors.
enum class UsbStatus : std::int32_t { Done = 0, Refused = -32, Unlinked = -104 };

/// Cuts the stream from the kernel into requests.
class UsbRequestReader
{
public:
    /// No transfer of a MIDI device is anywhere near as long, so a longer one means a stream that
    /// is out of step.
    static constexpr std::uint32_t MaxTransferLength = 65536;

    void append(midi::ByteView bytes);
    /// The next request that arrived whole.
    [[nodiscard]] std::optional<UsbRequest> next();
    /// The stream makes no sense, and nothing more can be read from it.
    [[nodiscard]] bool isBroken() const { return m_broken; }

private:
    midi::ByteMessage m_bytes;
    std::size_t m_read = 0; ///< of m_bytes
    bool m_broken = false;
};

/// Completes a transfer. `actual` counts the bytes that passed, which are `data` on the way to the
/// computer.
[[nodiscard]] midi::ByteMessage transferReply(const UsbRequest &request, UsbStatus status,
                                              std::size_t actual, midi::ByteView data = {});

/// `status` is Unlinked when the transfer was still waiting, else Done.
[[nodiscard]] midi::ByteMessage unlinkReply(const UsbRequest &request, UsbStatus status);

} // namespace usbmidi
