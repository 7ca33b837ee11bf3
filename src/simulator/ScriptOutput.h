#pragma once

#include "midi/protocol/Bytes.h"

#include <string>
#include <vector>

namespace simulator
{

/// What a script would print, as far as can be told without an interpreter: one line for each
/// print of a single plain string literal at the start of a line. Everything else is passed over.
[[nodiscard]] std::vector<std::string> scriptOutput(midi::ByteView script);

} // namespace simulator
