#include "midi/QtRtMIDI.h"

#include "midi/MovingBytes.h"
#include "midi/PollingScope.h"
#include "midi/protocol/Box.h"
#include "midi/protocol/DataBlock.h"

#include <algorithm>
#include <chrono>
#include <thread>

using namespace std::chrono_literals;

bool QtRtMIDI::sendReadReq(midi::BlockType type)
{
    return sendMessage(midi::blockReadRequest(m_sysexId, type));
}

const uint8_t *QtRtMIDI::getGlobals()
{
    return readBlock(midi::BlockType::Globals) ? m_block.data() : nullptr;
}

QVariant QtRtMIDI::getScript()
{
    if (!readBlock(midi::BlockType::Script))
        return {};
    // A script ends at its first zero byte, wherever the block ends.
    const auto end = std::ranges::find(m_block, uint8_t{0});
    return QString::fromUtf8(reinterpret_cast<const char *>(m_block.data()), end - m_block.begin());
}

bool QtRtMIDI::readBlock(midi::BlockType type)
{
    const PollingScope polling(*this);
    return sendReadReq(type) && awaitBlock(type);
}

void QtRtMIDI::dropScriptAnswers(int count)
{
    setCallbackMode(false);
    while (count > 0 && awaitBlock(midi::BlockType::Script))
        --count;
    setCallbackMode(true);
}

/// Takes the payload of the next block of this type to m_block. A settings record of another length
/// than a record has is none.
bool QtRtMIDI::awaitBlock(midi::BlockType type)
{
    const bool isScript = type == midi::BlockType::Script;
    // A box on full-speed USB usually sends 48 bytes a millisecond: 171 ms for the largest frame.
    const auto patience = isScript ? 500ms : 100ms;
    QDeadlineTimer deadline(patience);
    midi::MovingBytes bytes(movedBytes());
    Message message;
    for (;;) {
        if (!receiveMessage(message)) {
            if (deadline.hasExpired()) {
                if (!bytes.stillMove(movedBytes(), patience))
                    return false;
                deadline.setRemainingTime(patience);
            }
            std::this_thread::sleep_for(1ms);
        } else if (midi::isDataBlock(message, m_sysexId, type)) {
            auto payload = midi::readDataBlock(message);
            if (payload && (isScript || payload->size() == midi::RecordLength)) {
                m_block = std::move(*payload);
                return true;
            }
        } else {
            showText(message);
        }
    }
}

bool QtRtMIDI::sendSettingsBlock(int blockType, const uint8_t *data, uint32_t length, bool flag)
{
    const auto command = flag ? midi::Command::BlockWriteFlagged : midi::Command::BlockWrite;
    const auto frame =
        midi::dataBlock(command, m_sysexId, static_cast<uint8_t>(blockType), {data, length});
    return frame && sendMessage(*frame);
}

bool QtRtMIDI::sendUpdateData(uint32_t position, uint32_t length, const uint8_t *data)
{
    return sendMessage(midi::updateData(m_sysexId, position, {data, length}));
}

bool QtRtMIDI::sendUpdateDone(uint32_t length, uint8_t doneParam1, uint8_t doneParam2)
{
    return sendMessage(midi::updateDone(m_sysexId, {length, doneParam1, doneParam2}));
}
