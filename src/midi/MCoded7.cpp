#include "midi/MCoded7.h"

#include "midi/SevenByteGroup.h"

#include <algorithm>

namespace midi
{

MCoded7Result encodeMCoded7(ByteView input, std::span<std::uint8_t> output)
{
    std::ranges::fill(output, std::uint8_t{0});
    std::size_t read = 0;
    std::size_t written = 0;
    // A whole group is read as eight bytes, so the last one is left to the loop below.
    while (input.size() - read > BytesPerGroup && output.size() - written > BytesPerGroup) {
        const std::uint64_t group = loadEight(&input[read]);
        store<8>((group & LowSevenBits) << 8U | gatherTopBits(group), &output[written]);
        read += BytesPerGroup;
        written += BytesPerGroup + 1;
    }
    while (read < input.size() && written < output.size()) {
        std::uint8_t &header = output[written++];
        const std::size_t group =
            std::min({BytesPerGroup, input.size() - read, output.size() - written});
        for (std::size_t j = 0; j < group; ++j) {
            const std::uint8_t byte = input[read + j];
            header = static_cast<std::uint8_t>(header | ((byte & 0x80U) >> (j + 1)));
            output[written + j] = byte & 0x7FU;
        }
        read += group;
        written += group;
    }
    return {written, read == input.size()};
}

std::size_t decodeMCoded7(std::span<std::uint8_t> buffer)
{
    std::size_t read = 0;
    std::size_t written = 0;
    while (buffer.size() - read > BytesPerGroup) {
        const std::uint64_t group = loadEight(&buffer[read]);
        store<7>(group >> 8U | spreadTopBits(buffer[read]), &buffer[written]);
        read += BytesPerGroup + 1;
        written += BytesPerGroup;
    }
    while (read < buffer.size()) {
        const std::uint8_t header = buffer[read++];
        const std::size_t group = std::min(BytesPerGroup, buffer.size() - read);
        for (std::size_t j = 0; j < group; ++j) {
            const unsigned topBit = (static_cast<unsigned>(header) << (j + 1)) & 0x80U;
            buffer[written + j] = static_cast<std::uint8_t>(buffer[read + j] | topBit);
        }
        read += group;
        written += group;
    }
    return written;
}

} // namespace midi
