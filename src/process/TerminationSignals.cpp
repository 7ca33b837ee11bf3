#include "process/TerminationSignals.h"

#include <QCoreApplication>

#ifdef Q_OS_UNIX
#include <QSocketNotifier>

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>
#endif

namespace process
{

#ifdef Q_OS_UNIX

namespace
{

constexpr std::array<int, 3> Signals{SIGHUP, SIGINT, SIGTERM};

/// A signal handler may do little more than write: the loop reads the other end.
int wakeUpPipe[2] = {-1, -1};

void onSignal(int /*signal*/)
{
    const int interruptedError = errno;
    const char byte = 0;
    [[maybe_unused]] const auto written = ::write(wakeUpPipe[1], &byte, 1);
    errno = interruptedError;
}

bool openPipe()
{
    if (::pipe(wakeUpPipe) != 0)
        return false;
    for (const int end : wakeUpPipe)
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
    return true;
}

void handle(int signal)
{
    struct sigaction current = {};
    ::sigaction(signal, nullptr, &current);
    if (current.sa_handler == SIG_IGN)
        return;
    struct sigaction action = {};
    action.sa_handler = onSignal;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    ::sigaction(signal, &action, nullptr);
}

} // namespace

void quitOnTerminationSignals()
{
    if (!openPipe())
        return;
    auto *notifier =
        new QSocketNotifier(wakeUpPipe[0], QSocketNotifier::Read, QCoreApplication::instance());
    QObject::connect(notifier, &QSocketNotifier::activated, notifier, [notifier] {
        notifier->setEnabled(false);
        // Not quit(), which a window may refuse.
        QCoreApplication::exit();
    });
    for (const int signal : Signals)
        handle(signal);
}

#else

void quitOnTerminationSignals() {}

#endif

} // namespace process
