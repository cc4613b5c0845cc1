#include "host/render/film.h"

#include <algorithm>
#include <cmath>

#include "host/render/texture.h"

namespace host {
namespace {

constexpr int kRowsBetweenStops = 64;
constexpr int kBoxes = 3;  // three running means in a row are all but a bell curve

/// The running mean over 2 * reach + 1 values of a row with a given stride; beyond its ends it is dark.
void blurRow(Vec3* row, int count, size_t stride, int reach, std::vector<Vec3>& copy) {
  for (int i = 0; i < count; ++i) copy[i] = row[i * stride];
  const float share = 1 / static_cast<float>(2 * reach + 1);
  Vec3 sum;
  for (int i = 0; i < std::min(reach, count); ++i) sum = sum + copy[i];
  for (int i = 0; i < count; ++i) {
    if (i + reach < count) sum = sum + copy[i + reach];
    if (i - reach > 0) sum = sum - copy[i - reach - 1];
    row[i * stride] = sum * share;
  }
}

void blur(std::vector<Vec3>& light, int width, int height, float deviation,
          const std::function<bool()>& stopped) {
  // Three boxes of 2 r + 1 values have the variance ((2 r + 1)^2 - 1) / 4.
  const int most = std::max(width, height);
  const int reach =
      std::clamp(static_cast<int>(std::lround((std::sqrt(4 * deviation * deviation + 1) - 1) / 2)), 1, most);
  std::vector<Vec3> copy(most);
  for (int box = 0; box < kBoxes; ++box) {
    for (int y = 0; y < height; ++y) {
      if (y % kRowsBetweenStops == 0 && stopped()) throw RenderStopped();
      blurRow(&light[static_cast<size_t>(y) * width], width, 1, reach, copy);
    }
    for (int x = 0; x < width; ++x) {
      if (x % kRowsBetweenStops == 0 && stopped()) throw RenderStopped();
      blurRow(&light[x], height, width, reach, copy);
    }
  }
}

/// What is brighter than white; colours that no screen shows keep their tint.
Vec3 aboveWhite(Vec3 light) {
  const float kBrightest = 64;  // a lamp that is seen must not wash out the picture
  const auto above = [=](float x) { return x > 1 ? std::min(x, kBrightest) - 1 : 0; };
  return {above(light.x), above(light.y), above(light.z)};
}

}  // namespace

float toneCurve(float x) {
  constexpr float kStart = 0.65F;
  if (!(x > kStart)) return x;
  const float over = (x - kStart) / (1 - kStart);
  return kStart + (1 - kStart) * (over < 1e30F ? over / (1 + over) : 1);
}

Film::Film(const RenderRequest& request)
    : stopped_(request.stopped),
      toneCurve_(request.toneCurve),
      glow_(request.glow),
      image_{request.width, request.height, 3, {}} {
  const size_t pixels = static_cast<size_t>(request.width) * request.height;
  image_.pixels.resize(3 * pixels);
  if (glow_) light_.resize(pixels);
}

void Film::set(int x, int y, Vec3 light) {
  if (glow_) {
    light_[static_cast<size_t>(y) * image_.width + x] = light;
  } else {
    expose(light, pixelAt(x, y));
  }
}

void Film::expose(Vec3 light, uint8_t* pixel) const {
  pixel[0] = linearToSrgb(toneCurve_ ? toneCurve(light.x) : light.x);
  pixel[1] = linearToSrgb(toneCurve_ ? toneCurve(light.y) : light.y);
  pixel[2] = linearToSrgb(toneCurve_ ? toneCurve(light.z) : light.z);
}

Image Film::develop() {
  if (glow_) {
    std::vector<Vec3> spilt(light_.size());
    std::transform(light_.begin(), light_.end(), spilt.begin(), aboveWhite);
    blur(spilt, image_.width, image_.height, glow_->radius * static_cast<float>(image_.height), stopped_);
    for (int y = 0; y < image_.height; ++y) {
      for (int x = 0; x < image_.width; ++x) {
        const size_t i = static_cast<size_t>(y) * image_.width + x;
        expose(light_[i] + (spilt[i] - aboveWhite(light_[i])) * glow_->strength, pixelAt(x, y));
      }
    }
  }
  return std::move(image_);
}

}  // namespace host
