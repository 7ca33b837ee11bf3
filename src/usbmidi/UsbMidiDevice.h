#pragma once

#include "usbmidi/ControlRequests.h"
#include "usbmidi/PacketReader.h"
#include "usbmidi/TransferPace.h"
#include "usbmidi/UsbIpMessages.h"

#include <QLocalSocket>
#include <QObject>
#include <QTimer>

#include <deque>

namespace usbmidi
{

/// One plugged-in USB-MIDI device: answers what the kernel asks through a socket and carries
/// messages both ways, each at its pace. Lives on the main thread, whose event loop it needs.
class UsbMidiDevice : public QObject
{
    Q_OBJECT

public:
    /// Takes over `socket`. `bytesPerMs` is how many bytes of messages pass in a millisecond, each
    /// way; without it as many as the kernel likes.
    UsbMidiDevice(const DeviceNames &names, std::optional<double> bytesPerMs, int socket,
                  QObject *parent = nullptr);
    ~UsbMidiDevice() override;
    Q_DISABLE_COPY_MOVE(UsbMidiDevice)

    /// To the computer, in order, whenever it has room.
    void send(unsigned cable, midi::ByteView message);

    /// As above, from now on.
    void setPace(std::optional<double> bytesPerMs);

    /// A stalled device takes no messages; what the computer sends then waits there.
    void setStalled(bool stalled);

signals:
    /// Must not lead to the end of this object: connect queued.
    void received(unsigned cable, const midi::ByteMessage &message);
    /// So many bytes of a message came before another one began in the middle of it. As above.
    void dropped(unsigned cable, qulonglong length);
    /// The kernel hung up, or what it says makes no sense. As above.
    void ended();

private:
    void read();
    void handle(UsbRequest request);
    void unlink(const UsbRequest &request);
    void answer(const UsbRequest &request);
    void takeData();
    void giveData();
    void report(midi::ByteView packets);
    void write(const midi::ByteMessage &bytes);

    DeviceDescriptors m_descriptors;
    QLocalSocket m_socket;
    UsbRequestReader m_requests;
    PacketReader m_packets;
    std::deque<UsbRequest> m_toDevice;   ///< transfers that wait to be taken
    std::deque<UsbRequest> m_toComputer; ///< transfers that wait to be filled
    std::deque<std::uint8_t> m_outbox;   ///< packets for them
    TransferPace m_takePace;
    TransferPace m_givePace;
    QTimer m_takeTimer;
    QTimer m_giveTimer;
    bool m_stalled = false;
};

} // namespace usbmidi
