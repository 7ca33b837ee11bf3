#include "usbmidi/VirtualHubPort.h"

#include "usbmidi/HubStatus.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QThread>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace usbmidi
{
namespace
{

constexpr char HubPath[] = "/sys/devices/platform/vhci_hcd.0";
constexpr char AttachPath[] = "/sys/devices/platform/vhci_hcd.0/attach";
constexpr char DetachPath[] = "/sys/devices/platform/vhci_hcd.0/detach";

constexpr int FullSpeed = 2;
constexpr int DeviceIdBase = 0x10001; ///< bus 1, device 1; the kernel only wants one each
/// Another process may be quicker with a port that was free a moment ago.
constexpr int AttachAttempts = 8;
constexpr std::chrono::milliseconds DetachLimit{2000};
constexpr unsigned long DetachPauseMs = 2;

/// "" when the kernel took it, else its reason.
QString tell(const char *path, const QString &text)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::ExistingOnly | QIODevice::Unbuffered) ||
        file.write(text.toLatin1()) != text.size())
        return file.errorString();
    return {};
}

} // namespace

std::optional<QString> VirtualHubPort::obstacle()
{
    if (!QFile::exists(HubPath))
        return QString("the kernel's module vhci-hcd is not loaded (modprobe vhci-hcd): no %1")
            .arg(HubPath);
    if (::access(AttachPath, W_OK) != 0)
        return QString("no rights to plug in USB devices: cannot write %1: %2")
            .arg(AttachPath, std::strerror(errno));
    return std::nullopt;
}

std::variant<VirtualHubPort, QString> VirtualHubPort::attach()
{
    if (const auto reason = obstacle())
        return *reason;
    std::array<int, 2> ends{-1, -1};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
        return QString("no socket: %1").arg(std::strerror(errno));
    QString problem;
    for (int attempt = 0; attempt < AttachAttempts; ++attempt) {
        const auto port = freePort();
        if (!port) {
            problem = "all ports of the kernel's virtual USB hub are taken";
            break;
        }
        problem = tell(AttachPath, QString("%1 %2 %3 %4")
                                       .arg(port->number)
                                       .arg(ends[1])
                                       .arg(DeviceIdBase + port->number)
                                       .arg(FullSpeed));
        if (problem.isEmpty()) {
            ::close(ends[1]); // the kernel holds it on its own
            return VirtualHubPort(port->number, ends[0]);
        }
    }
    ::close(ends[0]);
    ::close(ends[1]);
    return "cannot plug in the USB device: " + problem;
}

VirtualHubPort::VirtualHubPort(VirtualHubPort &&other) noexcept
    : m_number(std::exchange(other.m_number, -1))
    , m_socket(std::exchange(other.m_socket, -1))
{}

VirtualHubPort::~VirtualHubPort()
{
    detach();
    if (m_socket >= 0)
        ::close(m_socket);
}

int VirtualHubPort::takeSocket()
{
    return std::exchange(m_socket, -1);
}

QString VirtualHubPort::deviceName() const
{
    const auto state = hubPort(m_number);
    return !state || state->free || state->deviceName == "0-0" ? QString() : state->deviceName;
}

void VirtualHubPort::detach()
{
    const int number = std::exchange(m_number, -1);
    if (number < 0)
        return;
    // Refused when somebody else was quicker; then it is gone as well.
    tell(DetachPath, QString::number(number));
    const QDeadlineTimer limit(DetachLimit);
    for (auto state = hubPort(number); state && !state->free && !limit.hasExpired();
         state = hubPort(number))
        QThread::msleep(DetachPauseMs);
}

} // namespace usbmidi
