#include "settings/ScriptConfirmation.h"

#include "midi/protocol/DataBlock.h"
#include "midi/QtRtMIDI.h"

#include <QCoreApplication>

#include <algorithm>
#include <chrono>

using namespace std::chrono_literals;

namespace
{

constexpr int MaxQuestions = 2;
/// The box stores the script and begins to run it.
constexpr auto StoringTime = 300ms;
constexpr auto AnswerTime = 500ms;

/// A script ends at its first zero byte.
template <typename Bytes>
bool holdSameScript(const QByteArray &sent, const Bytes &held)
{
    const auto heldEnd = std::find(held.begin(), held.end(), 0);
    const auto sentEnd = std::find(sent.begin(), sent.end(), '\0');
    return std::equal(sent.begin(), sentEnd, held.begin(), heldEnd,
                      [](char a, uint8_t b) { return static_cast<uint8_t>(a) == b; });
}

} // namespace

ScriptConfirmation::ScriptConfirmation(QObject *parent)
    : QObject(parent)
{
    m_timer.setSingleShot(true);
    m_timer.callOnTimeout(this, &ScriptConfirmation::goOn);
}

void ScriptConfirmation::setLink(QtRtMIDI *link)
{
    if (m_link)
        m_link->disconnect(this);
    // What the old link's thread sent may still wait for the event loop.
    QCoreApplication::removePostedEvents(this, QEvent::MetaCall);
    forgetBox();
    m_link = link;
    if (!link)
        return;
    connect(link, &QtRtMIDI::midiMessageReceived, this, &ScriptConfirmation::receive);
    connect(link, &QtRtMIDI::addresseeChanged, this, &ScriptConfirmation::forgetBox);
}

void ScriptConfirmation::begin(const QByteArray &script)
{
    if (!m_link)
        return;
    m_script = script;
    m_questions = 0;
    m_olderAnswersDue = m_answersDue;
    m_bytes = midi::MovingBytes(m_link->movedBytes());
    m_timer.start(StoringTime);
}

void ScriptConfirmation::cancel()
{
    m_timer.stop();
}

void ScriptConfirmation::dropAnswers()
{
    cancel();
    if (!m_link || m_answersDue == 0)
        return;
    m_link->setCallbackMode(false);
    // What was pushed until now waits for the event loop.
    QCoreApplication::sendPostedEvents(this, QEvent::MetaCall);
    m_link->dropScriptAnswers(m_answersDue);
    m_answersDue = 0;
}

void ScriptConfirmation::forgetBox()
{
    cancel();
    m_answersDue = 0;
}

void ScriptConfirmation::goOn()
{
    if (!m_link)
        return;
    const auto interval = m_questions == 0 ? StoringTime : AnswerTime;
    if (m_bytes.stillMove(m_link->movedBytes(), interval))
        m_timer.start(interval);
    else if (m_questions < MaxQuestions)
        ask();
    else
        giveUp();
}

void ScriptConfirmation::ask()
{
    ++m_questions;
    if (m_link->sendScriptReq())
        ++m_answersDue;
    m_bytes = midi::MovingBytes(m_link->movedBytes());
    m_timer.start(AnswerTime);
}

void ScriptConfirmation::giveUp()
{
    m_answersDue = 0; // lost, and not to be waited for
    // Nobody may have noticed yet that the box was unplugged.
    if (m_link->portsReady() && m_link->isOpenAmong(m_link->portNames()))
        emit scriptNotConfirmed();
}

void ScriptConfirmation::receive(const std::vector<uint8_t> &message)
{
    if (!m_link || m_answersDue == 0)
        return;
    if (!m_link->isZEVScriptData(message) && !m_link->isZEVSysexData(message))
        return;
    const auto script = midi::readDataBlock(message);
    if (!script)
        return; // damaged on its way, which a repetition may follow
    --m_answersDue;
    const bool isOlder = m_olderAnswersDue > 0;
    if (isOlder)
        --m_olderAnswersDue;
    if (!m_timer.isActive())
        return;
    if (holdSameScript(m_script, *script)) {
        cancel();
    } else if (!isOlder) {
        cancel();
        emit scriptDiffers();
    }
}
