#include "usbmidi/TransferPace.h"

#include <algorithm>

namespace usbmidi
{
namespace
{

/// What is made up for. Longer than a timer is late on a loaded machine, yet short enough that a
/// pause between two messages is no licence to send the second one at once.
constexpr std::chrono::milliseconds MaxArrears{20};

} // namespace

std::chrono::milliseconds TransferPace::wait(Clock::time_point now) const
{
    if (!m_bytesPerMs || now >= m_due)
        return std::chrono::milliseconds(0);
    return std::chrono::ceil<std::chrono::milliseconds>(m_due - now);
}

void TransferPace::passed(std::size_t bytes, Clock::time_point now)
{
    if (!m_bytesPerMs)
        return;
    const std::chrono::duration<double, std::milli> time(static_cast<double>(bytes) /
                                                         *m_bytesPerMs);
    m_due = std::max(m_due, now - MaxArrears) + std::chrono::ceil<Clock::duration>(time);
}

} // namespace usbmidi
