#pragma once

#include <cstdint>

/// Corrected Block TEA with 32-bit words; `key` has four of them. `n` is the number of words and
/// must be at least 1: the number of rounds comes from a division by it.
///
/// The two functions are each other's inverse for two words and more. A single word, which the
/// usual implementations leave alone, is processed as well, because boxes do so; there the two
/// directions are not inverse of each other.
void btea_decrypt(std::uint32_t *v, std::uint32_t n, const std::uint32_t *key);
void btea_encrypt(std::uint32_t *v, std::uint32_t n, const std::uint32_t *key);
