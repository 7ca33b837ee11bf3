#pragma once

#include "midi/DataBlockFrame.h"

#include <cstdint>

namespace midi
{

/// Tells a slow device from a silent one, by a count that changes whenever bytes move to or from it
/// (see MidiClients::movedBytes()). Whoever waits for an answer asks this each time that patience
/// runs out.
class MovingBytes
{
public:
    /// `count` is that of the moment at which the wait began.
    explicit constexpr MovingBytes(std::uint64_t count = 0)
        : m_first(count)
        , m_last(count)
    {}

    /// Whether bytes moved since the last call. False once more have than any exchange takes, since
    /// a device may send other things without an end.
    [[nodiscard]] constexpr bool stillMove(std::uint64_t count)
    {
        constexpr std::uint64_t LongestExchange = 2 * MaxFrameLength;
        const bool moved = count != m_last;
        m_last = count;
        return moved && (count < m_first || count - m_first <= LongestExchange);
    }

private:
    std::uint64_t m_first;
    std::uint64_t m_last;
};

} // namespace midi
