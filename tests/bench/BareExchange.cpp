#include "bench/BareExchange.h"

#include "midi/PortMatching.h"

#include <RtMidi.h>

#include <string>

namespace
{

void openPort(RtMidi &client, midi::NameStyle style, const char *name)
{
    std::vector<std::string> names(client.getPortCount());
    for (unsigned i = 0; i < names.size(); ++i)
        names[i] = client.getPortName(i);
    const auto port = midi::findPort(style, names, name);
    if (!port)
        throw RtMidiError("no port " + std::string(name), RtMidiError::NO_DEVICES_FOUND);
    client.openPort(*port);
}

} // namespace

BareExchange::BareExchange(const char *inputPort, const char *outputPort)
    : m_clients(midi::createMidiClients())
{
    if (!m_clients.input || !m_clients.output)
        throw RtMidiError(m_clients.error, RtMidiError::DRIVER_ERROR);
    m_clients.input->setCallback(&BareExchange::onMessage, this);
    openPort(*m_clients.input, m_clients.nameStyle, inputPort);
    openPort(*m_clients.output, m_clients.nameStyle, outputPort);
}

BareExchange::~BareExchange() = default;

void BareExchange::send(const midi::ByteMessage &message)
{
    m_clients.output->sendMessage(&message);
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

void BareExchange::onMessage(double /*timeStamp*/, std::vector<unsigned char> * /*message*/,
                             void *user)
{
    auto *self = static_cast<BareExchange *>(user);
    {
        const std::lock_guard lock(self->m_mutex);
        self->m_answered = true;
    }
    self->m_arrived.notify_one();
}
