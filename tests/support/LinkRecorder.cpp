#include "support/LinkRecorder.h"

#include "midi/QtRtMIDI.h"

#include <utility>

namespace testsupport
{

LinkRecorder::LinkRecorder(QtRtMIDI &link)
{
    QObject::connect(&link, &QtRtMIDI::textMessageReceived, &m_receiver,
                     [this](const QString &text) { m_texts.append(text); });
}

bool LinkRecorder::endsWith(const QString &text) const
{
    return !m_texts.isEmpty() && m_texts.last() == text;
}

QStringList LinkRecorder::takeTexts()
{
    return std::exchange(m_texts, {});
}

} // namespace testsupport
