#include "usbmidi/UsbMidiDevice.h"

#include <algorithm>

namespace usbmidi
{
namespace
{

using Clock = TransferPace::Clock;

constexpr std::uint32_t ControlEndpoint = 0;

/// Packets as bytes of messages.
std::size_t contentLength(midi::ByteView packets)
{
    std::size_t length = 0;
    for (; packets.size() >= PacketLength; packets = packets.subspan(PacketLength))
        length += PacketContents[packets[0] & 0xFU];
    return length;
}

} // namespace

UsbMidiDevice::UsbMidiDevice(const DeviceNames &names, std::optional<double> bytesPerMs, int socket,
                             QObject *parent)
    : QObject(parent)
    , m_descriptors(describe(names))
    , m_takePace(bytesPerMs)
    , m_givePace(bytesPerMs)
{
    for (QTimer *timer : {&m_takeTimer, &m_giveTimer}) {
        timer->setSingleShot(true);
        timer->setTimerType(Qt::PreciseTimer);
    }
    m_takeTimer.callOnTimeout(this, &UsbMidiDevice::takeData);
    m_giveTimer.callOnTimeout(this, &UsbMidiDevice::giveData);
    connect(&m_socket, &QLocalSocket::readyRead, this, &UsbMidiDevice::read);
    connect(&m_socket, &QLocalSocket::disconnected, this, &UsbMidiDevice::ended);
    m_socket.setSocketDescriptor(socket);
}

UsbMidiDevice::~UsbMidiDevice()
{
    m_socket.disconnect(this); // closing it here is no news
}

void UsbMidiDevice::send(unsigned cable, midi::ByteView message)
{
    const midi::ByteMessage packets = toPackets(cable, message);
    m_outbox.insert(m_outbox.end(), packets.begin(), packets.end());
    giveData();
}

void UsbMidiDevice::setPace(std::optional<double> bytesPerMs)
{
    m_takePace = TransferPace(bytesPerMs);
    m_givePace = TransferPace(bytesPerMs);
    takeData();
    giveData();
}

void UsbMidiDevice::setStalled(bool stalled)
{
    m_stalled = stalled;
    takeData();
}

void UsbMidiDevice::read()
{
    const QByteArray bytes = m_socket.readAll();
    m_requests.append({reinterpret_cast<const std::uint8_t *>(bytes.constData()),
                       static_cast<std::size_t>(bytes.size())});
    while (auto request = m_requests.next())
        handle(std::move(*request));
    if (m_requests.isBroken()) {
        m_socket.abort();
        return;
    }
    takeData();
    giveData();
}

void UsbMidiDevice::handle(UsbRequest request)
{
    if (request.isUnlink)
        unlink(request);
    else if (request.endpoint == ControlEndpoint)
        answer(request);
    else if (request.endpoint != MidiEndpoint)
        write(transferReply(request, UsbStatus::Refused, 0));
    else if (request.toComputer)
        m_toComputer.push_back(std::move(request));
    else
        m_toDevice.push_back(std::move(request));
}

void UsbMidiDevice::unlink(const UsbRequest &request)
{
    const auto isMeant = [&](const UsbRequest &waiting) {
        return waiting.number == request.unlinked;
    };
    const bool waited =
        std::erase_if(m_toComputer, isMeant) + std::erase_if(m_toDevice, isMeant) > 0;
    write(unlinkReply(request, waited ? UsbStatus::Unlinked : UsbStatus::Done));
}

void UsbMidiDevice::answer(const UsbRequest &request)
{
    const auto found = answerControl(m_descriptors, request.setup);
    if (!found) {
        write(transferReply(request, UsbStatus::Refused, 0));
        return;
    }
    const midi::ByteView bytes =
        midi::ByteView(*found).first(std::min<std::size_t>(found->size(), request.length));
    if (request.toComputer)
        write(transferReply(request, UsbStatus::Done, bytes.size(), bytes));
    else
        write(transferReply(request, UsbStatus::Done, request.length));
}

/// Completes transfers to the device as the pace allows; until then the computer sees them as not
/// yet taken.
void UsbMidiDevice::takeData()
{
    const auto now = Clock::now();
    while (!m_stalled && !m_toDevice.empty() && m_takePace.wait(now).count() == 0) {
        const UsbRequest request = std::move(m_toDevice.front());
        m_toDevice.pop_front();
        m_takePace.passed(contentLength(request.data), now);
        write(transferReply(request, UsbStatus::Done, request.data.size()));
        report(request.data);
    }
    if (!m_stalled && !m_toDevice.empty())
        m_takeTimer.start(m_takePace.wait(now));
}

void UsbMidiDevice::giveData()
{
    const auto now = Clock::now();
    while (!m_outbox.empty() && !m_toComputer.empty() && m_givePace.wait(now).count() == 0) {
        const UsbRequest request = std::move(m_toComputer.front());
        m_toComputer.pop_front();
        const std::size_t length = std::min<std::size_t>(request.length, TransferLength);
        const std::size_t room = length - length % PacketLength;
        const auto end =
            m_outbox.begin() + static_cast<std::ptrdiff_t>(std::min(room, m_outbox.size()));
        const midi::ByteMessage packets(m_outbox.begin(), end);
        m_outbox.erase(m_outbox.begin(), end);
        m_givePace.passed(contentLength(packets), now);
        write(transferReply(request, UsbStatus::Done, packets.size(), packets));
    }
    if (!m_outbox.empty() && !m_toComputer.empty())
        m_giveTimer.start(m_givePace.wait(now));
}

void UsbMidiDevice::report(midi::ByteView packets)
{
    for (const PacketReader::Message &message : m_packets.read(packets)) {
        if (message.whole)
            emit received(message.cable, message.bytes);
        else
            emit dropped(message.cable, message.bytes.size());
    }
}

void UsbMidiDevice::write(const midi::ByteMessage &bytes)
{
    m_socket.write(reinterpret_cast<const char *>(bytes.data()), static_cast<qint64>(bytes.size()));
}

} // namespace usbmidi
