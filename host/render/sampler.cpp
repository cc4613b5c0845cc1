#include "host/render/sampler.h"

#include <array>

namespace host {
namespace {

uint32_t reversed(uint32_t x) {
  x = __builtin_bswap32(x);
  x = ((x & 0x0F0F0F0FU) << 4) | ((x >> 4) & 0x0F0F0F0FU);
  x = ((x & 0x33333333U) << 2) | ((x >> 2) & 0x33333333U);
  return ((x & 0x55555555U) << 1) | ((x >> 1) & 0x55555555U);
}

/// A bijection that mixes all bits. (C. Wellons' search for hash functions, "lowbias32".)
uint32_t mixed(uint32_t x) {
  x = (x ^ (x >> 16)) * 0x7FEB352DU;
  x = (x ^ (x >> 15)) * 0x846CA68BU;
  return x ^ (x >> 16);
}

/// Owen's scrambling of a number whose bits are reversed.
uint32_t scrambledReversed(uint32_t x, uint32_t seed) {
  x ^= x * 0x3D20ADEAU;
  x += seed;
  x *= (seed >> 16) | 1U;
  x ^= x * 0x05526C56U;
  x ^= x * 0x53A22864U;
  return x;
}

uint32_t scrambled(uint32_t x, uint32_t seed) { return reversed(scrambledReversed(reversed(x), seed)); }

/// Sobol's second dimension, a byte of the index at a time.
class SecondDimension {
 public:
  constexpr SecondDimension() {
    uint32_t direction = 0x80000000U;
    for (auto& table : tables_) {
      for (int bit = 0; bit < 8; ++bit, direction ^= direction >> 1) {
        for (unsigned byte = 0; byte < 256; ++byte) {
          if ((byte >> bit) & 1U) table[byte] ^= direction;
        }
      }
    }
  }
  uint32_t operator[](uint32_t index) const {
    return tables_[0][index & 255U] ^ tables_[1][(index >> 8) & 255U] ^ tables_[2][(index >> 16) & 255U] ^
           tables_[3][index >> 24];
  }

 private:
  std::array<std::array<uint32_t, 256>, 4> tables_{};
};
constexpr SecondDimension kSecond;

float unitFloat(uint32_t x) { return static_cast<float>(x >> 8) * 0x1p-24F; }

}  // namespace

PixelSampler::PixelSampler(int x, int y)
    : seed_(mixed(static_cast<uint32_t>(x) + mixed(static_cast<uint32_t>(y) + 0x9E3779B9U))) {}

Vec2 PixelSampler::pair() {
  const uint32_t seed = mixed(seed_ + 0x9E3779B9U * ++pair_);
  const uint32_t index = scrambled(index_, seed);
  // The first dimension is the reversed index, so that its scrambling needs one reversal only.
  return {unitFloat(reversed(scrambledReversed(index, mixed(seed ^ 0x68E31DA4U)))),
          unitFloat(scrambled(kSecond[index], mixed(seed ^ 0xB5297A4DU)))};
}

}  // namespace host
