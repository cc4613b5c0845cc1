#include "host/render/texture.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <map>

#include "host/render/renderer.h"

namespace host {
namespace {

constexpr int kRowsBetweenStops = 64;

std::array<float, 256> makeDecodeTable(bool srgb) {
  std::array<float, 256> table{};
  for (int i = 0; i < 256; ++i) {
    const double v = i / 255.0;
    const double linear = !srgb ? v : v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
    table[i] = static_cast<float>(linear);
  }
  return table;
}

// Made at first use: programs that never render start without them.
const std::array<float, 256>& decodeTable(bool srgb) {
  static const std::array<float, 256> kColor = makeDecodeTable(true);
  static const std::array<float, 256> kData = makeDecodeTable(false);
  return srgb ? kColor : kData;
}

// Fine enough that each 8-bit value comes back after decoding, also in the steep dark end.
constexpr int kEncodeSteps = 1 << 14;

std::array<uint8_t, kEncodeSteps + 1> makeEncodeTable() {
  std::array<uint8_t, kEncodeSteps + 1> table{};
  for (int i = 0; i <= kEncodeSteps; ++i) {
    const double v = std::min((i + 0.5) / kEncodeSteps, 1.0);
    const double srgb = v <= 0.0031308 ? 12.92 * v : 1.055 * std::pow(v, 1 / 2.4) - 0.055;
    table[i] = static_cast<uint8_t>(std::lround(srgb * 255));
  }
  return table;
}

/// For values whose floor fits an int; std::floor is a function call on the oldest processors of this family.
int floorToInt(float x) {
  const int i = static_cast<int>(x);
  return i - (x < static_cast<float>(i) ? 1 : 0);
}

/// Into 0..1 by the wrap mode. What is not a number, or too large to have a fraction, becomes 0.
float fold(float u, Wrap wrap) {
  if (!(std::abs(u) < 1e9F)) return 0;
  if (wrap == Wrap::Clamp) return std::clamp(u, 0.0F, 1.0F);
  if (wrap == Wrap::Repeat) return u - static_cast<float>(floorToInt(u));
  const float t = u - 2 * static_cast<float>(floorToInt(u * 0.5F));
  return t > 1 ? 2 - t : t;
}

/// A neighbour one texel outside the picture.
int wrapIndex(int i, int size, Wrap wrap) {
  if (i >= 0 && i < size) return i;
  if (wrap != Wrap::Repeat) return i < 0 ? 0 : size - 1;
  return i < 0 ? size - 1 : 0;
}

float decodeData(uint8_t value) { return static_cast<float>(value) * (1 / 255.0F); }

// Four channels in one register; both compilers translate its arithmetic for every processor.
using Channels = float __attribute__((vector_size(16)));

template <int kChannels>
Channels texel(const uint8_t* p, const float* decode) {
  if constexpr (kChannels == 1) return Channels{decode[p[0]], decode[p[0]], decode[p[0]], 1};
  if constexpr (kChannels == 2) return Channels{decode[p[0]], decode[p[0]], decode[p[0]], decodeData(p[1])};
  if constexpr (kChannels == 3) return Channels{decode[p[0]], decode[p[1]], decode[p[2]], 1};
  return Channels{decode[p[0]], decode[p[1]], decode[p[2]], decodeData(p[3])};
}

Channels mix(Channels a, Channels b, float t) { return a * (1 - t) + b * t; }
Vec4 unpacked(Channels c) { return {c[0], c[1], c[2], c[3]}; }

/// The two texels around a coordinate on one axis, and how near the second is.
struct AxisTexels {
  int first, second;
  float fraction;

