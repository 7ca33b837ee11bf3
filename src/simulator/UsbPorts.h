#pragma once

#include "simulator/BoxTransport.h"

#include "usbmidi/SequencerPorts.h"
#include "usbmidi/UsbMidiDevice.h"
#include "usbmidi/VirtualHubPort.h"

#include <QDeadlineTimer>
#include <QTimer>

#include <memory>
#include <optional>

namespace simulator
{

/// A USB-MIDI device of this computer with the inputs and outputs of a real box, of which one pair
/// leads to the boxes. Takes a while to open: until the kernel's sequencer has the device's ports.
/// Lives on the main thread.
class UsbPorts : public BoxTransport
{
    Q_OBJECT

public:
    /// Why this process cannot have USB devices; nothing when it can.
    [[nodiscard]] static std::optional<QString> obstacle();

    /// With `jackNames` the device names its jacks. `bytesPerMs` is how many bytes of messages pass
    /// in a millisecond, each way; without it as many as the kernel likes.
    UsbPorts(bool jackNames, std::optional<double> bytesPerMs, QObject *parent = nullptr);
    ~UsbPorts() override;
    Q_DISABLE_COPY_MOVE(UsbPorts)

    void open() override;
    /// Returns when the sequencer's ports are gone, or after some seconds.
    void close() override;
    [[nodiscard]] bool isOpen() const override { return m_client.has_value(); }
    [[nodiscard]] std::vector<PairNames> pairs() const override;
    void send(std::size_t pair, const midi::ByteMessage &message) override;
    [[nodiscard]] bool setStalled(bool stalled) override;
    [[nodiscard]] bool setPace(std::optional<double> bytesPerMs) override;

private:
    void serve(int socket);
    void lookForPorts();
    void lose(const QString &reason);

    usbmidi::DeviceNames m_names;
    std::optional<double> m_bytesPerMs;
    bool m_stalled = false;
    std::optional<usbmidi::VirtualHubPort> m_hubPort;
    std::unique_ptr<usbmidi::UsbMidiDevice> m_device;
    std::optional<usbmidi::SequencerClient> m_client; ///< once it has all ports
    QTimer m_lookTimer;
    QDeadlineTimer m_lookLimit;
};

} // namespace simulator
