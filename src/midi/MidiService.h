#pragma once

#include "midi/MidiClients.h"

#include <QDeadlineTimer>

#include <chrono>
#include <future>
#include <memory>

namespace midi
{

/// The clients of a connection over its lifetime: made on a thread of their own, because a MIDI
/// service may take a tenth of a second or not answer at all, given up when the service ends, and
/// made anew when one is there again. Belongs to one thread.
class MidiService
{
public:
    /// Begins to make the clients, whose inputs deliver to `inbox`.
    explicit MidiService(std::shared_ptr<MessageInbox> inbox);
    /// Waits for whatever is being made or closed, unless the service does not answer.
    ~MidiService();
    MidiService(const MidiService &) = delete;
    MidiService &operator=(const MidiService &) = delete;

    /// The clients, once they are made. Their pointers are null while there is no service, and
    /// after a few seconds for one that does not answer, until it does.
    [[nodiscard]] MidiClients &clients();
    /// The same without waiting: null as long as they are being made, when no port can be open.
    [[nodiscard]] const MidiClients *clientsInUse() const;

    /// Gives up clients whose service ended. Where there are none, looks for a server that came up
    /// since.
    void refresh();
    /// The same for a user who asks: looks for every kind of service.
    void refreshThoroughly();

private:
    using Maker = MidiClients (&)(const ClientNames &);

    void refreshBy(Maker maker, QDeadlineTimer &nextAttempt);
    void begin(Maker maker);
    [[nodiscard]] bool isMade();
    [[nodiscard]] bool isClosing() const;
    void use(MidiClients &&clients);
    void giveUp();

    const std::shared_ptr<MessageInbox> m_inbox;
    std::future<MidiClients> m_starting;     ///< valid until the clients are in use
    std::chrono::milliseconds m_patience{0}; ///< what is left of the time to wait for them
    MidiClients m_clients;
    std::future<void> m_closing; ///< no new client may be made before these are closed
    // Looking for a service costs time, so calls in a row do it once.
    QDeadlineTimer m_nextAttempt;
    QDeadlineTimer m_nextThoroughAttempt;
};

} // namespace midi
