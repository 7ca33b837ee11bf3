#include "midi/MessageInbox.h"

#include <utility>

namespace midi
{
namespace
{

constexpr std::size_t MaxWaiting = 100;

} // namespace

MessageInbox::MessageInbox(Callback push, void *userData)
    : m_push(push)
    , m_userData(userData)
{}

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

void MessageInbox::receive(double timeStamp, ByteMessage *message, void *inbox)
{
    auto *self = static_cast<MessageInbox *>(inbox);
    if (message && !message->empty() && !self->keep(*message))
        self->m_push(timeStamp, message, self->m_userData);
}

bool MessageInbox::keep(const ByteMessage &message)
{
    const std::scoped_lock lock(m_mutex);
    if (m_pushing)
        return false;
    if (m_waiting.size() < MaxWaiting)
        m_waiting.push_back(message);
    return true;
}

} // namespace midi