  AxisTexels(float coordinate, int size, Wrap wrap) {
    const float x = fold(coordinate, wrap) * static_cast<float>(size) - 0.5F;
    const int floor = floorToInt(x);
    first = wrapIndex(floor, size, wrap);
    second = wrapIndex(floor + 1, size, wrap);
    fraction = x - static_cast<float>(floor);
  }
};

int nearestTexel(float coordinate, int size, Wrap wrap) {
  return std::min(static_cast<int>(fold(coordinate, wrap) * static_cast<float>(size)), size - 1);
}

template <int kChannels>
Channels sampleChannels(const Image& image, const Texture& t, Vec2 uv) {
  const float* decode = decodeTable(t.srgb).data();
  const auto row = [&](int y) { return &image.pixels[static_cast<size_t>(y) * image.width * kChannels]; };
  const auto at = [&](const uint8_t* of, int x) {
    return texel<kChannels>(of + static_cast<size_t>(x) * kChannels, decode);
  };
  if (t.nearest)
    return at(row(nearestTexel(uv.y, image.height, t.wrapT)), nearestTexel(uv.x, image.width, t.wrapS));
  const AxisTexels x(uv.x, image.width, t.wrapS);
  const AxisTexels y(uv.y, image.height, t.wrapT);
  const uint8_t *upper = row(y.first), *lower = row(y.second);
  return mix(mix(at(upper, x.first), at(upper, x.second), x.fraction),
             mix(at(lower, x.first), at(lower, x.second), x.fraction), y.fraction);
}

Channels sampleLevel(const Image& image, const Texture& t, Vec2 uv) {
  switch (image.channels) {
    case 1:
      return sampleChannels<1>(image, t, uv);
    case 2:
      return sampleChannels<2>(image, t, uv);
    case 3:
      return sampleChannels<3>(image, t, uv);
    default:
      return sampleChannels<4>(image, t, uv);
  }
}

/// The binary logarithm, exact to a hundredth, of a positive number.
float roughLog2(float x) {
  const auto bits = std::bit_cast<uint32_t>(x);
  const auto fraction = std::bit_cast<float>((bits & 0x007FFFFFU) | 0x3F800000U);  // 1..2
  return static_cast<float>(static_cast<int>(bits >> 23) - 127) +
         (fraction - 1) * (1.3366F + (fraction - 1) * -0.3366F);
}

/// 0..1 as 0..255, rounded.
uint8_t toByte(float value) { return static_cast<uint8_t>(std::lround(value * 255)); }

}  // namespace

Image halved(const Image& image, bool srgb, const std::function<bool()>& stopped) {
  Image half{std::max(image.width / 2, 1), std::max(image.height / 2, 1), image.channels, {}};
  half.pixels.resize(static_cast<size_t>(half.width) * half.height * half.channels);
  const auto& decode = decodeTable(srgb);
  const bool hasAlpha = image.channels % 2 == 0;
  const int colors = image.channels - (hasAlpha ? 1 : 0);
  uint8_t* out = half.pixels.data();
  for (int y = 0; y < half.height; ++y) {
    if (y % kRowsBetweenStops == 0 && stopped()) throw RenderStopped();
    for (int x = 0; x < half.width; ++x) {
      const int right = std::min(2 * x + 1, image.width - 1), below = std::min(2 * y + 1, image.height - 1);
      const int columns[] = {std::min(2 * x, right), right, std::min(2 * x, right), right};
      const int rows[] = {std::min(2 * y, below), std::min(2 * y, below), below, below};
      float sum[3] = {}, plain[3] = {}, weight = 0;
      for (int i = 0; i < 4; ++i) {
        const uint8_t* p =
            &image.pixels[(static_cast<size_t>(rows[i]) * image.width + columns[i]) * image.channels];
        const float alpha = hasAlpha ? decodeData(p[colors]) : 1;
        weight += alpha;
        for (int c = 0; c < colors; ++c) {
          sum[c] += decode[p[c]] * alpha;
          plain[c] += decode[p[c]];
        }
      }
      for (int c = 0; c < colors; ++c) {
        const float mean = weight > 0 ? sum[c] / weight : plain[c] / 4;
        *out++ = srgb ? linearToSrgb(mean) : toByte(mean);
      }
      if (hasAlpha) *out++ = toByte(weight / 4);
    }
  }
  return half;
}

Textures::Textures(const Scene& scene, const std::function<bool()>& stopped) : scene_(scene) {
  std::map<std::pair<int, bool>, size_t> known;
  for (const Texture& t : scene.textures) {
    const bool missing = t.image < 0 || scene.images[t.image].pixels.empty();
    const auto [place, isNew] = known.try_emplace({missing ? -1 : t.image, t.srgb}, pictures_.size());
    if (isNew) pictures_.push_back({missing ? nullptr : &scene.images[t.image], {}});
    pictureOf_.push_back(place->second);
    Levels& levels = pictures_[place->second];
    if (missing || !t.mipmapped || !levels.smaller.empty()) continue;
    while (levels[levels.last()].width > 1 || levels[levels.last()].height > 1) {
      levels.smaller.push_back(halved(levels[levels.last()], t.srgb, stopped));
    }
  }
}

std::vector<const Image*> Textures::levels(size_t picture) const {
  std::vector<const Image*> all;
  if (pictures_[picture].full) all.push_back(pictures_[picture].full);
  for (const Image& image : pictures_[picture].smaller) all.push_back(&image);
  return all;
}

Vec4 Textures::sample(int texture, Vec2 uv, float footprint) const {
  const Texture& t = scene_.textures[texture];
  const Levels& levels = pictures_[pictureOf_[texture]];
  if (levels.full == nullptr) return {1, 1, 1, 1};
  const float texels = footprint * static_cast<float>(levels.full->width) * levels.full->height;
  if (!(texels > 1) || !t.mipmapped) return unpacked(sampleLevel(*levels.full, t, uv));
  const float level = std::min(0.5F * roughLog2(texels), static_cast<float>(levels.last()));
  const int finer = std::min(static_cast<int>(level), levels.last());
  const float coarser = level - static_cast<float>(finer);
  const Channels fine = sampleLevel(levels[finer], t, uv);
  const bool between = coarser > 0 && finer < levels.last();
  return unpacked(between ? mix(fine, sampleLevel(levels[finer + 1], t, uv), coarser) : fine);
}

Vec4 Textures::sample(const Mesh& mesh, const TextureUse& use, const TrianglePoint& p) const {
  if (!use) return {1, 1, 1, 1};
  const auto& set = mesh.texCoords[use.texCoord];
  if (set.empty()) return {1, 1, 1, 1};
  const Vec2 a = use.moved(set[p.a]), b = use.moved(set[p.b]), c = use.moved(set[p.c]);
  const Vec2 uv{p.blend(a.x, b.x, c.x), p.blend(a.y, b.y, c.y)};
  const float area = std::abs((b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x));
  return sample(use.texture, uv, p.footprint * area);
}

Vec4 Textures::baseColor(const Mesh& mesh, const Material& material, const TrianglePoint& p) const {
  const Vec4 texture = sample(mesh, material.baseColorTexture, p);
  const Vec4& factor = material.baseColor;
  Vec4 color{factor.x * texture.x, factor.y * texture.y, factor.z * texture.z, factor.w * texture.w};
  if (!mesh.colors.empty()) {
    const Vec4 a = mesh.colors[p.a], b = mesh.colors[p.b], c = mesh.colors[p.c];
    color.x *= p.blend(a.x, b.x, c.x);
    color.y *= p.blend(a.y, b.y, c.y);
    color.z *= p.blend(a.z, b.z, c.z);
    color.w *= p.blend(a.w, b.w, c.w);
  }
  return color;
}

float Textures::alpha(const Mesh& mesh, const Material& material, const TrianglePoint& p) const {
  const float alpha = baseColor(mesh, material, p).w;
  return alpha > 0 ? std::min(alpha, 1.0F) : 0;
}

float srgbToLinear(uint8_t value) { return decodeTable(true)[value]; }

uint8_t linearToSrgb(float value) {
  static const std::array<uint8_t, kEncodeSteps + 1> kTable = makeEncodeTable();
  const float clamped = value > 0 ? std::min(value, 1.0F) : 0;
  return kTable[static_cast<int>(clamped * kEncodeSteps)];
}

}  // namespace host
