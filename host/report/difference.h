#pragma once
// What a difference image says: how far a render is from its reference, and where most.

#include "host/services/image.h"

namespace host {

/// Measures of a difference image, whose bytes are |reference - new| of 8-bit RGB.
struct Difference {
  double mean = 0;          ///< sum of all bytes / (3 * width * height * 255): 0 same, 1 black against white
  int maximum = 0;          ///< largest byte, 0 to 255
  int x = 0;                ///< its place, the first in reading order; pixels from the left
  int y = 0;                ///< pixels from the top
  int channel = 0;          ///< 0 red, 1 green, 2 blue
  double changedShare = 0;  ///< pixels with any difference / all pixels, 0 to 1
  int width = 0;            ///< pixels
  int height = 0;           ///< pixels
};

/// Measures in one pass, with 64-bit sums: exact for every picture that can be read. Thread: any. Throws
/// ImageError unless `image` has 3 channels and at least one pixel.
Difference measureDifference(const Image& image);

}  // namespace host
