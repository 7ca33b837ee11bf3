#include "support/LinkRecorder.h"

#include "midi/QtRtMIDI.h"

#include <mutex>
#include <utility>

namespace testsupport
{

struct LinkRecorder::Record
{
    std::mutex mutex;
    QStringList texts;
};

LinkRecorder::LinkRecorder(QtRtMIDI &link)
    : m_record(std::make_shared<Record>())
{
    const auto addText = [record = m_record](const QString &text) {
        const std::scoped_lock lock(record->mutex);
        record->texts.append(text);
    };
    QObject::connect(&link, &QtRtMIDI::textMessageReceived, &m_receiver, addText,
                     Qt::DirectConnection);
}

bool LinkRecorder::endsWith(const QString &text) const
{
    const std::scoped_lock lock(m_record->mutex);
    return !m_record->texts.isEmpty() && m_record->texts.last() == text;
}

QStringList LinkRecorder::takeTexts()
{
    const std::scoped_lock lock(m_record->mutex);
    return std::exchange(m_record->texts, {});
}

} // namespace testsupport
