#pragma once

#include "simulator/SimulatedBox.h"

#include <QString>
#include <QStringList>

#include <optional>
#include <variant>

namespace simulator
{

/// What the command line of ostrel-box asks for.
struct BoxOptions
{
    BoxProfile profile; ///< of the first box; further ones count name and sysex ID on from it
    BoxFaults faults;   ///< of all boxes
    int boxes = 1;
    bool usb = false;                 ///< a USB device in place of virtual ports
    bool jackNames = false;           ///< of the USB device
    std::optional<double> bytesPerMs; ///< at which the USB device passes messages, each way
    bool exitWithStdin = false;
    bool help = false;
};

/// A sentence that names the option and what is wrong with it.
struct UsageError
{
    QString text;
};

/// `arguments` begin with the program's name.
[[nodiscard]] std::variant<BoxOptions, UsageError> parseOptions(const QStringList &arguments);

/// The faults that `arguments` name, options as on the command line and no others.
[[nodiscard]] std::variant<BoxFaults, UsageError> parseFaults(const QStringList &arguments);

/// Bytes a millisecond; nothing where `value` is no number in range.
[[nodiscard]] std::optional<double> parsePace(const QString &value);

[[nodiscard]] QString usageLine();
[[nodiscard]] QString helpText();

} // namespace simulator
