// The picture comparison of Lumicheck: arithmetic on rows of bytes, nothing of the host.
#pragma once

#include <cstdint>

namespace outfitter {

/// Replaces each of `count` bytes of `reference` by its absolute difference to `current`, and answers the
/// sum of the differences modulo 2^32.
uint32_t SubtractRow(const uint8_t* current, uint8_t* reference, int32_t count);

/// The mean absolute difference of two pictures of `width` x `height` pixels, 0 to 1: the sum of all byte
/// differences through the largest sum there could be. Sum and divisor are 32-bit and signed and wrap around
/// beyond 2.8 million pixels; result tables of all runs share that arithmetic, so it stays.
double MeanDifference(uint32_t sum, int32_t width, int32_t height);

}  // namespace outfitter
