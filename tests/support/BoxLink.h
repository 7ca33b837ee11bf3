#pragma once

#include "midi/protocol/Bytes.h"

#include <functional>

class QtRtMIDI;

namespace testsupport
{

inline constexpr char InputPortName[] = "MIDIIN4 (Ostrel)";
inline constexpr char OutputPortName[] = "MIDIOUT6 (Ostrel)";

/// Finds the simulated box by its port names, opens the ports, and waits until a message has made
/// its way there and back: a service under load may lose what is sent at the very moment of
/// connecting. Leaves `midi` in polling mode; a late identity reply may still be on its way.
[[nodiscard]] bool connectToBox(QtRtMIDI &midi, std::uint8_t sysexId);

/// The next message for which `wanted` holds, in polling mode and while the event loop runs; what
/// comes before it is thrown away. Empty when none came in time.
[[nodiscard]] midi::ByteMessage awaitMessage(QtRtMIDI &midi,
                                             const std::function<bool(midi::ByteView)> &wanted,
                                             int timeoutMs = 20000);

} // namespace testsupport
