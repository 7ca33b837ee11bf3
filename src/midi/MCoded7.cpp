#include "midi/MCoded7.h"

#include <algorithm>

namespace midi
{
namespace
{
constexpr std::size_t GroupSize = 7;
} // namespace

MCoded7Result encodeMCoded7(ByteView input, std::span<std::uint8_t> output)
{
    std::ranges::fill(output, std::uint8_t{0});
    std::size_t read = 0;
    std::size_t written = 0;
    while (read < input.size() && written < output.size()) {
        std::uint8_t &header = output[written++];
        const std::size_t group =
            std::min({GroupSize, input.size() - read, output.size() - written});
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
    while (read < buffer.size()) {
        const std::uint8_t header = buffer[read++];
        const std::size_t group = std::min(GroupSize, buffer.size() - read);
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
