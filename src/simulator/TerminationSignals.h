#pragma once

namespace simulator
{

/// Makes the first SIGINT or SIGTERM end the event loop, so that ports are unregistered; a second
/// one ends the process as usual, in case the MIDI service holds it up.
void quitOnTerminationSignals();

} // namespace simulator
