#include "fuzz/DataFrames.h"
#include "fuzz/FuzzInput.h"
#include "fuzz/Require.h"
#include "midi/protocol/UpdateMessages.h"

#include <memory>

using fuzz::require;
using midi::ByteMessage;
using midi::ByteView;

// A sysex ID, whether length and checksum are to be made right (lowest bit), then a message.

namespace
{

using FrameBuffer = std::array<std::uint8_t, midi::MaxFrameLength>;

unsigned digit(char hex)
{
    return static_cast<unsigned>(hex <= '9' ? hex - '0' : hex - 'A' + 10);
}

void checkKinds(ByteView message, std::uint8_t id)
{
    const bool globals = midi::isDataBlock(message, id, midi::BlockType::Globals);
    const bool script = midi::isDataBlock(message, id, midi::BlockType::Script);
    const bool empty = midi::isEmptyDataBlock(message, id);
    const bool acknowledgement = midi::isAcknowledgement(message, id);
    const bool update = midi::isUpdateResponse(message, id);
    const int addressed = globals + script + empty + acknowledgement + update;
    require(addressed <= 1, "a message is one thing only");
    require(addressed == 0 || message[midi::SysexIdOffset] == id, "it is for this box");
    const bool recognised = addressed == 1 || midi::isIdentityReply(message) ||
                            midi::isNameReply(message) || midi::isTextMessage(message);
    require(!recognised || midi::isSysex(message), "what is recognised is a sysex");
    require(!midi::isProgramChange(message) || !midi::isSysex(message),
            "a program change is no sysex");
}

/// What was read, built again, is the message; but for bytes that carry nothing.
void checkReading(const ByteMessage &message, std::uint8_t id)
{
    ByteMessage expected = message;
    if (!expected.empty())
        expected.back() = midi::SysexEnd;
    if (midi::isIdentityReply(message)) {
        expected[midi::IdentityVersionOffset] &= 0x7FU;
        require(midi::identityReply(midi::readIdentity(message)) == expected, "identity reply");
    }
    if (midi::isUpdateResponse(message, id)) {
        for (std::size_t i = 0; i < 4; ++i)
            expected[midi::UpdateResponsePositionOffset + i] &= 0x7FU;
        const std::uint32_t position = midi::read28Bit(message, midi::UpdateResponsePositionOffset);
        require(midi::updateResponse(id, message[midi::UpdateStatusOffset], position) == expected,
                "update response");
    }
}

void checkText(const ByteMessage &message)
{
    const ByteView text = midi::readText(message);
    if (message.size() <= midi::TextOffset) {
        require(text.empty(), "no room for a text");
        return;
    }
    require(text.data() == message.data() + midi::TextOffset, "a text begins at its place");
    const std::size_t end = midi::TextOffset + text.size();
    require(end == message.size() || (end < message.size() && message[end] == midi::SysexEnd),
            "a text ends at the message's end");
    require(std::ranges::find(text, midi::SysexEnd) == text.end(), "no end within a text");
}

void checkHex(const ByteMessage &message)
{
    const std::string text = midi::toHex(message);
    require(text.size() == (message.empty() ? 0 : message.size() * 3 - 1), "hex: length");
    for (std::size_t i = 0; i < message.size(); ++i)
        require(digit(text[3 * i]) * 16 + digit(text[3 * i + 1]) == message[i], "hex: bytes");
}

void checkDataBlock(const ByteMessage &message, std::uint8_t id, bool isRight)
{
    if (message.size() > midi::MaxFrameLength)
        return;
    // On the heap, where a sanitizer sees a step over the end.
    const auto buffer = std::make_unique<FrameBuffer>();
    std::ranges::copy(message, buffer->begin());
    const auto length = midi::decodeDataBlock(*buffer);
    require(length || !isRight, "a right frame is taken");
    const auto header = std::min(message.size(), midi::BlockPayloadOffset);
    require(std::equal(message.begin(), message.begin() + static_cast<std::ptrdiff_t>(header),
                       buffer->begin()),
            "the header stays");
    if (!length)
        return;
    require(*length <= midi::MaxRawPayload + 1, "no more than a buffer can hold");
    const ByteView raw = ByteView(*buffer).subspan(midi::BlockPayloadOffset, *length);
    const auto again = std::make_unique<FrameBuffer>();
    const auto built = midi::buildDataBlock(*again, midi::Command::DataBlock, id, 4, raw);
    require(built.has_value() == (*length <= midi::MaxRawPayload), "what fits is built");
    if (!built)
        return;
    require(midi::decodeDataBlock(*again) == length, "there and back: length");
    require(std::ranges::equal(ByteView(*again).subspan(midi::BlockPayloadOffset, *length), raw),
            "there and back");
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
    checkText(message);
    checkHex(message);
    checkDataBlock(message, id, repair && message.size() > midi::FrameOverhead);
    return 0;
}
