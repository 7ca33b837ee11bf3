#pragma once

#include "midi/protocol/Bytes.h"

#include <deque>
#include <functional>
#include <mutex>
#include <utility>

namespace midi
{

/// Where the MIDI library's thread delivers what arrives: hands messages on at once, or keeps them
/// until they are taken. So its callback can stay set; the library calls a null function when that
/// is taken away while a message arrives. All functions but receive() belong to the owner's thread.
class MessageInbox
{
public:
    /// `push` is called on the library's thread, and only while the inbox is pushing.
    explicit MessageInbox(std::function<void(const ByteMessage &)> push)
        : m_push(std::move(push))
    {}

    /// True: messages are pushed. False, as at first: they wait, at most 100; more are dropped.
    /// While some wait, pushing does not begin, and the result is false: later ones would overtake
    /// them.
    bool setPushing(bool enabled)
    {
        const std::scoped_lock lock(m_mutex);
        m_pushing = enabled && m_waiting.empty();
        return m_pushing == enabled;
    }
    /// Takes the oldest waiting message. False when there is none or when messages are pushed.
    [[nodiscard]] bool take(ByteMessage &message)
    {
        const std::scoped_lock lock(m_mutex);
        if (m_pushing || m_waiting.empty())
            return false;
        message = std::move(m_waiting.front());
        m_waiting.pop_front();
        return true;
    }
    void receive(const ByteMessage &message) // empty ones are dropped
    {
        if (!message.empty() && !keep(message))
            m_push(message);
    }

private:
    /// False when messages are to be pushed.
    [[nodiscard]] bool keep(const ByteMessage &message)
    {
        const std::scoped_lock lock(m_mutex);
        if (!m_pushing && m_waiting.size() < 100)
            m_waiting.push_back(message);
        return !m_pushing;
    }

    const std::function<void(const ByteMessage &)> m_push;
    std::mutex m_mutex; ///< guards what follows
    std::deque<ByteMessage> m_waiting;
    bool m_pushing = false;
};

} // namespace midi
