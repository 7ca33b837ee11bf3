#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>

namespace midi
{

/// Says how much may be handed to somebody who does not tell how much room there is: at first
/// `capacity` bytes, then as much as leaks out meanwhile. Knows no clock: the time is an argument.
class LeakyBucket
{
public:
    constexpr LeakyBucket(double capacity, double bytesPerMs)
        : m_capacity(capacity)
        , m_bytesPerMs(bytesPerMs)
    {}

    /// Whether `bytes` more, at most the capacity, fit at `now`; they are then in the bucket.
    [[nodiscard]] constexpr bool take(std::size_t bytes, std::chrono::steady_clock::time_point now)
    {
        const std::chrono::duration<double, std::milli> passed = now - m_last;
        m_last = now;
        m_level = std::max(0.0, m_level - passed.count() * m_bytesPerMs);
        const double level = m_level + static_cast<double>(bytes);
        const bool fits = level <= m_capacity;
        if (fits)
            m_level = level;
        return fits;
    }

private:
    double m_capacity;
    double m_bytesPerMs;
    double m_level = 0; ///< bytes inside at m_last
    std::chrono::steady_clock::time_point m_last{};
};

} // namespace midi
