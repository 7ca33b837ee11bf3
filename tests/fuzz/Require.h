#pragma once

#include <cstdio>
#include <cstdlib>

namespace fuzz
{

/// Ends the program where something does not hold that must hold for every input. The fuzzer takes
/// this for a crash and keeps the input.
inline void require(bool holds, const char *what)
{
    if (holds)
        return;
    static_cast<void>(std::fprintf(stderr, "does not hold: %s\n", what));
    std::abort();
}

} // namespace fuzz
