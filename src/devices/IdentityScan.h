#pragma once

#include "midi/protocol/Bytes.h"

#include <functional>

class QtRtMIDI;

/// Opens pair `port` of the last scan, asks who is there, and hands over what comes within 200 ms,
/// at most a message every 10 ms, until `take` returns false. False when `port` could not be opened
/// or asked. While `expectsMore` says so, as long again is listened to a slow box. Leaves the pair
/// open and the link in callback mode. GUI thread.
[[nodiscard]] bool askWhoIsThere(
    QtRtMIDI &link, unsigned port, const std::function<bool(midi::ByteView message)> &take,
    const std::function<bool()> &expectsMore = [] { return false; });
