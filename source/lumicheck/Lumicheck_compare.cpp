#include "lumicheck/Lumicheck_compare.h"

namespace outfitter {

uint32_t SubtractRow(const uint8_t* current, uint8_t* reference, int32_t count) {
  uint32_t sum = 0;
  for (int32_t k = 0; k < count; ++k) {
    const uint8_t a = reference[k];
    const uint8_t b = current[k];
    const uint8_t difference = static_cast<uint8_t>(a > b ? a - b : b - a);
    reference[k] = difference;
    sum += difference;
  }
  return sum;
}

double MeanDifference(uint32_t sum, int32_t width, int32_t height) {
  const uint32_t divisor = static_cast<uint32_t>(width) * 765U * static_cast<uint32_t>(height);
  return static_cast<double>(static_cast<int32_t>(sum)) / static_cast<double>(static_cast<int32_t>(divisor));
}

}  // namespace outfitter
