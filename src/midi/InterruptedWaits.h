#pragma once

#include <memory>

namespace midi
{

/// While this exists, a signal every 50 ms cuts this thread's waits in the kernel short, as far as
/// a signal can. When a port is closed whose device takes nothing, ALSA otherwise waits twice for
/// ten seconds. Takes SIGRTMAX for that. Does nothing on other systems than Linux. Stays on its
/// thread.
class InterruptedWaits
{
public:
    InterruptedWaits();
    ~InterruptedWaits();
    InterruptedWaits(const InterruptedWaits &) = delete;
    InterruptedWaits &operator=(const InterruptedWaits &) = delete;

private:
    struct Timer;
    std::unique_ptr<Timer> m_timer; ///< null where the system gave none
};

} // namespace midi
