#include "simulator/UsbPorts.h"

#include <QThread>

#include <chrono>
#include <utility>

namespace simulator
{
namespace
{

using usbmidi::UsbMidiDevice;

constexpr char Product[] = "Ostrel";
/// The cables that lead to the boxes, the last ones each way; the others lead to sockets outside.
constexpr unsigned CableToComputer = 3;
constexpr unsigned CableToBox = 5;

constexpr std::chrono::milliseconds LookInterval{10};
constexpr std::chrono::seconds OpenLimit{10};
constexpr std::chrono::seconds CloseLimit{2};
constexpr unsigned long ClosePauseMs = 2;

usbmidi::DeviceNames deviceNames(bool jackNames)
{
    if (!jackNames)
        return {Product, std::vector<std::string>(CableToComputer + 1),
                std::vector<std::string>(CableToBox + 1)};
    return {Product,
            {"DIN 1", "DIN 2", "DIN 3", "OST Internal"},
            {"DIN 1", "DIN 2", "DIN 3", "DIN 4", "DIN 5", "OST Internal"}};
}

} // namespace

std::optional<QString> UsbPorts::obstacle()
{
    return usbmidi::VirtualHubPort::obstacle();
}

UsbPorts::UsbPorts(bool jackNames, std::optional<double> bytesPerMs, QObject *parent)
    : BoxTransport(parent)
    , m_names(deviceNames(jackNames))
    , m_bytesPerMs(bytesPerMs)
{
    m_lookTimer.setInterval(LookInterval);
    m_lookTimer.callOnTimeout(this, &UsbPorts::lookForPorts);
}

UsbPorts::~UsbPorts()
{
    UsbPorts::close();
}

void UsbPorts::open()
{
    auto attached = usbmidi::VirtualHubPort::attach();
    if (const auto *problem = std::get_if<QString>(&attached)) {
        emit lost(*problem);
        return;
    }
    m_hubPort.emplace(std::get<usbmidi::VirtualHubPort>(std::move(attached)));
    serve(m_hubPort->takeSocket());
    m_lookLimit.setRemainingTime(OpenLimit);
    m_lookTimer.start();
}

/// What the device says is taken up when it has finished saying it, since that can lead to its end.
void UsbPorts::serve(int socket)
{
    m_device = std::make_unique<UsbMidiDevice>(m_names, m_bytesPerMs, socket);
    m_device->setStalled(m_stalled);
    connect(
        m_device.get(), &UsbMidiDevice::received, this,
        [this](unsigned cable, const midi::ByteMessage &message) {
            if (cable == CableToBox)
                emit received(0, message);
        },
        Qt::QueuedConnection);
    connect(
        m_device.get(), &UsbMidiDevice::dropped, this,
        [this](unsigned cable, qulonglong length) {
            emit failed(QString("cable %1: dropped %2 bytes of a message without an end")
                            .arg(cable)
                            .arg(length));
        },
        Qt::QueuedConnection);
    connect(
        m_device.get(), &UsbMidiDevice::ended, m_device.get(),
        [this] { lose("the kernel took the USB device away"); }, Qt::QueuedConnection);
}

void UsbPorts::lookForPorts()
{
    auto client = usbmidi::sequencerClient(m_hubPort->deviceName());
    if (client && client->ports.size() > qsizetype{CableToBox}) {
        m_lookTimer.stop();
        m_client = std::move(client);
        emit opened();
    } else if (m_lookLimit.hasExpired()) {
        lose("ALSA's sequencer shows no ports of the USB device");
    }
}

void UsbPorts::lose(const QString &reason)
{
    close();
    emit lost(reason);
}

void UsbPorts::close()
{
    m_lookTimer.stop();
    m_hubPort.reset();
    // Perhaps one of its own signals led here.
    if (m_device)
        m_device.release()->deleteLater();
    const auto client = std::exchange(m_client, {});
    const QDeadlineTimer limit(CloseLimit);
    while (client && usbmidi::hasClient(client->number) && !limit.hasExpired())
        QThread::msleep(ClosePauseMs);
}

std::vector<BoxTransport::PairNames> UsbPorts::pairs() const
{
    if (!m_client)
        return {};
    return {{m_client->portName(CableToComputer).toStdString(),
             m_client->portName(CableToBox).toStdString()}};
}

void UsbPorts::send(std::size_t /*pair*/, const midi::ByteMessage &message)
{
    if (m_client)
        m_device->send(CableToComputer, message);
}

bool UsbPorts::setStalled(bool stalled)
{
    m_stalled = stalled;
    if (m_device)
        m_device->setStalled(stalled);
    return true;
}

bool UsbPorts::setPace(std::optional<double> bytesPerMs)
{
    m_bytesPerMs = bytesPerMs;
    if (m_device)
        m_device->setPace(bytesPerMs);
    return true;
}

} // namespace simulator
