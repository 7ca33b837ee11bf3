#pragma once

#include <memory>

namespace midi
{

/// While this exists, every wait of this thread in the kernel is cut short after 50 ms. ALSA waits
/// twice for ten seconds when a port is closed whose device takes nothing, unless a signal comes.
/// Does nothing on other systems than Linux. Stays on its thread.
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
