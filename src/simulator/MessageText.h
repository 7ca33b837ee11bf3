#pragma once

#include "midi/protocol/Bytes.h"

#include <string>

/// Lines for people and tests about messages and bytes.
namespace simulator
{

/// One message in a few words: what it is and the numbers in it, as "name-request id=5".
/// Messages outside the protocol become "other" with their length and first bytes.
[[nodiscard]] std::string describe(midi::ByteView message);

/// The SHA-1 of `bytes` in lower-case hexadecimal digits.
[[nodiscard]] std::string sha1(midi::ByteView bytes);

/// `text` in double quotes with quotes, backslashes and control characters escaped.
[[nodiscard]] std::string inQuotes(std::string_view text);

} // namespace simulator
