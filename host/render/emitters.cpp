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

}  // namespace

Emitters::Emitters(const PreparedScene::Data& data, const std::function<bool()>& stopped) : data_(data) {
  if (shiningTriangles(data) > kMostEmitters) return;
  double power = 0;
  for (size_t i = 0; i < data.placements.size(); ++i) {
    const Placement& placement = data.placements[i];
    if (!shines(placement)) continue;
    const float bright = brightness(*placement.material);
    if (stopped()) throw RenderStopped();
    for (uint32_t t = 0; t < placement.mesh->indices.size() / 3; ++t) {
      if (t % kTrianglesBetweenStops == kTrianglesBetweenStops - 1 && stopped()) throw RenderStopped();
      const float area = 0.5F * length(placement.triangle(t).normal());
      if (!(area > 0 && area < 1e30F)) continue;
      power += static_cast<double>(area) * bright;
      triangles_.push_back({static_cast<uint32_t>(i), t, static_cast<float>(power)});
    }
  }
  power_ = static_cast<float>(power);
  if (!(power_ < 1e30F)) triangles_.clear();
}

float Emitters::densityOf(const Material& material) const {
  return triangles_.empty() ? 0 : brightness(material) / power_;
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
  point.density = densityOf(*placement.material);
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
