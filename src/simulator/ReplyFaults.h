#pragma once

#include "simulator/BoxFaults.h"

#include "midi/protocol/Bytes.h"

#include <vector>

namespace simulator
{

/// What leaves a box with these faults when a healthy one would send `replies`. Delays and the
/// faults of a firmware update are not applied here.
[[nodiscard]] std::vector<midi::ByteMessage>
disturbReplies(const BoxFaults &faults, const std::vector<midi::ByteMessage> &replies);

} // namespace simulator
