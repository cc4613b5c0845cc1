#include "host/render/surface.h"

#include <algorithm>
#include <cmath>

namespace host {
namespace {

// A point blended from corners lies on their triangle, exact to a few units in the last of 24 bits.
constexpr float kPrecision = 2e-6F;

float largest(Vec3 v) { return std::max({std::abs(v.x), std::abs(v.y), std::abs(v.z)}); }

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

/// Part of a triangle of the double area `area` that a cone of this width meets.
float footprint(float width, float cosine, float area) {
  constexpr float kFlattest = 0.1F;  // below, a blurred texture would be worse than a sparkling one
  const float met = width * width / std::max(cosine, kFlattest);
  return area > 0 ? met / area : 0;
}

/// The set of coordinates whose u the tangents follow.
const TextureUse& tangentTexture(const Material& material) {
  if (material.normalTexture) return material.normalTexture;
  return material.clearcoatNormalTexture ? material.clearcoatNormalTexture : material.anisotropyTexture;
}

/// Tangent and bitangent on the front, from the mesh or else from how the texture lies on the triangle.
void setTangents(Surface& s, const Placement& placement, const Triangle& corners) {
  const TrianglePoint& p = s.point;
  const Mesh& mesh = *s.mesh;
  const Vec3 front = s.front ? s.smooth : -s.smooth;
  Vec3 tangent, bitangent;
  if (!mesh.tangents.empty()) {
    const Vec4 a = mesh.tangents[p.a], b = mesh.tangents[p.b], c = mesh.tangents[p.c];
    tangent = transformVector(placement.toWorld, p.blend({a.x, a.y, a.z}, {b.x, b.y, b.z}, {c.x, c.y, c.z}));
    bitangent = cross(front, tangent) * (placement.mirrored ? -a.w : a.w);
  } else if (const auto& set = mesh.texCoords[tangentTexture(*s.material).texCoord]; !set.empty()) {
    const TextureUse& use = tangentTexture(*s.material);
    const Vec2 a = use.moved(set[p.a]), b = use.moved(set[p.b]), c = use.moved(set[p.c]);
    const Vec3 ab = corners.b - corners.a, ac = corners.c - corners.a;
    const float turn = (b.x - a.x) * (c.y - a.y) - (c.x - a.x) * (b.y - a.y) < 0 ? -1.0F : 1.0F;
    tangent = (ab * (c.y - a.y) - ac * (b.y - a.y)) * turn;
    bitangent = (ab * (c.x - a.x) - ac * (b.x - a.x)) * turn;  // against v, which points down
  }
  const Vec3 aside = std::abs(front.y) < 0.9F ? Vec3{0, 1, 0} : Vec3{1, 0, 0};
  const float handed = dot(cross(front, tangent), bitangent) < 0 ? -1.0F : 1.0F;
  s.tangent = unitOr(tangent - front * dot(tangent, front), normalize(cross(aside, front)));
  s.bitangent = cross(front, s.tangent) * handed;
}

/// Perpendicular to the bent normal.
void alignTangents(Surface& s) {
  const float handed = dot(cross(s.normal, s.tangent), s.bitangent) < 0 ? -1.0F : 1.0F;
  s.tangent = unitOr(s.tangent - s.normal * dot(s.tangent, s.normal), s.tangent);
  s.bitangent = cross(s.normal, s.tangent) * handed;
}

}  // namespace

float behind(const Hit& hit) { return std::max(hit.t * (1 + 4 * kPrecision), std::nextafter(hit.t, 1e30F)); }

Surface surfaceAt(const PreparedScene::Data& data, const Ray& ray, const Hit& hit) {
  const Placement& placement = data.placements[hit.placement];
  const Mesh& mesh = *placement.mesh;
  const Triangle& corners = hit.corners;
  const Vec3 toViewer = -ray.direction;

  Surface s;
  s.mesh = &mesh;
  s.material = placement.material;
  s.point = TrianglePoint(mesh, hit.triangle, hit.u, hit.v);
  const TrianglePoint& p = s.point;
  s.position = p.blend(corners.a, corners.b, corners.c);
  const Vec3 turned = placement.front(corners);
  const Vec3 front = geometricNormal(turned, toViewer);
  const float cosine = dot(front, toViewer);
  const float side = cosine < 0 ? -1.0F : 1.0F;
  s.front = cosine >= 0;
  s.geometric = front * side;
  s.litFrom = s.position;
  s.smooth = s.geometric;
  if (!mesh.normals.empty()) {
    const auto normal = [&](uint32_t vertex) {
      return transformVector(placement.normalToWorld, mesh.normals[vertex]) * side;
    };
    const Vec3 normals[3] = {normal(p.a), normal(p.b), normal(p.c)};
    s.smooth = facing(unitOr(p.blend(normals[0], normals[1], normals[2]), s.geometric), toViewer);
    s.litFrom = aboveSmoothSurface(s.position, corners, p, normals);
  }
  s.point.footprint = footprint(ray.widthAt(hit.t), std::abs(cosine), length(turned));
  s.normal = s.smooth;
  const Material& material = *s.material;
  if (material.normalTexture || material.clearcoatNormalTexture || material.anisotropy > 0) {
    setTangents(s, placement, corners);
    s.normal = facing(mappedNormal(data.textures, s, material.normalTexture, material.normalScale), toViewer);
    alignTangents(s);
  }
  const float size = std::max({largest(corners.a), largest(corners.b), largest(corners.c)});
  s.clearance = kPrecision * std::max(size, placement.magnitude);
  s.baseColor = data.textures.baseColor(mesh, material, p);
  if (material.alphaMode != AlphaMode::Blend) s.baseColor.w = 1;
  return s;
}

Vec3 mappedNormal(const Textures& textures, const Surface& s, const TextureUse& map, float scale) {
  if (!map) return s.smooth;
  const Vec4 texel = textures.sample(*s.mesh, map, s.point);
  const float across = (2 * texel.x - 1) * scale, along = (2 * texel.y - 1) * scale;
  const float side = s.front ? 1.0F : -1.0F;  // the map bends the front's normal
  const Vec3 bent = (s.tangent * across + s.bitangent * along) * side + s.smooth * (2 * texel.z - 1);
  return unitOr(bent, s.smooth);
}

Ray leaving(const Surface& surface, Vec3 from, Vec3 direction) {
  const float side = dot(direction, surface.geometric) < 0 ? -surface.clearance : surface.clearance;
  return {from + surface.geometric * side, direction};
}

}  // namespace host
