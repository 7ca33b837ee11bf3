#include "simulator/PacedOutput.h"

#include <algorithm>
#include <chrono>

namespace simulator
{
namespace
{

constexpr std::int64_t NanosecondsPerMillisecond = 1'000'000;

} // namespace

PacedOutput::PacedOutput(const OutputPace &pace, Sink sink, QObject *parent)
    : QObject(parent)
    , m_pace(pace)
    , m_sink(std::move(sink))
    , m_allowance(pace.atOnce)
{
    m_clock.start();
    m_timer.setTimerType(Qt::PreciseTimer);
    m_timer.setInterval(std::chrono::milliseconds(1));
    m_timer.callOnTimeout(this, &PacedOutput::sendWaiting);
}

void PacedOutput::send(midi::ByteMessage message)
{
    m_waiting.push_back(std::move(message));
    if (m_waiting.size() == 1)
        sendWaiting();
}

void PacedOutput::refill()
{
    const std::int64_t gained =
        m_clock.nsecsElapsed() * m_pace.bytesPerMs / NanosecondsPerMillisecond;
    if (gained == 0)
        return;
    m_clock.restart();
    m_allowance = std::min(m_allowance + gained, m_pace.atOnce);
}

void PacedOutput::sendWaiting()
{
    refill();
    while (!m_waiting.empty() && m_allowance > 0) {
        const midi::ByteMessage message = std::move(m_waiting.front());
        m_waiting.pop_front();
        m_allowance -= static_cast<std::int64_t>(message.size()) + m_pace.messageOverhead;
        m_sink(message);
    }
    if (m_waiting.empty())
        m_timer.stop();
    else if (!m_timer.isActive())
        m_timer.start();
}

} // namespace simulator
