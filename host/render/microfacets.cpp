#include "host/render/microfacets.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace host {
namespace {

constexpr float kPi = std::numbers::pi_v<float>;

float fifthPower(float x) { return x * x * x * x * x; }

// Tables over cosine and roughness.
constexpr int kSteps = TablePlace::kSteps;
constexpr int kSide = 16;  // of the grid of directions that a cell is the mean of

template <class Cell>
using Table = std::array<std::array<Cell, kSteps>, kSteps>;  // [roughness][cosine]

template <class Cell, class Make>
Table<Cell> makeTable(Make make) {
  Table<Cell> table;
  for (int r = 0; r < kSteps; ++r) {
    for (int c = 0; c < kSteps; ++c) {
      table[r][c] =
          make(std::max(static_cast<float>(c) / (kSteps - 1), 1e-3F), static_cast<float>(r) / (kSteps - 1));
    }
  }
  return table;
}

/// Calls `visit` with the centres of a grid over the unit square.
template <class Visit>
void overSquare(Visit visit) {
  for (int i = 0; i < kSide; ++i) {
    for (int j = 0; j < kSide; ++j) visit(Vec2{(i + 0.5F) / kSide, (j + 0.5F) / kSide});
  }
}

Vec3 at(float cosine) { return {std::sqrt(1 - cosine * cosine), 0, cosine}; }

LayerAlbedo integrateLayer(float cosine, float roughness) {
  const float alpha = std::max(roughness * roughness, 1e-4F);
  const Ggx ggx(alpha, alpha);
  const Vec3 viewer = at(cosine);
  LayerAlbedo sum;
  overSquare([&](Vec2 u) {
    const Vec3 half = ggx.visibleFacet(viewer, u);
    const float c = dot(viewer, half);
    const Vec3 light = half * (2 * c) - viewer;
    if (light.z <= 0) return;
    const float weight = Ggx::shadowing(ggx.lambda(viewer), ggx.lambda(light)) /
                         Ggx::masking(ggx.lambda(viewer)) / (kSide * kSide);
    const float rise = fifthPower(1 - std::clamp(c, 0.0F, 1.0F));
    sum.normal += weight * (1 - rise);
    sum.grazing += weight * rise;
  });
  return sum;
}

float integrateSheen(float cosine, float roughness) {
  float sum = 0;
  overSquare([&](Vec2 u) {  // evenly over the hemisphere: sheen is brightest where light grazes
    const float radius = std::sqrt(1 - u.x * u.x), angle = 2 * kPi * u.y;
    const Vec3 light{radius * std::cos(angle), radius * std::sin(angle), u.x};
    sum += sheenValue(at(cosine), light, roughness);
  });
  return std::min(sum * 2 * kPi / (kSide * kSide), 1.0F);
}

const Table<LayerAlbedo>& layerTable() {
  static const Table<LayerAlbedo> kTable = makeTable<LayerAlbedo>(integrateLayer);
  return kTable;
}

std::array<LayerAlbedo, kSteps> makeMeans() {
  std::array<LayerAlbedo, kSteps> means{};
  constexpr int kParts = 64;
  for (int r = 0; r < kSteps; ++r) {
    const LayerAlbedos albedos(static_cast<float>(r) / (kSteps - 1));
    for (int i = 0; i < kParts; ++i) {
      const float cosine = (i + 0.5F) / kParts;
      const LayerAlbedo one = albedos.at(cosine);
      means[r].normal += one.normal * 2 * cosine / kParts;
      means[r].grazing += one.grazing * 2 * cosine / kParts;
    }
  }
  return means;
}

}  // namespace

Vec3 Ggx::visibleFacet(Vec3 a, Vec2 u) const {
  const Vec3 stretched = normalize(Vec3{a.x * x_, a.y * y_, a.z});
  const float square = stretched.x * stretched.x + stretched.y * stretched.y;
  const Vec3 first =
      square > 1e-12F ? Vec3{-stretched.y, stretched.x, 0} * (1 / std::sqrt(square)) : Vec3{1, 0, 0};
  const Vec3 second = cross(stretched, first);
  const float radius = std::sqrt(u.x), angle = 2 * kPi * u.y;
  const float x = radius * std::cos(angle);
  const float front = 0.5F * (1 + stretched.z);
  const float y = (1 - front) * std::sqrt(std::max(1 - x * x, 0.0F)) + front * radius * std::sin(angle);
  const Vec3 facet = first * x + second * y + stretched * std::sqrt(std::max(1 - x * x - y * y, 0.0F));
  return normalize(Vec3{facet.x * x_, facet.y * y_, std::max(facet.z, 1e-6F)});
}

float Ggx::visibleDensity(Vec3 a, Vec3 half) const {
  return masking(lambda(a)) * std::max(dot(a, half), 0.0F) * distribution(half) / a.z;
}

LayerAlbedos::LayerAlbedos(float roughness)
    : roughness_(roughness),
      low_(&layerTable()[roughness_.first]),
      high_(&layerTable()[roughness_.first + 1]) {}

LayerAlbedo LayerAlbedos::mean() const {
  static const std::array<LayerAlbedo, kSteps> kMeans = makeMeans();
  const LayerAlbedo &a = kMeans[roughness_.first], &b = kMeans[roughness_.first + 1];
  return {roughness_.between(a.normal, b.normal), roughness_.between(a.grazing, b.grazing)};
}

float sheenValue(Vec3 toViewer, Vec3 toLight, float roughness) {
  const Vec3 half = normalize(toViewer + toLight);
  const float inverse = 1 / std::max(roughness * roughness, 0.005F);
  const float sine = std::max(1 - half.z * half.z, 0.0F);
  const float distribution = (2 + inverse) * std::pow(sine, inverse * 0.5F) / (2 * kPi);
  const float nv = std::max(toViewer.z, 1e-3F), nl = toLight.z;
  return distribution / (4 * (nl + nv - nl * nv)) * nl;
}

float sheenAlbedo(float cosine, float roughness) {
  static const Table<float> kTable = makeTable<float>(integrateSheen);
  const TablePlace r(roughness), c(cosine);
  const auto& low = kTable[r.first];
  const auto& high = kTable[r.first + 1];
  return r.between(c.between(low[c.first], low[c.first + 1]), c.between(high[c.first], high[c.first + 1]));
}

}  // namespace host
