#include "simulator/ReplyFaults.h"

#include "midi/protocol/DataBlock.h"

#include <cstddef>

namespace simulator
{
namespace
{

using midi::ByteMessage;

bool isDataBlock(const ByteMessage &message)
{
    return message.size() >= midi::FrameOverhead &&
           message[midi::CommandOffset] == toByte(midi::Command::DataBlock);
}

void spoilCrc(ByteMessage &block)
{
    block[midi::BlockCrcOffset + 1] ^= 0x01U;
}

void lieAboutLength(ByteMessage &block)
{
    block[midi::BlockLengthOffset] = 0x7F;
    block[midi::BlockLengthOffset + 1] = 0x7F;
}

void makeHuge(ByteMessage &block)
{
    block.insert(block.end() - 1, HugeFrameLength - block.size(), 0);
}

/// The end is kept, since a receiver would otherwise join the next message to this one.
void loseSecondHalf(ByteMessage &block)
{
    const auto half = static_cast<std::ptrdiff_t>(block.size() / 2);
    block.erase(block.begin() + half, block.end() - 1);
}

/// A message that any client has to pass over.
ByteMessage unrelatedMessage(std::uint32_t index, std::uint8_t foreignId)
{
    switch (index % 4) {
    case 0:
        return {0x90, static_cast<std::uint8_t>(index & 0x7FU), 0x40};
    case 1:
        return {midi::SysexStart, 0x7E, 0x00, 0x06, 0x01, midi::SysexEnd};
    case 2:
        return {0xB0, 0x07, static_cast<std::uint8_t>(index & 0x7FU)};
    default:
        return midi::blockReadRequest(foreignId, midi::BlockType::Globals);
    }
}

std::uint8_t foreignId(const ByteMessage &reply)
{
    return static_cast<std::uint8_t>((reply[midi::SysexIdOffset] + 1U) & 0x7FU);
}

std::vector<ByteMessage> disturbBlock(const BoxFaults &faults, ByteMessage block)
{
    if (faults.truncatedFrame)
        loseSecondHalf(block);
    if (faults.lyingLength && isDataBlock(block))
        lieAboutLength(block);
    if (faults.hugeFrame)
        makeHuge(block);
    if (faults.wrongCrc == WrongCrc::Never || !isDataBlock(block))
        return {block};

    ByteMessage wrong = block;
    spoilCrc(wrong);
    if (faults.wrongCrc == WrongCrc::Always)
        return {wrong};
    return {wrong, block};
}

} // namespace

std::vector<ByteMessage> disturbReplies(const BoxFaults &faults,
                                        const std::vector<ByteMessage> &replies)
{
    std::vector<ByteMessage> result;
    for (const ByteMessage &reply : replies) {
        const std::uint8_t otherId = foreignId(reply);
        for (std::uint32_t i = 0; i < faults.flood; ++i)
            result.push_back(unrelatedMessage(i, otherId));
        if (faults.mute)
            continue;
        const auto variants =
            isDataBlock(reply) ? disturbBlock(faults, reply) : std::vector<ByteMessage>{reply};
        for (ByteMessage variant : variants) {
            if (faults.foreignSysexId && !midi::isIdentityReply(variant))
                variant[midi::SysexIdOffset] = otherId;
            if (faults.twice)
                result.push_back(variant);
            result.push_back(std::move(variant));
        }
    }
    return result;
}

} // namespace simulator
