#include "midi/BlockEncoding.h"

#include "midi/SevenByteGroup.h"

#include <algorithm>

namespace midi
{
namespace
{
constexpr std::size_t GroupSize = BytesPerGroup + 1;
} // namespace

ByteMessage encodeBlock(ByteView input)
{
    ByteMessage out((input.size() / BytesPerGroup + 1) * GroupSize, 0);
    std::size_t i = 0;
    // A whole group is read as eight bytes, so the last one is left to the loop below.
    for (std::size_t written = 0; input.size() - i > BytesPerGroup; i += BytesPerGroup) {
        const std::uint64_t group = loadEight(&input[i]);
        store<8>((group & LowSevenBits) | std::uint64_t{gatherTopBits(group)} << 56U,
                 &out[written]);
        written += GroupSize;
    }
    for (; i < input.size(); ++i) {
        const std::size_t group = i / BytesPerGroup * GroupSize;
        const std::size_t position = i % BytesPerGroup;
        out[group + position] = input[i] & 0x7FU;
        std::uint8_t &topBits = out[group + BytesPerGroup];
        topBits = static_cast<std::uint8_t>(topBits | ((input[i] & 0x80U) >> (position + 1)));
    }
    return out;
}

BlockResult decodeBlock(ByteView input, std::span<std::uint8_t> output)
{
    std::size_t written = 0;
    std::size_t group = 0;
    // Not up to the end of the output, which counts as full.
    while (input.size() - group >= GroupSize && output.size() - written > BytesPerGroup) {
        const std::uint64_t data = loadEight(&input[group]);
        store<7>(data | spreadTopBits(input[group + BytesPerGroup]), &output[written]);
        written += BytesPerGroup;
        group += GroupSize;
    }
    for (; group < input.size(); group += GroupSize) {
        const std::size_t data = std::min(BytesPerGroup, input.size() - group);
        const bool whole = input.size() - group >= GroupSize;
        const unsigned topBits = whole ? input[group + BytesPerGroup] : 0U;
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
