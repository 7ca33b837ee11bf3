#pragma once

namespace process
{

/// Makes the first SIGHUP, SIGINT or SIGTERM leave the event loop, so that the program saves what
/// it holds and unregisters its ports. No window is asked whether it wants to close. A second one
/// ends the process as usual, in case something holds it up. To be called once, after the
/// application object was made; a signal that the process was started to ignore stays ignored, and
/// on a system without such signals nothing happens.
void quitOnTerminationSignals();

} // namespace process
