#include "process/TerminationSignals.h"
#include "simulator/BoxOptions.h"
#include "simulator/BoxRunner.h"
#include "simulator/CommandInput.h"

#include <QCoreApplication>

#include <iostream>

namespace
{

constexpr int NoPorts = 1;
constexpr int BadUsage = 2;

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

    process::quitOnTerminationSignals();
    simulator::BoxRunner runner(options);
    if (!runner.start())
        return NoPorts;
    simulator::CommandInput input;
    QObject::connect(&input, &simulator::CommandInput::line, &runner,
                     &simulator::BoxRunner::command);
    if (options.exitWithStdin)
        QObject::connect(&input, &simulator::CommandInput::ended, &application,
                         &QCoreApplication::quit);
    return QCoreApplication::exec();
}
