// The part of the connection that asks a box for something, or hands it something.
#include "midi/QtRtMIDI.h"

#include "midi/MovingBytes.h"
#include "midi/UpdateMessages.h"

#include <QDeadlineTimer>
#include <QString>

#include <algorithm>
#include <chrono>
#include <thread>

using namespace std::chrono_literals;

namespace
{

constexpr auto LookInterval = 1ms;
constexpr auto SettingsPatience = 100ms;
/// A box on full-speed USB usually sends 48 bytes a millisecond: 171 ms for the largest frame.
constexpr auto ScriptPatience = 500ms;

std::chrono::milliseconds patience(midi::BlockType type)
{
    return type == midi::BlockType::Script ? ScriptPatience : SettingsPatience;
}

} // namespace

bool QtRtMIDI::sendIDReq()
{
    return sendMessage(midi::identityRequest());
}

bool QtRtMIDI::sendNameReq(uint8_t id)
{
    return sendMessage(midi::nameRequest(id));
}

bool QtRtMIDI::sendGlobalsReq()
{
    return sendMessage(midi::blockReadRequest(m_sysexId, midi::BlockType::Globals));
}

bool QtRtMIDI::sendScriptReq()
{
    return sendMessage(midi::blockReadRequest(m_sysexId, midi::BlockType::Script));
}

const uint8_t *QtRtMIDI::getGlobals()
{
    if (!readBlock(midi::BlockType::Globals))
        return nullptr;
    return m_transferBuffer.data() + midi::BlockPayloadOffset;
}

QVariant QtRtMIDI::getScript()
{
    const auto length = readBlock(midi::BlockType::Script);
    if (!length)
        return {};
    // A script ends at its first zero byte, wherever the block ends.
    const auto begin = m_transferBuffer.cbegin() + midi::BlockPayloadOffset;
    const auto end = std::find(begin, begin + static_cast<std::ptrdiff_t>(*length), uint8_t{0});
    return QString::fromUtf8(reinterpret_cast<const char *>(&*begin), end - begin);
}

std::optional<std::size_t> QtRtMIDI::readBlock(midi::BlockType type)
{
    setCallbackMode(false);
    // What came just before the last change of the mode is no answer to what is asked now.
    std::vector<uint8_t> message;
    while (receiveMessage(message))
        pushText(message);
    const bool sent = sendMessage(midi::blockReadRequest(m_sysexId, type));
    const auto length = sent ? awaitBlock(type) : std::nullopt;
    setCallbackMode(true);
    return length;
}

void QtRtMIDI::dropScriptAnswers(int count)
{
    setCallbackMode(false);
    while (count > 0 && awaitBlock(midi::BlockType::Script))
        --count;
    setCallbackMode(true);
}

/// What a box prints is shown, also when it is not what somebody waits for.
void QtRtMIDI::pushText(std::vector<uint8_t> &message)
{
    if (midi::isTextMessage(message))
        receiveCB(0, &message, this);
}

std::optional<std::size_t> QtRtMIDI::awaitBlock(midi::BlockType type)
{
    std::vector<uint8_t> message;
    QDeadlineTimer deadline(patience(type));
    midi::MovingBytes bytes(movedBytes());
    for (;;) {
        if (!receiveMessage(message)) {
            if (deadline.hasExpired()) {
                if (!bytes.stillMove(movedBytes(), patience(type)))
                    return std::nullopt;
                deadline.setRemainingTime(patience(type));
            }
            std::this_thread::sleep_for(LookInterval);
            continue;
        }
        // A frame beyond the buffer's size can be no block of this protocol.
        if (!midi::isDataBlock(message, m_sysexId, type) ||
            message.size() > m_transferBuffer.size()) {
            pushText(message);
            continue;
        }
        m_transferBuffer.fill(0);
        std::ranges::copy(message, m_transferBuffer.begin());
        if (const auto length = midi::decodeDataBlock(m_transferBuffer))
            return length;
    }
}

bool QtRtMIDI::sendSettingsBlock(int blockType, const uint8_t *data, uint32_t length, bool flag)
{
    const auto command = flag ? midi::Command::BlockWriteFlagged : midi::Command::BlockWrite;
    const auto frameLength =
        midi::buildDataBlock(m_transferBuffer, command, m_sysexId,
                             static_cast<uint8_t>(blockType & 0x7F), midi::ByteView(data, length));
    if (!frameLength)
        return false;
    return sendSysex(m_transferBuffer.data(), static_cast<uint32_t>(*frameLength));
}

bool QtRtMIDI::sendUpdateReq()
{
    return sendMessage(midi::updateRequest(m_sysexId));
}

bool QtRtMIDI::sendUpdateData(uint32_t position, uint32_t length, const uint8_t *data)
{
    return sendMessage(midi::updateData(m_sysexId, position, midi::ByteView(data, length)));
}

bool QtRtMIDI::sendUpdateDone(uint32_t length, uint8_t doneParam1, uint8_t doneParam2)
{
    return sendMessage(midi::updateDone(m_sysexId, length, doneParam1, doneParam2));
}

bool QtRtMIDI::sendUpdateCancel()
{
    return sendMessage(midi::updateCancel(m_sysexId));
}

bool QtRtMIDI::isZEVUpdateResponse(const std::vector<uint8_t> &msg) const
{
    return midi::isUpdateResponse(msg, m_sysexId);
}
