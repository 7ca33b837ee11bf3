#pragma once

#include "midi/MidiClients.h"

#include <QDeadlineTimer>

#include <future>
#include <memory>

namespace midi
{

/// The clients of a connection over its lifetime: made when they are first needed, given up when
/// their service ends, and made anew when one is there again. Belongs to one thread, on which it
/// makes, uses and closes the clients, except those of a JACK server that ended.
class MidiService
{
public:
    /// Makes nothing yet. The inputs will deliver to `inbox`.
    explicit MidiService(std::shared_ptr<MessageInbox> inbox);
    MidiService(const MidiService &) = delete;
    MidiService &operator=(const MidiService &) = delete;

    /// The clients; the first call makes them, which takes some milliseconds on ALSA and a tenth of
    /// a second on JACK. Their pointers are null while there is no service.
    [[nodiscard]] MidiClients &clients();
    /// The same without making them: null until the first call of clients(), when no port can be
    /// open.
    [[nodiscard]] MidiClients *clientsInUse();
    [[nodiscard]] const MidiClients *clientsInUse() const;

    /// Gives up clients whose service ended. Where there are none, looks for a server that came up
    /// since.
    void refresh();
    /// The same for a user who asks: looks for every kind of service.
    void refreshThoroughly();

private:
    using Maker = MidiClients (&)(const ClientNames &);

    void refreshBy(Maker maker, QDeadlineTimer &nextAttempt);
    void make(Maker maker);
    [[nodiscard]] bool isClosing() const;
    void giveUp();

    const std::shared_ptr<MessageInbox> m_inbox;
    MidiClients m_clients;
    bool m_wasMade = false;
    std::future<void> m_closing; ///< no new client may be made before these are closed
    // Looking for a service costs time, so calls in a row do it once.
    QDeadlineTimer m_nextAttempt;
    QDeadlineTimer m_nextThoroughAttempt;
};

} // namespace midi
