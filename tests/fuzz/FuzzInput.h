#pragma once

#include "midi/protocol/Bytes.h"

#include <algorithm>
#include <cstddef>

/// What a fuzz target makes of the bytes that it is given.
namespace fuzz
{

/// Takes values from the front of the fuzzer's bytes. Where they have run out, zeros are taken.
class Input
{
public:
    Input(const std::uint8_t *bytes, std::size_t size)
        : m_rest(bytes, size)
    {}

    [[nodiscard]] bool atEnd() const { return m_rest.empty(); }

    std::uint8_t takeByte()
    {
        if (m_rest.empty())
            return 0;
        const std::uint8_t byte = m_rest.front();
        m_rest = m_rest.subspan(1);
        return byte;
    }

    /// 16 bits, little-endian.
    std::uint16_t takeNumber()
    {
        const unsigned low = takeByte();
        return static_cast<std::uint16_t>(low | (static_cast<unsigned>(takeByte()) << 8U));
    }

    /// At most `size` bytes, in a block of their own, where a sanitizer sees a step over its end.
    midi::ByteMessage takeBytes(std::size_t size)
    {
        const midi::ByteView taken = m_rest.first(std::min(size, m_rest.size()));
        m_rest = m_rest.subspan(taken.size());
        return {taken.begin(), taken.end()};
    }

    midi::ByteMessage takeRest() { return takeBytes(m_rest.size()); }

    /// A length of 16 bits, and as many bytes.
    midi::ByteMessage takeMessage() { return takeBytes(takeNumber()); }

private:
    midi::ByteView m_rest;
};

} // namespace fuzz
