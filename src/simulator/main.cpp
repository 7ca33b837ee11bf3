#include "process/TerminationSignals.h"
#include "simulator/BoxOptions.h"
#include "simulator/BoxRunner.h"
#include "simulator/CommandInput.h"
#include "simulator/VirtualPorts.h"
#ifdef OSTREL_USB_DEVICES
#include "simulator/UsbPorts.h"
#endif

#include <QCoreApplication>

#include <iostream>
#include <memory>
#include <optional>

namespace
{

constexpr int NoPorts = 1;
constexpr int BadUsage = 2;
constexpr int NoUsb = 2;

/// Why this computer cannot have the box as a USB device; nothing when it can.
std::optional<QString> usbObstacle()
{
#ifdef OSTREL_USB_DEVICES
    return simulator::UsbPorts::obstacle();
#else
    return QString("USB devices can be made on Linux only");
#endif
}

std::unique_ptr<simulator::BoxTransport>
createPorts([[maybe_unused]] const simulator::BoxOptions &options)
{
#ifdef OSTREL_USB_DEVICES
    if (options.usb)
        return std::make_unique<simulator::UsbPorts>(options.jackNames, options.bytesPerMs);
#endif
    return std::make_unique<simulator::VirtualPorts>();
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const auto parsed = simulator::parseOptions(QCoreApplication::arguments());
    if (const auto *error = std::get_if<simulator::UsageError>(&parsed)) {
        std::cerr << "ostrel-box: " << error->text.toStdString() << '\n'
                  << simulator::usageLine().toStdString() << std::endl;
        return BadUsage;
    }
    const auto &options = *std::get_if<simulator::BoxOptions>(&parsed);
    if (options.help) {
        std::cout << simulator::helpText().toStdString();
        return 0;
    }

    if (const auto obstacle = options.usb ? usbObstacle() : std::nullopt) {
        std::cerr << "ostrel-box: --usb: " << obstacle->toStdString() << std::endl;
        return NoUsb;
    }

    process::quitOnTerminationSignals();
    simulator::BoxRunner runner(options, createPorts(options));
    QObject::connect(&runner, &simulator::BoxRunner::startFailed, &application,
                     [] { QCoreApplication::exit(NoPorts); });
    // An exit is heard from within the event loop only.
    QMetaObject::invokeMethod(&runner, &simulator::BoxRunner::start, Qt::QueuedConnection);
    simulator::CommandInput input;
    QObject::connect(&input, &simulator::CommandInput::line, &runner,
                     &simulator::BoxRunner::command);
    if (options.exitWithStdin)
        QObject::connect(&input, &simulator::CommandInput::ended, &application,
                         &QCoreApplication::quit);
    return QCoreApplication::exec();
}
