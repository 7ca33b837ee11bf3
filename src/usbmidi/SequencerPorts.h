#pragma once

#include <QString>
#include <QStringList>

#include <optional>

/// Where a plugged MIDI device is found in ALSA's sequencer.
namespace usbmidi
{

/// The client of the sequencer that a sound card's first MIDI device has.
struct SequencerClient
{
    int number = 0;
    QString name;
    QStringList ports; ///< by their numbers; "" where there is none with that number

    /// As MIDI programs show it: "Client:Port 16:3".
    [[nodiscard]] QString portName(qsizetype port) const;
};

/// Looks into `listing`, the text of /proc/asound/seq/clients. Nothing while there is no such
/// client.
[[nodiscard]] std::optional<SequencerClient> readClient(const QString &listing, int number);

/// Asks the kernel for the client of the USB device that it calls `deviceName`, such as "3-1".
/// Nothing while the device's sound card or its client is not there (yet).
[[nodiscard]] std::optional<SequencerClient> sequencerClient(const QString &deviceName);

/// Whether the sequencer (still) has the client.
[[nodiscard]] bool hasClient(int number);

} // namespace usbmidi
