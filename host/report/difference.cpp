#include "host/report/difference.h"

#include <algorithm>
#include <cstdint>
#include <span>

namespace host {

namespace {

struct RowMeasure {
  uint32_t sum = 0;  // the widest picture's row stays below 2^26
  uint32_t changed = 0;
  uint8_t maximum = 0;
};

/// Two plain loops, which compilers turn into vector code; most rows of most runs need only the first.
RowMeasure measureRow(std::span<const uint8_t> row) {
  RowMeasure measure;
  for (const uint8_t byte : row) {
    measure.sum += byte;
    measure.maximum = std::max(measure.maximum, byte);
  }
  if (measure.maximum == 0) return measure;
  for (std::size_t i = 0; i < row.size(); i += 3) {
    measure.changed += (row[i] | row[i + 1] | row[i + 2]) != 0 ? 1 : 0;
  }
  return measure;
}

}  // namespace

Difference measureDifference(const Image& image) {
  if (image.channels != 3) throw ImageError("not an RGB picture");
  if (image.width < 1 || image.height < 1) throw ImageError("no pixel in it");
  Difference difference;
  difference.width = image.width;
  difference.height = image.height;
  const std::size_t rowBytes = static_cast<std::size_t>(image.width) * 3;
  uint64_t sum = 0;
  uint64_t changed = 0;
  for (int y = 0; y < image.height; ++y) {
    const std::span row(image.pixels.data() + static_cast<std::size_t>(y) * rowBytes, rowBytes);
    const RowMeasure measure = measureRow(row);
    sum += measure.sum;
    changed += measure.changed;
    if (measure.maximum <= difference.maximum) continue;
    // Happens at most 255 times a picture, so looking for the place again costs nothing.
    const auto place = std::find(row.begin(), row.end(), measure.maximum) - row.begin();
    difference.maximum = measure.maximum;
    difference.x = static_cast<int>(place / 3);
    difference.y = y;
    difference.channel = static_cast<int>(place % 3);
  }
  const double pixels = static_cast<double>(image.width) * image.height;
  difference.mean = static_cast<double>(sum) / (3 * pixels * 255);
  difference.changedShare = static_cast<double>(changed) / pixels;
  return difference;
}

}  // namespace host
