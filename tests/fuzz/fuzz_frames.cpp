#include "fuzz/DataFrames.h"
#include "fuzz/FuzzInput.h"
#include "fuzz/Require.h"
#include "midi/protocol/UpdateMessages.h"

using fuzz::require;
using midi::ByteMessage;
using midi::ByteView;

// A sysex ID, whether length and checksum are to be made right (lowest bit), then a message.

namespace
{

void checkKinds(ByteView message, std::uint8_t id)
{
    const bool update = midi::updateCommand(message, id).has_value();
    const int addressed = midi::isDataBlock(message, id, midi::BlockType::Globals) +
                          midi::isDataBlock(message, id, midi::BlockType::Script) +
                          midi::isEmptyDataBlock(message, id) +
                          midi::isAcknowledgement(message, id) + update;
    require(addressed <= 1, "a message is one thing only");
    require(addressed == 0 || message[midi::SysexIdOffset] == id, "it is for this box");
    const bool recognised = addressed == 1 || midi::isIdentityReply(message) ||
                            midi::isNameReply(message) || midi::isTextMessage(message);
    require(!recognised || midi::isSysex(message), "what is recognised is a sysex");
    require(!midi::isProgramChange(message) || !midi::isSysex(message),
            "a program change is no sysex");
}

/// What was read, built and read again, is the same.
void checkReading(const ByteMessage &message, std::uint8_t id)
{
    if (midi::isIdentityReply(message)) {
        const ByteMessage again = midi::identityReply(midi::readIdentity(message));
        require(midi::identityReply(midi::readIdentity(again)) == again, "identity reply");
    }
    if (const auto response = midi::readUpdateResponse(message)) {
        const ByteMessage again = midi::updateResponse(id, *response);
        require(midi::updateResponse(id, midi::readUpdateResponse(again).value()) == again,
                "update response");
    }
    const auto data = midi::readUpdateData(message);
    if (const auto *block = std::get_if<midi::UpdateBlock>(&data)) {
        const auto again =
            midi::readUpdateData(midi::updateData(id, block->position, block->bytes));
        const auto *other = std::get_if<midi::UpdateBlock>(&again);
        require(other && other->position == block->position && other->bytes == block->bytes,
                "update data");
    }
    const ByteView text = midi::readText(message);
    require(std::ranges::find(text, midi::SysexEnd) == text.end(), "no end within a text");
}

void checkDataBlock(const ByteMessage &message, std::uint8_t id, bool isRight)
{
    const auto payload = midi::readDataBlock(message);
    require(payload || !isRight, "a right frame is taken");
    if (!payload)
        return;
    const auto again = midi::dataBlock(midi::Command::DataBlock, id, 4, *payload);
    require(again && midi::readDataBlock(*again) == payload, "there and back");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    fuzz::Input input(data, size);
    const std::uint8_t id = input.takeByte();
    const bool repair = (input.takeByte() & 1U) != 0;
    ByteMessage message = input.takeRest();
    if (repair)
        fuzz::repairDataBlock(message);
    checkKinds(message, id);
    checkReading(message, id);
    checkDataBlock(message, id,
                   repair && message.size() > midi::FrameOverhead &&
                       message.size() <= midi::MaxFrameLength);
    return 0;
}
