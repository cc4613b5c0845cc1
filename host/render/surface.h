#pragma once
// What a ray finds where it meets a triangle.

#include "host/render/texture.h"
#include "host/render/trace.h"

namespace host {

struct Surface {
  Vec3 position;        ///< world
  Vec3 geometric;       ///< unit normal of the triangle, on the viewer's side
  Vec3 smooth;          ///< unit normal between the corners' ones, on the viewer's side
  Vec3 normal;          ///< unit shading normal: `smooth`, moved by the normal map
  Vec3 tangent;         ///< unit, perpendicular to `normal`, along u; zero unless the material asks for it
  Vec3 bitangent;       ///< unit, perpendicular to both, along v upwards
  bool front = true;    ///< seen from the side that the triangle faces
  Vec3 litFrom;         ///< where shadow rays start: outside the smooth surface that the triangles stand for
  float clearance = 0;  ///< metres off the triangle at which a new ray does not meet it again
  const Mesh* mesh = nullptr;
  const Material* material = nullptr;
  TrianglePoint point;  ///< with the footprint of the ray
  Vec4 baseColor;       ///< linear; w is the coverage: 1 unless the material blends
};

/// Where along its ray to go on behind a hit.
float behind(const Hit& hit);

/// The surface at a hit of `ray`.
Surface surfaceAt(const PreparedScene::Data& data, const Ray& ray, const Hit& hit);

/// The surface's normal, on the viewer's side, as bent by a normal map; `smooth` when there is none.
Vec3 mappedNormal(const Textures& textures, const Surface& surface, const TextureUse& map, float scale);

/// A ray that leaves the surface on the side to which `direction` points.
Ray leaving(const Surface& surface, Vec3 from, Vec3 direction);

}  // namespace host
