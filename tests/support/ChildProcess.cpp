#include "support/ChildProcess.h"

#ifdef Q_OS_LINUX
#include <csignal>
#include <sys/prctl.h>
#endif

namespace testsupport
{
namespace
{

/// A JACK server is of no use for tens of seconds after a client was killed, so a busy process gets
/// the time that it needs to leave.
constexpr int StopTimeoutMs = 60000;

} // namespace

void endWithParent([[maybe_unused]] QProcess &process)
{
#ifdef Q_OS_LINUX
    process.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
#endif
}

void stop(QProcess &process)
{
    if (process.state() == QProcess::NotRunning)
        return;
    process.terminate();
    if (process.waitForFinished(StopTimeoutMs))
        return;
    process.kill();
    process.waitForFinished(StopTimeoutMs);
}

} // namespace testsupport
