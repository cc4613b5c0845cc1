#include "host/render/texture.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace host {
namespace {

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
const std::array<float, 256>& decodeTable(TexelKind kind) {
  static const std::array<float, 256> kColor = makeDecodeTable(true);
  static const std::array<float, 256> kData = makeDecodeTable(false);
  return kind == TexelKind::Color ? kColor : kData;
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

Vec4 texel(const Image& image, int x, int y, const std::array<float, 256>& decode) {
  const uint8_t* p = &image.pixels[(static_cast<size_t>(y) * image.width + x) * image.channels];
  switch (image.channels) {
    case 1:
      return {decode[p[0]], decode[p[0]], decode[p[0]], 1};
    case 2:
      return {decode[p[0]], decode[p[0]], decode[p[0]], decodeData(p[1])};
    case 3:
      return {decode[p[0]], decode[p[1]], decode[p[2]], 1};
    default:
      return {decode[p[0]], decode[p[1]], decode[p[2]], decodeData(p[3])};
  }
}

Vec4 mix(Vec4 a, Vec4 b, float t) {
  const float s = 1 - t;
  return {a.x * s + b.x * t, a.y * s + b.y * t, a.z * s + b.z * t, a.w * s + b.w * t};
}

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

}  // namespace

Vec4 sampleTexture(const Scene& scene, int texture, Vec2 uv, TexelKind kind) {
  const Texture& t = scene.textures[texture];
  if (t.image < 0) return {1, 1, 1, 1};
  const Image& image = scene.images[t.image];
  if (image.pixels.empty()) return {1, 1, 1, 1};
  const auto& decode = decodeTable(kind);
  if (t.nearest) {
    return texel(image, nearestTexel(uv.x, image.width, t.wrapS), nearestTexel(uv.y, image.height, t.wrapT),
                 decode);
  }
  const AxisTexels x(uv.x, image.width, t.wrapS);
  const AxisTexels y(uv.y, image.height, t.wrapT);
  const Vec4 upper =
      mix(texel(image, x.first, y.first, decode), texel(image, x.second, y.first, decode), x.fraction);
  const Vec4 lower =
      mix(texel(image, x.first, y.second, decode), texel(image, x.second, y.second, decode), x.fraction);
  return mix(upper, lower, y.fraction);
}

Vec4 sampleAt(const Scene& scene, const Mesh& mesh, const TextureUse& use, const TrianglePoint& p,
              TexelKind kind) {
  if (use.texture < 0) return {1, 1, 1, 1};
  const auto& set = mesh.texCoords[use.texCoord == 1 ? 1 : 0];
  if (set.empty()) return {1, 1, 1, 1};
  const Vec2 a = set[p.a], b = set[p.b], c = set[p.c];
  const Vec2 uv{p.blend(a.x, b.x, c.x), p.blend(a.y, b.y, c.y)};
  return sampleTexture(scene, use.texture, uv, kind);
}

Vec4 baseColorAt(const Scene& scene, const Mesh& mesh, const Material& material, const TrianglePoint& p) {
  const Vec4 texture = sampleAt(scene, mesh, material.baseColorTexture, p, TexelKind::Color);
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

float surfaceAlpha(const Scene& scene, const Mesh& mesh, const Material& material, uint32_t triangle, float u,
                   float v) {
  const float alpha = baseColorAt(scene, mesh, material, TrianglePoint(mesh, triangle, u, v)).w;
  return alpha > 0 ? std::min(alpha, 1.0F) : 0;
}

float srgbToLinear(uint8_t value) { return decodeTable(TexelKind::Color)[value]; }

uint8_t linearToSrgb(float value) {
  static const std::array<uint8_t, kEncodeSteps + 1> kTable = makeEncodeTable();
  const float clamped = value > 0 ? std::min(value, 1.0F) : 0;
  return kTable[static_cast<int>(clamped * kEncodeSteps)];
}

}  // namespace host
