#include "midi/MessageInbox.h"

namespace midi
{

void MessageInbox::setPushing(bool enabled)
{
    const std::scoped_lock lock(m_mutex);
    m_pushing = enabled;
}

bool MessageInbox::take(ByteMessage &message)
{
    message.clear();
    const std::scoped_lock lock(m_mutex);
    if (m_pushing || m_waiting.empty())
        return false;
    message = std::move(m_waiting.front());
    m_waiting.pop_front();
    return true;
}

void MessageInbox::receive(const ByteMessage &message)
{
    constexpr std::size_t MaxWaiting = 100;
    if (message.empty())
        return;
    {
        const std::scoped_lock lock(m_mutex);
        if (!m_pushing) {
            if (m_waiting.size() < MaxWaiting)
                m_waiting.push_back(message);
            return;
        }
    }
    m_push(message);
}

} // namespace midi
