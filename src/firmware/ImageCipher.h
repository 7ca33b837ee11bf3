#pragma once

#include "midi/protocol/Bytes.h"

#include <cstddef>

/// How the payload of a firmware image is enciphered: in blocks of 512 bytes, each by itself. A
/// last block that is shorter is filled up to whole words with 0xFF for the cipher, and only its
/// real bytes are kept afterwards.
namespace firmware
{

inline constexpr std::size_t CipherBlockSize = 512;

/// Deciphers a payload as an image stores it, to the same number of bytes.
[[nodiscard]] std::vector<std::uint8_t> decipherPayload(midi::ByteView stored);

/// Enciphers a raw payload to the same number of bytes. Deciphering the result gives the raw bytes
/// back where isExactLength() holds; otherwise its last block comes out different.
[[nodiscard]] std::vector<std::uint8_t> encipherPayload(midi::ByteView raw);

/// True for lengths at which enciphering loses nothing: whole words, and not a single one in the
/// last block. Part of a word cannot be kept without the rest of it, and the cipher does not
/// undo itself on a single word.
[[nodiscard]] constexpr bool isExactLength(std::size_t length)
{
    return length % sizeof(std::uint32_t) == 0 && length % CipherBlockSize != sizeof(std::uint32_t);
}

/// The check value of an image, over its payload as stored: the checksum of each deciphered block
/// started from the one before. Not the checksum of the whole, but what boxes and images agree on.
/// Of no bytes, or of more than a signed 32-bit number can count, it is midi::CrcInitial.
[[nodiscard]] std::uint32_t imageCheckValue(midi::ByteView stored);

} // namespace firmware
