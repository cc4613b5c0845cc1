#pragma once
// Looking up textures and the vertex data that picks their texels.

#include <functional>
#include <vector>

#include "host/document/scene.h"

namespace host {

/// Corners of one triangle and the weights of a point in it.
struct TrianglePoint {
  uint32_t a, b, c;  ///< indices of vertices
  float wa, wb, wc;  ///< sum 1
  float footprint =
      0;  ///< area that the ray covers there, as a part of twice the triangle's; 0: a mere point

  TrianglePoint() : a(0), b(0), c(0), wa(1), wb(0), wc(0) {}
  TrianglePoint(const Mesh& mesh, uint32_t triangle, float u, float v)
      : a(mesh.indices[3 * static_cast<size_t>(triangle)]),
        b(mesh.indices[3 * static_cast<size_t>(triangle) + 1]),
        c(mesh.indices[3 * static_cast<size_t>(triangle) + 2]),
        wa(1 - u - v),
        wb(u),
        wc(v) {}

  /// The value at the point of what is given at the corners.
  float blend(float atA, float atB, float atC) const { return atA * wa + atB * wb + atC * wc; }
  Vec3 blend(Vec3 atA, Vec3 atB, Vec3 atC) const { return atA * wa + atB * wb + atC * wc; }
};

/// The textures of a scene with pictures of half, a quarter, ... of their size, so that a texture seen from
/// far is averaged, as it would be by the eye. Keeps a reference to the scene. Thread: any.
class Textures {
 public:
  /// Throws RenderStopped when `stopped` is true before the smaller pictures are made.
  explicit Textures(
      const Scene& scene, const std::function<bool()>& stopped = [] { return false; });

  /// The texture's value at `uv` (v = 0: top row), linear, each channel 0..1; grey pictures give r = g = b,
  /// pictures without alpha a = 1, a missing texture white. Interpolated unless the texture says nearest.
  /// `footprint` is the area that is seen as one, in units of the whole picture; 0: the picture as it is.
  Vec4 sample(int texture, Vec2 uv, float footprint = 0) const;

  /// The value of `use` at a point of a mesh, white when it names no texture or the mesh has no such
  /// coordinates.
  Vec4 sample(const Mesh& mesh, const TextureUse& use, const TrianglePoint& p) const;

  /// Base colour of a material at a point: factor, texture and vertex colour multiplied; linear, straight
  /// alpha.
  Vec4 baseColor(const Mesh& mesh, const Material& material, const TrianglePoint& p) const;

  /// The alpha of baseColor alone, 0..1.
  float alpha(const Mesh& mesh, const Material& material, const TrianglePoint& p) const;

  /// Textures of one picture have the same number; below pictureCount().
  size_t pictureOf(int texture) const { return pictureOf_[texture]; }
  size_t pictureCount() const { return pictures_.size(); }
  /// A picture of that number and its smaller ones; empty when it is missing. They live as long as this.
  std::vector<const Image*> levels(size_t picture) const;

 private:
  /// A picture and its smaller ones; each halves the sides of the one before, down to one texel.
  struct Levels {
    const Image* full = nullptr;
    std::vector<Image> smaller;

    const Image& operator[](int level) const { return level == 0 ? *full : smaller[level - 1]; }
    int last() const { return static_cast<int>(smaller.size()); }
  };

  const Scene& scene_;
  std::vector<Levels> pictures_;
  std::vector<size_t> pictureOf_;  // by texture
};

/// Half the sides, each texel the mean of the four (at odd edges two or one) that it stands for. Colours are
/// averaged as light, and weighted by their alpha, so that what cannot be seen does not tint an edge.
/// Asks `stopped` every few rows and throws RenderStopped.
Image halved(
    const Image& image, bool srgb, const std::function<bool()>& stopped = [] { return false; });

/// Linear value of an 8-bit sRGB one (IEC 61966-2-1).
float srgbToLinear(uint8_t value);

/// 8-bit sRGB value of a linear one; outside 0..1 and not-a-number are clamped.
uint8_t linearToSrgb(float value);

}  // namespace host
