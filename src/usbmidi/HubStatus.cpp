#include "usbmidi/HubStatus.h"

#include <QFile>
#include <QStringList>

#include <algorithm>
#include <vector>

namespace usbmidi
{
namespace
{

constexpr char StatusPath[] = "/sys/devices/platform/vhci_hcd.0/status";

/// One line of the table: hub, port, state, speed, device, socket, name.
std::optional<HubPort> readPort(const QString &line)
{
    constexpr int FreeState = 4;
    constexpr qsizetype Columns = 7;
    const QStringList words = line.simplified().split(' ');
    if (words.size() != Columns || (words[0] != "hs" && words[0] != "ss"))
        return std::nullopt;
    return HubPort{words[1].toInt(), words[0] == "ss", words[2].toInt() == FreeState, words[6]};
}

std::vector<HubPort> readPorts()
{
    std::vector<HubPort> ports;
    QFile file(StatusPath);
    if (!file.open(QIODevice::ReadOnly))
        return ports;
    for (const QString &line : QString::fromLatin1(file.readAll()).split('\n')) {
        if (const auto port = readPort(line))
            ports.push_back(*port);
    }
    return ports;
}

template <typename Predicate>
std::optional<HubPort> findPort(Predicate predicate)
{
    const auto ports = readPorts();
    const auto found = std::ranges::find_if(ports, predicate);
    return found == ports.end() ? std::nullopt : std::optional(*found);
}

} // namespace

std::optional<HubPort> hubPort(int number)
{
    return findPort([number](const HubPort &port) { return port.number == number; });
}

std::optional<HubPort> freePort()
{
    return findPort([](const HubPort &port) { return port.free && !port.fast; });
}

} // namespace usbmidi
