#include "usbmidi/SequencerPorts.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

namespace usbmidi
{
namespace
{

constexpr char ListingPath[] = "/proc/asound/seq/clients";

/// How the sequencer numbers the clients of cards.
constexpr int FirstCardClient = 16;
constexpr int ClientsPerCard = 4;
constexpr int MaxPorts = 256;

QString readListing()
{
    QFile file(ListingPath);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

std::optional<int> cardOf(const QString &deviceName)
{
    // The card belongs to one of the device's interfaces, each a folder like "3-1:1.0".
    const QDir device("/sys/bus/usb/devices/" + deviceName);
    for (const QString &interface : device.entryList({deviceName + ":*"}, QDir::Dirs)) {
        const QStringList cards =
            QDir(device.filePath(interface + "/sound")).entryList({"card*"}, QDir::Dirs);
        if (!cards.isEmpty())
            return cards.first().mid(qsizetype(std::size("card")) - 1).toInt();
    }
    return std::nullopt;
}

} // namespace

QString SequencerClient::portName(qsizetype port) const
{
    return QString("%1:%2 %3:%4").arg(name, ports.value(port)).arg(number).arg(port);
}

std::optional<SequencerClient> readClient(const QString &listing, int number)
{
    static const QRegularExpression clientLine("^Client +(\\d+) : \"(.*)\"");
    static const QRegularExpression portLine("^ +Port +(\\d+) : \"(.*)\"");
    std::optional<SequencerClient> client;
    for (const QString &line : listing.split('\n')) {
        if (const auto match = clientLine.match(line); match.hasMatch()) {
            if (client)
                break;
            if (match.captured(1).toInt() == number)
                client = SequencerClient{number, match.captured(2), {}};
        } else if (const auto port = portLine.match(line); client && port.hasMatch()) {
            const int index = port.captured(1).toInt();
            if (index >= MaxPorts)
                continue;
            while (client->ports.size() <= index)
                client->ports.append(QString());
            client->ports[index] = port.captured(2);
        }
    }
    return client;
}

std::optional<SequencerClient> sequencerClient(const QString &deviceName)
{
    const auto card = deviceName.isEmpty() ? std::nullopt : cardOf(deviceName);
    if (!card)
        return std::nullopt;
    return readClient(readListing(), FirstCardClient + ClientsPerCard * *card);
}

bool hasClient(int number)
{
    return readClient(readListing(), number).has_value();
}

} // namespace usbmidi
