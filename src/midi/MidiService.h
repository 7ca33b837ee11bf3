#pragma once

#include "midi/MessageInbox.h"
#include "midi/MidiClients.h"

#include <QDeadlineTimer>

#include <future>

namespace midi
{

/// The clients of a connection over its lifetime: made on a thread of their own, because a MIDI
/// service may take a tenth of a second, given up when the service ends, and made anew when one is
/// there again. Belongs to one thread.
class MidiService
{
public:
    /// Begins to make the clients, whose inputs deliver to `inbox`, which outlives this object.
    explicit MidiService(MessageInbox &inbox);
    /// Waits for whatever is being made or closed.
    ~MidiService();
    MidiService(const MidiService &) = delete;
    MidiService &operator=(const MidiService &) = delete;

    /// The clients, once they are made. Their pointers are null while there is no service.
    [[nodiscard]] MidiClients &clients();
    /// The same without waiting: null as long as nobody asked for them, when no port can be open.
    [[nodiscard]] const MidiClients *clientsInUse() const;

    /// Gives up clients whose service ended. Where there are none, looks for a server that came up
    /// since. True when clients came or went.
    bool refresh();
    /// The same for a user who asks: looks for every kind of service.
    bool refreshThoroughly();

private:
    using Maker = MidiClients (&)(const ClientNames &);

    bool refreshBy(Maker maker, QDeadlineTimer &nextAttempt);
    [[nodiscard]] bool isClosing() const;
    void use(MidiClients &&clients);
    void giveUp();

    MessageInbox &m_inbox;
    std::future<MidiClients> m_starting;
    MidiClients m_clients;
    std::future<void> m_closing; ///< no new client may be made before these are closed
    // Looking for a service costs time, so calls in a row do it once.
    QDeadlineTimer m_nextAttempt;
    QDeadlineTimer m_nextThoroughAttempt;
};

} // namespace midi
