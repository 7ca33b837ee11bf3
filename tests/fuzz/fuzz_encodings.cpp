#include "fuzz/FuzzInput.h"
#include "fuzz/Require.h"
#include "unit/midi/EncodingChecks.h"

// A capacity and a number, then bytes: taken once for raw data and once for encoded data.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    constexpr std::size_t MaxCapacity = 4096;
    fuzz::Input input(data, size);
    const std::size_t capacity = input.takeNumber() % MaxCapacity;
    encodingchecks::checkSevenBit(static_cast<std::uint32_t>(input.takeNumber()) << 16U |
                                      static_cast<std::uint32_t>(capacity),
                                  fuzz::require);
    const midi::ByteMessage bytes = input.takeRest();
    encodingchecks::checkMCoded7(bytes, capacity, fuzz::require);
    encodingchecks::checkBlock(bytes, capacity, fuzz::require);
    return 0;
}
