#include "midi/MidiService.h"

#include <RtMidi.h>

#include <utility>

using namespace std::chrono_literals;

namespace midi
{
namespace
{

constexpr auto AttemptInterval = 3s;

} // namespace

MidiService::MidiService(std::shared_ptr<MessageInbox> inbox)
    : m_inbox(std::move(inbox))
{}

MidiClients &MidiService::clients()
{
    if (!m_wasMade) {
        make(createMidiClients);
        m_nextAttempt.setRemainingTime(AttemptInterval);
        m_nextThoroughAttempt.setRemainingTime(AttemptInterval);
    }
    return m_clients;
}

MidiClients *MidiService::clientsInUse()
{
    return m_wasMade ? &m_clients : nullptr;
}

const MidiClients *MidiService::clientsInUse() const
{
    return m_wasMade ? &m_clients : nullptr;
}

void MidiService::refresh()
{
    refreshBy(createClientsOfServer, m_nextAttempt);
}

void MidiService::refreshThoroughly()
{
    refreshBy(createMidiClients, m_nextThoroughAttempt);
}

void MidiService::refreshBy(Maker maker, QDeadlineTimer &nextAttempt)
{
    const auto &jack = clients().jack;
    if (jack && jack->isGone()) {
        giveUp();
        return;
    }
    if (m_clients.input || isClosing() || !nextAttempt.hasExpired())
        return;
    nextAttempt.setRemainingTime(AttemptInterval);
    make(maker);
}

void MidiService::make(Maker maker)
{
    m_clients = maker({});
    m_wasMade = true;
    if (!m_clients.input)
        return;
    m_clients.inbox = m_inbox;
    m_clients.input->setCallback(&MessageInbox::receive, m_inbox.get());
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
