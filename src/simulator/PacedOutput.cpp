#include "simulator/PacedOutput.h"

#include <algorithm>
#include <chrono>

namespace simulator
{
namespace
{

constexpr qint64 BytesPerMillisecond = 1024;
constexpr qint64 MaxAllowance = 4 * BytesPerMillisecond;
/// What a service keeps for each message beside its bytes.
constexpr qint64 MessageOverhead = 16;
constexpr qint64 NanosecondsPerMillisecond = 1'000'000;

} // namespace

PacedOutput::PacedOutput(Sink sink, QObject *parent)
    : QObject(parent)
    , m_sink(std::move(sink))
    , m_allowance(MaxAllowance)
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
    const qint64 gained = m_clock.nsecsElapsed() * BytesPerMillisecond / NanosecondsPerMillisecond;
    if (gained == 0)
        return;
    m_clock.restart();
    m_allowance = std::min(m_allowance + gained, MaxAllowance);
}

void PacedOutput::sendWaiting()
{
    refill();
    while (!m_waiting.empty() && m_allowance > 0) {
        const midi::ByteMessage message = std::move(m_waiting.front());
        m_waiting.pop_front();
        m_allowance -= static_cast<qint64>(message.size()) + MessageOverhead;
        m_sink(message);
    }
    if (m_waiting.empty())
        m_timer.stop();
    else if (!m_timer.isActive())
        m_timer.start();
}

} // namespace simulator
