#include "midi/protocol/SevenBit.h"

#include <algorithm>

namespace midi
{
namespace
{

constexpr std::size_t Group = 7; ///< bytes whose top bits share one byte

/// The top bit of the byte at `position`, moved to its place among the group's others.
constexpr std::uint8_t gather(std::uint8_t byte, std::size_t position)
{
    return static_cast<std::uint8_t>((byte & 0x80U) >> (position + 1));
}

/// The other way round.
constexpr std::uint8_t restore(std::uint8_t byte, std::uint8_t topBits, std::size_t position)
{
    return static_cast<std::uint8_t>(byte | ((unsigned{topBits} << (position + 1)) & 0x80U));
}

} // namespace

EncodingResult encodeMCoded7(ByteView input, std::span<std::uint8_t> output)
{
    std::ranges::fill(output, std::uint8_t{0});
    std::size_t read = 0;
    std::size_t written = 0;
    std::size_t header = 0;
    for (; read < input.size() && written < output.size(); ++read) {
        const std::size_t position = read % Group;
        if (position == 0)
            header = written++;
        if (written == output.size())
            break;
        output[header] |= gather(input[read], position);
        output[written++] = input[read] & 0x7FU;
    }
    return {written, read == input.size()};
}

std::size_t decodeMCoded7(std::span<std::uint8_t> buffer)
{
    std::size_t written = 0;
    std::uint8_t header = 0;
    for (std::size_t read = 0; read < buffer.size(); ++read) {
        const std::size_t place = read % (Group + 1);
        if (place == 0)
            header = buffer[read];
        else
            buffer[written++] = restore(buffer[read], header, place - 1);
    }
    return written;
}

ByteMessage encodeBlock(ByteView input)
{
    ByteMessage out(blockLength(input.size()), 0);
    for (std::size_t i = 0; i < input.size(); ++i) {
        const std::size_t group = i / Group * (Group + 1);
        out[group + i % Group] = input[i] & 0x7FU;
        out[group + Group] |= gather(input[i], i % Group);
    }
    return out;
}

EncodingResult decodeBlock(ByteView input, std::size_t length, std::span<std::uint8_t> output)
{
    std::size_t written = 0;
    for (std::size_t i = 0; i < length; ++i) {
        const std::size_t place = i % (Group + 1);
        if (place == Group)
            continue;
        if (written == output.size())
            return {written, false};
        const std::size_t last = i - place + Group;
        const std::uint8_t topBits = last < input.size() ? input[last] : std::uint8_t{0};
        output[written++] = restore(input[i], topBits, place);
        if (written == output.size())
            return {written, false};
    }
    return {written, true};
}

} // namespace midi
