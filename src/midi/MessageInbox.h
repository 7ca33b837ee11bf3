#pragma once

#include "midi/ByteMessage.h"

#include <deque>
#include <memory>
#include <mutex>

namespace midi
{

/// Where the MIDI library delivers what arrives, on a thread of its own: hands messages on at once,
/// or keeps them until they are taken. The library's callback stays set as long as its input
/// exists, because the library calls a null function when its callback is taken away while a
/// message arrives. All functions but receive() belong to the owner's thread.
class MessageInbox
{
public:
    /// As the library calls it: with a time stamp in seconds and the user data.
    using Callback = void (*)(double timeStamp, ByteMessage *message, void *userData);
    /// `push` is called on the library's thread, and only while the inbox is pushing.
    MessageInbox(Callback push, void *userData);

    /// True: messages are pushed. False, as at first: they wait, at most 100; more are dropped.
    void setPushing(bool enabled);
    /// Takes the oldest waiting message. False, with an empty message, when there is none or when
    /// messages are pushed.
    [[nodiscard]] bool take(ByteMessage &message);

    /// For an input that is left to the system, and may deliver until the program ends.
    static void keepForGood(const std::shared_ptr<MessageInbox> &inbox) { inbox->m_self = inbox; }

    /// The library's callback; `inbox` is a MessageInbox. Empty messages are dropped.
    static void receive(double timeStamp, ByteMessage *message, void *inbox);

private:
    /// False when messages are to be pushed.
    [[nodiscard]] bool keep(const ByteMessage &message);

    std::shared_ptr<MessageInbox> m_self;
    const Callback m_push;
    void *const m_userData;
    std::mutex m_mutex; ///< guards what follows
    std::deque<ByteMessage> m_waiting;
    bool m_pushing = false;
};

} // namespace midi
