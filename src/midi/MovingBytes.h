#pragma once

#include <chrono>
#include <cstdint>

namespace midi
{

/// Tells a slow box from a silent one, by QtRtMIDI::movedBytes(). Whoever waits for an answer asks
/// this each time that patience runs out, and waits on when it says so.
class MovingBytes
{
public:
    /// `count` is that of the moment at which the wait began.
    explicit constexpr MovingBytes(std::uint64_t count = 0)
        : m_last(count)
    {}

    /// Whether at least a byte a millisecond moved since the last call, which was `passed` ago.
    /// False for good once the largest frame had the time to come from an old MIDI plug.
    [[nodiscard]] constexpr bool stillMove(std::uint64_t count, std::chrono::milliseconds passed)
    {
        constexpr std::chrono::milliseconds LongestWait{4500};
        const bool moved = count - m_last >= static_cast<std::uint64_t>(passed.count());
        m_last = count;
        m_waited += passed;
        return moved && m_waited < LongestWait;
    }

private:
    std::uint64_t m_last;
    std::chrono::milliseconds m_waited{0};
};

} // namespace midi
