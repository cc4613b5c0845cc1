#include "host/render/emitters.h"

#include <algorithm>
#include <cmath>

namespace host {
namespace {

constexpr size_t kMostEmitters = size_t{16} << 20;
constexpr uint32_t kTrianglesBetweenStops = 65536;

float brightness(const Material& material) {
  return std::max({material.emissive.x, material.emissive.y, material.emissive.z});
}

bool shines(const Placement& placement) {
  return brightness(*placement.material) > 0 && !placement.material->unlit;
}

size_t shiningTriangles(const PreparedScene::Data& data) {
  size_t sum = 0;
  for (const Placement& placement : data.placements) {
    if (shines(placement)) sum += placement.mesh->indices.size() / 3;
  }
  return sum;
}

/// The mean over a triangle, roughly; never nothing, since a bright spot may lie between the places read.
float brightnessOf(const Textures& textures, const Placement& placement, uint32_t triangle) {
  constexpr float kLeast = 0.01F;
  constexpr Vec2 kPlaces[] = {
      {1 / 3.0F, 1 / 3.0F}, {1 / 6.0F, 1 / 6.0F}, {2 / 3.0F, 1 / 6.0F}, {1 / 6.0F, 2 / 3.0F}};
  const Material& material = *placement.material;
  if (!material.emissiveTexture) return brightness(material);
  float sum = 0;
  for (const Vec2 place : kPlaces) {
    TrianglePoint point(*placement.mesh, triangle, place.x, place.y);
    point.footprint = 0.125F;  // a quarter of the triangle
    const Vec4 texel = textures.sample(*placement.mesh, material.emissiveTexture, point);
    const Vec3 light = material.emissive * Vec3{texel.x, texel.y, texel.z};
    sum += std::max({light.x, light.y, light.z});
  }
  return std::max(sum / static_cast<float>(std::size(kPlaces)), kLeast * brightness(material));
}

}  // namespace

Emitters::Emitters(const PreparedScene::Data& data, const std::function<bool()>& stopped) : data_(data) {
  if (shiningTriangles(data) > kMostEmitters) return;
  double power = 0;
  for (const Placement& placement : data.placements) {
    const auto number = static_cast<uint32_t>(firstOf_.size());
    firstOf_.push_back(static_cast<uint32_t>(triangles_.size()));
    if (stopped()) throw RenderStopped();
    if (!shines(placement)) continue;
    for (uint32_t t = 0; t < placement.mesh->indices.size() / 3; ++t) {
      if (t % kTrianglesBetweenStops == kTrianglesBetweenStops - 1 && stopped()) throw RenderStopped();
      add(number, t, power);
    }
  }
  power_ = static_cast<float>(power);
  if (!(power_ > 0 && power_ < 1e30F)) triangles_.clear();
}

void Emitters::add(uint32_t placement, uint32_t triangle, double& power) {
  const Placement& p = data_.placements[placement];
  const float area = 0.5F * length(p.triangle(triangle).normal());
  const bool usable = area > 0 && area < 1e30F;
  const float density = usable ? brightnessOf(data_.textures, p, triangle) : 0;
  if (usable) power += static_cast<double>(area) * density;
  triangles_.push_back({placement, triangle, static_cast<float>(power), density});
}

float Emitters::densityOf(const Hit& hit) const {
  if (triangles_.empty() || !shines(data_.placements[hit.placement])) return 0;
  return triangles_[firstOf_[hit.placement] + hit.triangle].density / power_;
}

EmitterPoint Emitters::choose(float choice, Vec2 u) const {
  const auto found = std::upper_bound(triangles_.begin(), triangles_.end() - 1, choice * power_,
                                      [](float x, const Emitter& e) { return x < e.upTo; });
  const Placement& placement = data_.placements[found->placement];
  const Triangle corners = placement.triangle(found->triangle);
  const float root = std::sqrt(u.x);
  EmitterPoint point;
  point.place = TrianglePoint(*placement.mesh, found->triangle, root * (1 - u.y), root * u.y);
  point.position = point.place.blend(corners.a, corners.b, corners.c);
  point.normal = normalize(placement.front(corners));
  point.bothSides = placement.material->doubleSided;
  point.density = found->density / power_;
  point.placement = &placement;
  return point;
}

float Emitters::visiblePart(const EmitterPoint& point) const {
  const Material& material = *point.placement->material;
  if (material.alphaMode == AlphaMode::Opaque) return 1;
  const float alpha = data_.textures.alpha(*point.placement->mesh, material, point.place);
  if (material.alphaMode == AlphaMode::Blend) return alpha;
  return alpha < material.alphaCutoff ? 0.0F : 1.0F;
}

Vec3 Emitters::light(const EmitterPoint& point) const {
  const Material& material = *point.placement->material;
  const Vec4 texel = data_.textures.sample(*point.placement->mesh, material.emissiveTexture, point.place);
  return material.emissive * Vec3{texel.x, texel.y, texel.z} * visiblePart(point);
}

}  // namespace host
