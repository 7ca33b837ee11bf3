#pragma once

#include <chrono>
#include <cstddef>
#include <optional>

namespace usbmidi
{

/// When the next transfer may take place so that bytes pass at a given pace on average: what a late
/// timer missed is made up for, but no more than a little. Pure, without a clock of its own.
class TransferPace
{
public:
    using Clock = std::chrono::steady_clock;

    /// Without a pace, a positive number, transfers are always due.
    explicit TransferPace(std::optional<double> bytesPerMs)
        : m_bytesPerMs(bytesPerMs)
    {}

    /// How long until the next transfer is due; zero when it is.
    [[nodiscard]] std::chrono::milliseconds wait(Clock::time_point now) const;

    void passed(std::size_t bytes, Clock::time_point now);

private:
    std::optional<double> m_bytesPerMs;
    Clock::time_point m_due;
};

} // namespace usbmidi
