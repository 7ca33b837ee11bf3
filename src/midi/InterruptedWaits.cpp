#include "midi/InterruptedWaits.h"

#ifdef __linux__
#include <csignal>
#include <ctime>
#include <unistd.h>
#endif

namespace midi
{

#ifdef __linux__

namespace
{

constexpr long IntervalNs = 50'000'000;

/// Its handler does nothing, and stays.
int signalNumber()
{
    static const int number = [] {
        struct sigaction action = {};
        action.sa_handler = [](int) {};
        sigaction(SIGRTMAX, &action, nullptr);
        return SIGRTMAX;
    }();
    return number;
}

} // namespace

struct InterruptedWaits::Timer
{
    timer_t id{};
};

InterruptedWaits::InterruptedWaits()
{
    sigevent event{};
    event.sigev_notify = SIGEV_THREAD_ID;
    event.sigev_signo = signalNumber();
    event._sigev_un._tid = gettid(); // the name that the manual gives it came with later headers
    Timer timer;
    if (timer_create(CLOCK_MONOTONIC, &event, &timer.id) != 0)
        return;
    m_timer = std::make_unique<Timer>(timer);
    const itimerspec times{{0, IntervalNs}, {0, IntervalNs}};
    timer_settime(timer.id, 0, &times, nullptr);
}

InterruptedWaits::~InterruptedWaits()
{
    if (m_timer)
        timer_delete(m_timer->id);
}

#else

struct InterruptedWaits::Timer
{
};

InterruptedWaits::InterruptedWaits() = default;
InterruptedWaits::~InterruptedWaits() = default;

#endif

} // namespace midi
