#pragma once

#include <array>
#include <cstdint>

inline constexpr const char *UnknownProductName = "???";

/// Product names by product ID; IDs without a product hold the unknown name.
inline constexpr std::array<const char *, 34> ProductNames{
    "???",        "Pellor",  "???",   "TQ-5",   "VN-22",      "KLD-3",      "KLD-4",
    "Torvane",    "Brindle", "???",   "Sorvik", "PX-6",       "Dunmere",    "???",
    "Torvane RX", "Halvard", "PX-62", "Quenby", "Torvane KD", "Torvane SL", "???",
    "Dunmere Z",  "???",     "???",   "???",    "???",        "Ostrel",     "???",
    "???",        "???",     "???",   "???",    "Larkspur",   "Corvell",
};
