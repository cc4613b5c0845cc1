#include "host/render/sampler.h"

#include <array>

namespace host {
namespace {

/// The bits of each byte in reverse order.
template <class Word>
constexpr Word reversedBytes(Word x) {
  constexpr Word kEach = static_cast<Word>(-1) / 255;
  x = ((x & kEach * 0x0F) << 4) | ((x >> 4) & kEach * 0x0F);
  x = ((x & kEach * 0x33) << 2) | ((x >> 2) & kEach * 0x33);
  return ((x & kEach * 0x55) << 1) | ((x >> 1) & kEach * 0x55);
}

constexpr uint32_t reversed(uint32_t x) { return reversedBytes(__builtin_bswap32(x)); }

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

/// Sobol's second dimension with its bits reversed, a byte of the index at a time.
class ReversedSecondDimension {
 public:
  constexpr ReversedSecondDimension() {
    uint32_t direction = 0x80000000U;
    for (auto& table : tables_) {
      for (int bit = 0; bit < 8; ++bit, direction ^= direction >> 1) {
        for (unsigned byte = 0; byte < 256; ++byte) {
          if ((byte >> bit) & 1U) table[byte] ^= reversed(direction);
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
constexpr ReversedSecondDimension kReversedSecond;

float unitFloat(uint32_t x) { return static_cast<float>(x >> 8) * 0x1p-24F; }

Vec2 unitPair(uint64_t both) {
  return {unitFloat(static_cast<uint32_t>(both >> 32)), unitFloat(static_cast<uint32_t>(both))};
}

/// A bijection that mixes all bits. (D. Stafford's thirteenth variant of a finaliser.)
uint64_t mixed(uint64_t x) {
  x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9U;
  x = (x ^ (x >> 27)) * 0x94D049BB133111EBU;
  return x ^ (x >> 31);
}

// Those of a pixel's place and its first two surfaces. What comes later is spread over so many dimensions
// that no plan is better than chance, and chance costs a fifth.
constexpr uint32_t kPlannedPairs = 11;

}  // namespace

PixelSampler::PixelSampler(int x, int y)
    : seed_(mixed(static_cast<uint32_t>(x) + mixed(static_cast<uint32_t>(y) + 0x9E3779B9U))) {}

void PixelSampler::begin(uint32_t index) {
  reversedIndex_ = reversed(index);
  pair_ = 0;
}

Vec2 PixelSampler::pair() {
  return ++pair_ <= kPlannedPairs ? planned()
                                  : unitPair(mixed((static_cast<uint64_t>(seed_) << 32 | reversedIndex_) +
                                                   0x9E3779B97F4A7C15U * pair_));
}

Vec2 PixelSampler::planned() const {
  const uint32_t seed = mixed(seed_ + 0x9E3779B9U * pair_);
  const uint32_t index = reversed(scrambledReversed(reversedIndex_, seed));
  // The first dimension is the reversed index. Both are turned round at once, which changes their places.
  const uint64_t first = scrambledReversed(index, mixed(seed ^ 0x68E31DA4U));
  const uint64_t second = scrambledReversed(kReversedSecond[index], mixed(seed ^ 0xB5297A4DU));
  return unitPair(reversedBytes(__builtin_bswap64(second << 32 | first)));
}

}  // namespace host
