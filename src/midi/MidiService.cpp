#include "midi/MidiService.h"

#include <RtMidi.h>

#include <chrono>

using namespace std::chrono_literals;

namespace midi
{
namespace
{

constexpr auto AttemptInterval = 3s;

} // namespace

MidiService::MidiService(MessageInbox &inbox)
    : m_inbox(inbox)
    , m_starting(std::async(std::launch::async, [] { return createMidiClients(); }))
{}

MidiService::~MidiService() = default;

MidiClients &MidiService::clients()
{
    if (m_starting.valid()) {
        use(m_starting.get());
        m_nextAttempt.setRemainingTime(AttemptInterval);
        m_nextThoroughAttempt = m_nextAttempt;
    }
    return m_clients;
}

const MidiClients *MidiService::clientsInUse() const
{
    return m_starting.valid() ? nullptr : &m_clients;
}

bool MidiService::refresh()
{
    return refreshBy(createClientsOfServer, m_nextAttempt);
}

bool MidiService::refreshThoroughly()
{
    return refreshBy(createMidiClients, m_nextThoroughAttempt);
}

bool MidiService::refreshBy(Maker maker, QDeadlineTimer &nextAttempt)
{
    if (clients().jack && clients().jack->isGone()) {
        giveUp();
        return true;
    }
    if (m_clients.input || isClosing() || !nextAttempt.hasExpired())
        return false;
    nextAttempt.setRemainingTime(AttemptInterval);
    use(maker({}));
    return m_clients.input != nullptr;
}

void MidiService::use(MidiClients &&clients)
{
    m_clients = std::move(clients);
    if (m_clients.input)
        m_clients.input->setCallback(&MessageInbox::receive, &m_inbox);
}

bool MidiService::isClosing() const
{
    return m_closing.valid() && m_closing.wait_for(0s) != std::future_status::ready;
}

/// Closing them takes a second, which the window is not to feel.
void MidiService::giveUp()
{
    MidiClients gone = std::exchange(m_clients, MidiClients());
    m_clients.error = "the MIDI service has ended";
    m_closing = std::async(std::launch::async, [clients = std::move(gone)]() mutable {
        const MidiClients closedHere = std::move(clients);
    });
}

} // namespace midi
