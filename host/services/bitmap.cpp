#include "host/services/bitmap.h"

#include "host/services/files.h"

namespace host {
namespace {

constexpr int32_t kDepth = 24;

/// Any picture as RGB; grey is spread, alpha left out.
Image toRgb(Image image) {
  if (image.channels == 3) return image;
  Image rgb{image.width, image.height, 3, {}};
  rgb.pixels.reserve(static_cast<size_t>(image.width) * static_cast<size_t>(image.height) * 3);
  const auto channels = static_cast<size_t>(image.channels);
  const bool grey = channels < 3;
  for (size_t i = 0; i + channels <= image.pixels.size(); i += channels) {
    for (size_t c = 0; c < 3; ++c) rgb.pixels.push_back(image.pixels[i + (grey ? 0 : c)]);
  }
  return rgb;
}

}  // namespace

bool Bitmap::init(int32_t width, int32_t height, int32_t depth) {
  image_ = {};
  if (depth != kDepth || width < 1 || height < 1 || width > kMaxImageSide || height > kMaxImageSide)
    return false;
  if (int64_t{width} * height > kMaxImagePixels) return false;
  image_ = {width, height, 3, {}};
  image_.pixels.resize(static_cast<size_t>(width) * static_cast<size_t>(height) * 3);
  return true;
}

void Bitmap::read(const std::string& name) { image_ = toRgb(readImage(name)); }

void Bitmap::saveTiff(const std::string& name, TiffCompression compression) const {
  PendingFile pending(name);
  writeTiff(pending.path(), image_, compression);
  pending.commit();
}

void Bitmap::savePng(const std::string& name) const {
  PendingFile pending(name);
  writePng(pending.path(), image_);
  pending.commit();
}

uint8_t* Bitmap::row(int32_t y) {
  if (y < 0 || y >= image_.height) return nullptr;
  return image_.pixels.data() + static_cast<size_t>(y) * static_cast<size_t>(image_.width) * 3;
}

}  // namespace host
