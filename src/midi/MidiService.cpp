#include "midi/MidiService.h"

#include <RtMidi.h>

#include <thread>
#include <utility>

using namespace std::chrono_literals;

namespace midi
{
namespace
{

constexpr auto AttemptInterval = 3s;
/// A busy service takes a second. This is how long one that does not answer holds up the window.
constexpr auto Patience = 3s;

} // namespace

MidiService::MidiService(std::shared_ptr<MessageInbox> inbox)
    : m_inbox(std::move(inbox))
{
    m_nextAttempt.setRemainingTime(AttemptInterval);
    m_nextThoroughAttempt.setRemainingTime(AttemptInterval);
    begin(createMidiClients);
}

MidiService::~MidiService()
{
    // Taken over, or the thread that made them would close them while the program ends.
    if (m_starting.valid() && isMade())
        m_clients = m_starting.get();
}

/// The thread is on its own, since one that waits for a service that does not answer could not be
/// joined.
void MidiService::begin(Maker maker)
{
    std::packaged_task<MidiClients()> task([maker = &maker] { return maker({}); });
    m_starting = task.get_future();
    m_patience = Patience;
    std::thread(std::move(task)).detach();
}

bool MidiService::isMade()
{
    return m_starting.wait_for(std::exchange(m_patience, 0ms)) == std::future_status::ready;
}

MidiClients &MidiService::clients()
{
    if (!m_starting.valid())
        return m_clients;
    if (!isMade()) {
        m_clients.error = "the MIDI service does not answer";
        return m_clients;
    }
    use(m_starting.get());
    return m_clients;
}

const MidiClients *MidiService::clientsInUse() const
{
    return m_starting.valid() ? nullptr : &m_clients;
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
    if (m_clients.input || m_starting.valid() || isClosing() || !nextAttempt.hasExpired())
        return;
    nextAttempt.setRemainingTime(AttemptInterval);
    begin(maker);
    static_cast<void>(clients());
}

void MidiService::use(MidiClients &&clients)
{
    m_clients = std::move(clients);
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
