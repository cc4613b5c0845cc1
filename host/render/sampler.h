#pragma once
// Numbers for the path tracer: well spread over the samples of a pixel, different from pixel to pixel, and
// always the same.

#include <cstdint>

#include "host/document/geometry.h"

namespace host {

/// Sobol's first two dimensions, scrambled after Owen and shuffled anew for each pair of numbers. (B. Burley,
/// "Practical Hash-based Owen Scrambling", JCGT 9(4), 2020; the hash that scrambles is S. Laine's and T.
/// Karras's, with the constants of N. Vegdahl.) Late pairs of a sample are merely random.
class PixelSampler {
 public:
  PixelSampler(int x, int y);

  /// Begins sample `index` of the pixel.
  void begin(uint32_t index);
  /// Two numbers of 0 up to but not including 1.
  Vec2 pair();

 private:
  Vec2 planned() const;

  uint32_t seed_;
  uint32_t reversedIndex_ = 0;
  uint32_t pair_ = 0;
};

}  // namespace host
