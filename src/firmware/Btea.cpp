#include "firmware/Btea.h"

namespace
{

constexpr std::uint32_t Delta = 0x9E3779B9U;

constexpr std::uint32_t rounds(std::uint32_t n)
{
    return 6 + 52 / n;
}

/// What is added to word `p` in a round, or taken from it. `z` is the word before it, `y` the one
/// behind it, both around the corner at the ends.
constexpr std::uint32_t mix(std::uint32_t z, std::uint32_t y, std::uint32_t sum, std::uint32_t p,
                            const std::uint32_t *key)
{
    const std::uint32_t e = (sum >> 2) & 3;
    return (((z >> 5) ^ (y << 2)) + ((y >> 3) ^ (z << 4))) ^ ((sum ^ y) + (key[(p & 3) ^ e] ^ z));
}

} // namespace

void btea_decrypt(std::uint32_t *v, std::uint32_t n, const std::uint32_t *key)
{
    std::uint32_t y = v[0];
    for (std::uint32_t sum = rounds(n) * Delta; sum != 0; sum -= Delta) {
        for (std::uint32_t p = n - 1; p > 0; --p)
            y = v[p] -= mix(v[p - 1], y, sum, p, key);
        y = v[0] -= mix(v[n - 1], y, sum, 0, key);
    }
}

void btea_encrypt(std::uint32_t *v, std::uint32_t n, const std::uint32_t *key)
{
    std::uint32_t z = v[n - 1];
    const std::uint32_t last = rounds(n) * Delta;
    for (std::uint32_t sum = 0; sum != last;) {
        sum += Delta;
        for (std::uint32_t p = 0; p < n - 1; ++p)
            z = v[p] += mix(z, v[p + 1], sum, p, key);
        z = v[n - 1] += mix(z, v[0], sum, n - 1, key);
    }
}
