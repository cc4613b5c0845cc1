#pragma once
// Bitmaps of the host: 24-bit pictures in memory.

#include <string>

#include "host/services/image.h"

namespace host {

/// One thread at a time.
class Bitmap {
 public:
  /// Black. False for a size below 1 or beyond the limits of pictures.
  bool init(int32_t width, int32_t height, int32_t depth);
  /// Throws ImageError.
  void read(const std::string& name);
  /// Writes a TIFF as a whole or not at all. Throws ImageError or std::system_error.
  void saveTiff(const std::string& name, TiffCompression compression) const;
  /// The same for PNG.
  void savePng(const std::string& name) const;
  /// Takes a picture of 3 channels.
  void assign(Image image) { image_ = std::move(image); }

  int32_t width() const { return image_.width; }
  int32_t height() const { return image_.height; }
  /// The first byte of row `y`, 3 x width bytes; null when there is no such row.
  uint8_t* row(int32_t y);
  const uint8_t* row(int32_t y) const { return const_cast<Bitmap*>(this)->row(y); }

 private:
  Image image_;
};

}  // namespace host
