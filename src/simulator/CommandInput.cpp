#include "simulator/CommandInput.h"

#include <array>
#include <cerrno>
#include <unistd.h>

namespace simulator
{

CommandInput::CommandInput(QObject *parent)
    : QObject(parent)
    , m_notifier(STDIN_FILENO, QSocketNotifier::Read)
{
    connect(&m_notifier, &QSocketNotifier::activated, this, &CommandInput::read);
}

void CommandInput::read()
{
    std::array<char, 4096> buffer{};
    const auto count = ::read(STDIN_FILENO, buffer.data(), buffer.size());
    if (count < 0 && errno == EINTR)
        return;
    if (count <= 0) {
        m_notifier.setEnabled(false);
        emit ended();
        return;
    }
    m_unfinished.append(buffer.data(), count);
    for (qsizetype end = m_unfinished.indexOf('\n'); end >= 0; end = m_unfinished.indexOf('\n')) {
        const QByteArray text = m_unfinished.first(end);
        m_unfinished.remove(0, end + 1);
        emit line(QString::fromUtf8(text));
    }
}

} // namespace simulator
