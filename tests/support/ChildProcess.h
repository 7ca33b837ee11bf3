#pragma once

#include <QProcess>

namespace testsupport
{

/// Lets `process`, which has not been started, end with this one however this one ends: a test
/// that crashes or is killed leaves nothing running.
void endWithParent(QProcess &process);

/// Asks `process` to end, kills it when it does not within a few seconds, and waits until it is
/// gone.
void stop(QProcess &process);

} // namespace testsupport
