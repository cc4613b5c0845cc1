#pragma once
// The comparison of one pair of pictures, as a run does it with every scene: the reference becomes the
// difference image row by row.

#include <cstring>
#include <string>
#include <vector>

#include "host/services/bitmap.h"
#include "lumicheck/Lumicheck_compare.h"

namespace bench {

constexpr int kPairWidth = 1920, kPairHeight = 1080;  // pixels

/// Smooth shades with grain; the same for the same `seed`. Two seeds give a pair that differs by the grain.
inline host::Bitmap grainyPicture(uint32_t seed) {
  host::Bitmap picture;
  picture.init(kPairWidth, kPairHeight, 24);
  uint32_t state = seed;
  for (int y = 0; y < kPairHeight; ++y) {
    uint8_t* row = picture.row(y);
    for (int x = 0; x < 3 * kPairWidth; ++x) {
      state = state * 1664525U + 1013904223U;  // the generator of "Numerical Recipes"
      row[x] = static_cast<uint8_t>((x / 3 + y) * 240 / (kPairWidth + kPairHeight) + (state >> 28));
    }
  }
  return picture;
}

/// Rows are fetched, subtracted and written back. Answers the mean difference, 0 to 1.
inline double subtract(const host::Bitmap& current, host::Bitmap& reference) {
  const size_t rowBytes = 3 * static_cast<size_t>(current.width());
  std::vector<uint8_t> currentRow(rowBytes), referenceRow(rowBytes);
  uint32_t sum = 0;
  for (int y = 0; y < current.height(); ++y) {
    std::memcpy(currentRow.data(), current.row(y), rowBytes);
    std::memcpy(referenceRow.data(), reference.row(y), rowBytes);
    sum += outfitter::SubtractRow(currentRow.data(), referenceRow.data(), static_cast<int32_t>(rowBytes));
    std::memcpy(reference.row(y), referenceRow.data(), rowBytes);
  }
  return outfitter::MeanDifference(sum, current.width(), current.height());
}

/// The whole step; answers the mean difference.
inline double compareWithFile(const host::Bitmap& current, const std::string& reference,
                              const std::string& difference) {
  host::Bitmap bitmap;
  bitmap.read(reference);
  const double mean = subtract(current, bitmap);
  bitmap.saveTiff(difference, host::TiffCompression::None);
  return mean;
}

}  // namespace bench
