#include "bench/BareExchange.h"

#include <stdexcept>

namespace
{

void require(const midi::ErrorText &error)
{
    if (!error.empty())
        throw std::runtime_error(error);
}

} // namespace

BareExchange::BareExchange(const char *inputPort, const char *outputPort)
{
    midi::ErrorText error;
    m_backend = midi::Backend::make(
        {}, [this](const midi::ByteMessage &) { arrived(); }, error);
    if (!m_backend)
        throw std::runtime_error(error);
    midi::PortLists ports;
    require(m_backend->listPorts(ports));
    const std::vector<midi::PortPair> pairs = midi::findPairs(ports, inputPort, outputPort);
    if (pairs.empty())
        throw std::runtime_error("no such ports");
    require(m_backend->open(pairs[0].input, pairs[0].output));
}

void BareExchange::send(const midi::ByteMessage &message)
{
    require(m_backend->send(message));
}

bool BareExchange::exchange(const midi::ByteMessage &message, std::chrono::milliseconds timeout)
{
    expectAnswer();
    send(message);
    return awaitAnswer(timeout);
}

void BareExchange::expectAnswer()
{
    const std::lock_guard lock(m_mutex);
    m_answered = false;
}

bool BareExchange::awaitAnswer(std::chrono::milliseconds timeout)
{
    std::unique_lock lock(m_mutex);
    return m_arrived.wait_for(lock, timeout, [this] { return m_answered; });
}

void BareExchange::arrived()
{
    {
        const std::lock_guard lock(m_mutex);
        m_answered = true;
    }
    m_arrived.notify_one();
}
