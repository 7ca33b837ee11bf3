#pragma once

#include <chrono>
#include <cstdint>

/// How far a transfer has come and how long it will still take, for people to look at. Knows no
/// clock: whoever uses it says how long the transfer has been running.
class TransferEstimate
{
public:
    using Milliseconds = std::chrono::milliseconds;

    static constexpr int Unknown = -1;
    /// Before this much time there is too little to judge the speed by.
    static constexpr Milliseconds WarmUp{1000};

    void start(std::uint32_t total);
    /// The transfer stands at `position`: everything before it has been accepted. A position before
    /// the last one means that the box wants something again.
    void moveTo(std::uint32_t position, Milliseconds elapsed);
    /// The transfer is over; where it stood stays, the time left is unknown.
    void stop() { m_secondsLeft = Unknown; }

    [[nodiscard]] std::uint32_t bytesSent() const { return m_position; }
    [[nodiscard]] std::uint32_t bytesTotal() const { return m_total; }
    /// Rounded up; Unknown before the speed can be judged and when nothing is under way.
    [[nodiscard]] int secondsLeft() const { return m_secondsLeft; }

private:
    std::uint32_t m_total = 0;
    std::uint32_t m_position = 0;
    std::uint64_t m_accepted = 0; ///< bytes, those that had to be sent again included
    int m_secondsLeft = Unknown;
};
