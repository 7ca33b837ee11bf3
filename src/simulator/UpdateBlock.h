#pragma once

#include "midi/ByteMessage.h"

#include <string>
#include <variant>

namespace simulator
{

/// One block of firmware as an update data message carries it.
struct UpdateBlock
{
    std::uint32_t position = 0;
    std::vector<std::uint8_t> bytes;
};

/// Reads an update data message. A message that is not right in every field gives the reason
/// instead.
[[nodiscard]] std::variant<UpdateBlock, std::string> readUpdateBlock(midi::ByteView message);

} // namespace simulator
