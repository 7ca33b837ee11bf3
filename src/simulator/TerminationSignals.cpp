#include "simulator/TerminationSignals.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace simulator
{
namespace
{

/// A signal handler may do little more than write: the loop reads the other end.
int wakeUpPipe[2] = {-1, -1};

void onSignal(int /*signal*/)
{
    const char byte = 0;
    [[maybe_unused]] const auto written = ::write(wakeUpPipe[1], &byte, 1);
}

} // namespace

void quitOnTerminationSignals()
{
    if (::pipe2(wakeUpPipe, O_CLOEXEC) != 0)
        return;
    auto *notifier =
        new QSocketNotifier(wakeUpPipe[0], QSocketNotifier::Read, QCoreApplication::instance());
    QObject::connect(notifier, &QSocketNotifier::activated, notifier, [notifier] {
        notifier->setEnabled(false);
        QCoreApplication::quit();
    });

    struct sigaction action = {};
    action.sa_handler = onSignal;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);
}

} // namespace simulator
