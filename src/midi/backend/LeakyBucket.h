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
    using Time = std::chrono::steady_clock::time_point;

    constexpr LeakyBucket(double capacity, double bytesPerMs)
        : m_capacity(capacity)
        , m_bytesPerMs(bytesPerMs)
    {}

    /// Whether `bytes` more, at most the capacity, fit at `now`; they are then in the bucket.
    [[nodiscard]] constexpr bool take(std::size_t bytes, Time now)
    {
        const std::chrono::duration<double, std::milli> passed = now - m_last;
        m_last = now;
        m_level = std::max(0.0, m_level - passed.count() * m_bytesPerMs);
        const double level = m_level + static_cast<double>(bytes);
        if (level > m_capacity)
            return false;
        m_level = level;
        return true;
    }

private:
    double m_capacity;   ///< bytes
    double m_bytesPerMs; ///< that leak out
    double m_level = 0;  ///< bytes inside at m_last
    Time m_last{};
};

} // namespace midi
