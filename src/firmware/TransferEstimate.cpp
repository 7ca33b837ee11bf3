#include "firmware/TransferEstimate.h"

#include <algorithm>
#include <limits>

void TransferEstimate::start(std::uint32_t total)
{
    *this = TransferEstimate();
    m_total = total;
}

void TransferEstimate::moveTo(std::uint32_t position, Milliseconds elapsed)
{
    position = std::min(position, m_total);
    if (position > m_position)
        m_accepted += position - m_position;
    m_position = position;
    if (m_accepted == 0 || elapsed < WarmUp)
        return;
    const auto left = static_cast<double>(m_total - m_position);
    const double seconds =
        left * static_cast<double>(elapsed.count()) / (1000.0 * static_cast<double>(m_accepted));
    constexpr double Largest = std::numeric_limits<int>::max() - 1;
    const auto whole = static_cast<int>(std::min(seconds, Largest));
    m_secondsLeft = whole + (seconds > whole ? 1 : 0);
}
