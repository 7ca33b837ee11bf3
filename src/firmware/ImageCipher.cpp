#include "firmware/ImageCipher.h"

#include "firmware/Btea.h"
#include "midi/protocol/Crc32.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string_view>

namespace firmware
{
namespace
{

using midi::ByteView;

constexpr std::size_t WordSize = sizeof(std::uint32_t);
constexpr std::uint8_t Filler = 0xFF;

using Block = std::array<std::uint8_t, CipherBlockSize>;
using Words = std::array<std::uint32_t, CipherBlockSize / WordSize>;
using Cipher = void (*)(std::uint32_t *v, std::uint32_t n, const std::uint32_t *key);

/// Words are little-endian in images, whatever the machine.
template <typename Byte>
constexpr std::uint32_t readWord(const Byte *bytes)
{
    std::uint32_t word = 0;
    for (std::size_t i = 0; i < WordSize; ++i)
        word |= static_cast<std::uint32_t>(static_cast<std::uint8_t>(bytes[i])) << (8 * i);
    return word;
}

void writeWord(std::uint8_t *bytes, std::uint32_t word)
{
    for (std::size_t i = 0; i < WordSize; ++i)
        bytes[i] = static_cast<std::uint8_t>(word >> (8 * i));
}

constexpr std::string_view KeyText = "KLM5831pudHwS4bo";
constexpr std::array<std::uint32_t, 4> BTEAKey{readWord(&KeyText[0]), readWord(&KeyText[4]),
                                               readWord(&KeyText[8]), readWord(&KeyText[12])};

/// Sends 1 to 512 bytes through the cipher. As many bytes of the result count.
Block process(ByteView bytes, Cipher cipher)
{
    Block block;
    block.fill(Filler);
    std::ranges::copy(bytes, block.begin());

    const std::size_t wordCount = (bytes.size() + WordSize - 1) / WordSize;
    Words words{};
    for (std::size_t i = 0; i < wordCount; ++i)
        words[i] = readWord(&block[i * WordSize]);
    cipher(words.data(), static_cast<std::uint32_t>(wordCount), BTEAKey.data());
    for (std::size_t i = 0; i < wordCount; ++i)
        writeWord(&block[i * WordSize], words[i]);
    return block;
}

/// Calls `visit` with each block of `payload` after the cipher, cut to its real length.
template <typename Visitor>
void forEachBlock(ByteView payload, Cipher cipher, Visitor &&visit)
{
    for (; !payload.empty();) {
        const ByteView bytes = payload.first(std::min(payload.size(), CipherBlockSize));
        const Block block = process(bytes, cipher);
        visit(ByteView(block).first(bytes.size()));
        payload = payload.subspan(bytes.size());
    }
}

std::vector<std::uint8_t> processAll(ByteView payload, Cipher cipher)
{
    std::vector<std::uint8_t> result;
    result.reserve(payload.size());
    forEachBlock(payload, cipher, [&](ByteView block) { midi::append(result, block); });
    return result;
}

} // namespace

std::vector<std::uint8_t> decipherPayload(ByteView stored)
{
    return processAll(stored, &btea_decrypt);
}

std::vector<std::uint8_t> encipherPayload(ByteView raw)
{
    return processAll(raw, &btea_encrypt);
}

std::uint32_t imageCheckValue(ByteView stored)
{
    std::uint32_t value = midi::CrcInitial;
    if (stored.size() <= static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()))
        forEachBlock(stored, &btea_decrypt,
                     [&](ByteView block) { value = midi::calcCrc(block, value); });
    return value;
}

} // namespace firmware
