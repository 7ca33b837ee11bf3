#include "midi/BlockEncoding.h"

#include <algorithm>

namespace midi
{
namespace
{
constexpr std::size_t DataPerGroup = 7;
constexpr std::size_t GroupSize = 8;
} // namespace

ByteMessage encodeBlock(ByteView input)
{
    ByteMessage out((input.size() / DataPerGroup + 1) * GroupSize, 0);
    for (std::size_t i = 0; i < input.size(); ++i) {
        const std::size_t group = i / DataPerGroup * GroupSize;
        const std::size_t position = i % DataPerGroup;
        out[group + position] = input[i] & 0x7FU;
        std::uint8_t &topBits = out[group + DataPerGroup];
        topBits = static_cast<std::uint8_t>(topBits | ((input[i] & 0x80U) >> (position + 1)));
    }
    return out;
}

BlockResult decodeBlock(ByteView input, std::span<std::uint8_t> output)
{
    std::size_t written = 0;
    for (std::size_t group = 0; group < input.size(); group += GroupSize) {
        const std::size_t data = std::min(DataPerGroup, input.size() - group);
        const bool whole = input.size() - group >= GroupSize;
        const unsigned topBits = whole ? input[group + DataPerGroup] : 0U;
        for (std::size_t p = 0; p < data; ++p) {
            if (written >= output.size())
                return {written, false};
            const unsigned topBit = (topBits << (p + 1)) & 0x80U;
            output[written++] = static_cast<std::uint8_t>(topBit | input[group + p]);
            if (written == output.size())
                return {written, false};
        }
    }
    return {written, true};
}

} // namespace midi
