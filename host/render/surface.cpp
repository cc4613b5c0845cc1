#include "host/render/surface.h"

#include <algorithm>
#include <cmath>

namespace host {
namespace {

// A point blended from corners lies on their triangle, exact to a few units in the last of 24 bits.
constexpr float kPrecision = 2e-6F;

float largest(Vec3 v) { return std::max({std::abs(v.x), std::abs(v.y), std::abs(v.z)}); }

/// Unit vector along `v`, `fallback` when `v` has no direction that numbers can hold.
Vec3 unitOr(Vec3 v, Vec3 fallback) {
  const float square = dot(v, v);
  return square > 1e-30F && square < 1e30F ? v * (1 / std::sqrt(square)) : fallback;
}

/// As unitOr, for edges' products, which are as small or large as the fourth power of lengths.
Vec3 geometricNormal(Vec3 n, Vec3 fallback) {
  const float size = largest(n);
  return size > 1e-37F && size < 1e37F ? unitOr(n * (1 / size), fallback) : fallback;
}

/// Turned as little as needed to face the viewer: interpolated normals can point away at silhouettes.
Vec3 facing(Vec3 normal, Vec3 toViewer) {
  const float towards = dot(normal, toViewer);
  constexpr float kGrazing = 0.01F;
  return towards >= kGrazing ? normal : normalize(normal + toViewer * (kGrazing - towards));
}

/// The point moved onto the planes through the corners along their normals, weighted as the point is, so that
/// flat triangles of a smooth surface do not shadow it where light grazes. (J. Hanika, "Hacking the Shadow
/// Terminator", Ray Tracing Gems II, chapter 4.) Normals may have any length.
Vec3 aboveSmoothSurface(Vec3 point, const Triangle& corners, const TrianglePoint& p,
                        const Vec3 (&normals)[3]) {
  const auto lifted = [&](Vec3 corner, Vec3 normal) {
    const float below = dot(point - corner, normal);
    const float square = dot(normal, normal);
    return below < 0 && square > 0 ? normal * (-below / square) : Vec3{};
  };
  return point +
         p.blend(lifted(corners.a, normals[0]), lifted(corners.b, normals[1]), lifted(corners.c, normals[2]));
}

}  // namespace

float behind(const Hit& hit) { return std::max(hit.t * (1 + 4 * kPrecision), std::nextafter(hit.t, 1e30F)); }

Surface surfaceAt(const PreparedScene::Data& data, const Ray& ray, const Hit& hit) {
  const Placement& placement = data.placements[hit.placement];
  const Mesh& mesh = *placement.mesh;
  const Triangle corners = placement.triangle(hit.triangle);
  const TrianglePoint p(mesh, hit.triangle, hit.u, hit.v);
  const Vec3 toViewer = -ray.direction;

  Surface s{p.blend(corners.a, corners.b, corners.c), {}, {}, {}, 0, &mesh, placement.material, p, {}};
  const Vec3 front = geometricNormal(placement.front(corners), toViewer);
  const float side = dot(front, toViewer) < 0 ? -1.0F : 1.0F;
  s.geometric = front * side;
  s.litFrom = s.position;
  if (mesh.normals.empty()) {
    s.normal = s.geometric;
  } else {
    const auto normal = [&](uint32_t vertex) {
      return transformVector(placement.normalToWorld, mesh.normals[vertex]) * side;
    };
    const Vec3 normals[3] = {normal(p.a), normal(p.b), normal(p.c)};
    s.normal = facing(unitOr(p.blend(normals[0], normals[1], normals[2]), s.geometric), toViewer);
    s.litFrom = aboveSmoothSurface(s.position, corners, p, normals);
  }
  const float size = std::max({largest(corners.a), largest(corners.b), largest(corners.c)});
  s.clearance = kPrecision * std::max(size, placement.magnitude);
  s.baseColor = baseColorAt(data.scene, mesh, *placement.material, p);
  if (placement.material->alphaMode != AlphaMode::Blend) s.baseColor.w = 1;
  return s;
}

Ray leaving(const Surface& surface, Vec3 from, Vec3 direction) {
  const float side = dot(direction, surface.geometric) < 0 ? -surface.clearance : surface.clearance;
  return {from + surface.geometric * side, direction};
}

}  // namespace host
