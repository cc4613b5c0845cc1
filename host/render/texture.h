#pragma once
// Looking up textures and the vertex data that picks their texels.

#include "host/document/scene.h"

namespace host {

enum class TexelKind {
  Color,
  Data
};  ///< sRGB texels become linear; data stay as they are. Alpha always does.

/// The texture's value at `uv` (v = 0: top row), each channel 0..1; grey pictures give r = g = b, pictures
/// without alpha a = 1, a missing texture white. Bilinear, unless the texture says nearest.
Vec4 sampleTexture(const Scene& scene, int texture, Vec2 uv, TexelKind kind);

/// Corners of one triangle and the weights of a point in it.
struct TrianglePoint {
  uint32_t a, b, c;  ///< indices of vertices
  float wa, wb, wc;  ///< sum 1

  TrianglePoint(const Mesh& mesh, uint32_t triangle, float u, float v)
      : a(mesh.indices[3 * triangle]),
        b(mesh.indices[3 * triangle + 1]),
        c(mesh.indices[3 * triangle + 2]),
        wa(1 - u - v),
        wb(u),
        wc(v) {}

  /// The value at the point of what is given at the corners.
  float blend(float atA, float atB, float atC) const { return atA * wa + atB * wb + atC * wc; }
  Vec3 blend(Vec3 atA, Vec3 atB, Vec3 atC) const { return atA * wa + atB * wb + atC * wc; }
};

/// The value of `use` at a point of a mesh, white when it names no texture or the mesh has no such
/// coordinates.
Vec4 sampleAt(const Scene& scene, const Mesh& mesh, const TextureUse& use, const TrianglePoint& p,
              TexelKind kind);

/// Base colour of a material at a point: factor, texture and vertex colour multiplied; linear, straight
/// alpha.
Vec4 baseColorAt(const Scene& scene, const Mesh& mesh, const Material& material, const TrianglePoint& p);

/// The alpha of baseColorAt alone, 0..1.
float surfaceAlpha(const Scene& scene, const Mesh& mesh, const Material& material, uint32_t triangle, float u,
                   float v);

/// Linear value of an 8-bit sRGB one (IEC 61966-2-1).
float srgbToLinear(uint8_t value);

/// 8-bit sRGB value of a linear one; outside 0..1 and not-a-number are clamped.
uint8_t linearToSrgb(float value);

}  // namespace host
