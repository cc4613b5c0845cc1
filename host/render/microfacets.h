#pragma once
// The GGX distribution of microfacets, with what is lost and gained by it, in the frame of the surface: z is
// the normal. All vectors are unit length, lead away from the surface, and have z > 0 unless it says
// otherwise.

#include <array>
#include <cmath>
#include <numbers>

#include "host/document/geometry.h"

namespace host {

/// (E. Heitz, "Understanding the Masking-Shadowing Function in Microfacet-Based BRDFs", JCGT 3(2), 2014.)
class Ggx {
 public:
  /// `alongX`, `alongY`: the squares of roughnesses.
  Ggx(float alongX, float alongY) : x_(alongX), y_(alongY) {}

  /// Facets with normal `half`, per solid angle and area.
  float distribution(Vec3 half) const {
    const float x = half.x / x_, y = half.y / y_;
    const float bump = x * x + y * y + half.z * half.z;
    return 1 / (std::numbers::pi_v<float> * x_ * y_ * bump * bump);
  }
  /// Area of the facets that hide others from `a`, for each of those that it sees.
  float lambda(Vec3 a) const {
    const float x = a.x * x_, y = a.y * y_;
    return 0.5F * (std::sqrt(1 + (x * x + y * y) / (a.z * a.z)) - 1);
  }
  /// Part of the facets that both of two directions with these lambdas see.
  static float shadowing(float lambdaA, float lambdaB) { return 1 / (1 + lambdaA + lambdaB); }
  /// Part of the facets that a direction of this lambda sees.
  static float masking(float lambdaA) { return 1 / (1 + lambdaA); }
  /// A facet that `a` sees, for two numbers 0..1. (E. Heitz, "Sampling the GGX Distribution of Visible
  /// Normals", JCGT 7(4), 2018.)
  Vec3 visibleFacet(Vec3 a, Vec2 u) const;
  /// The density with which visibleFacet gives `half`.
  float visibleDensity(Vec3 a, Vec3 half) const;

 private:
  float x_, y_;
};

/// What a layer of GGX facets reflects of light from all around, when facets reflect F = f0 + (f90 - f0) (1 -
/// cosine)^5 of it: f0 * normal + f90 * grazing. Both sum to less than 1 since light that meets a second
/// facet is not counted.
struct LayerAlbedo {
  float normal = 0, grazing = 0;
  float all() const { return normal + grazing; }
  Vec3 of(Vec3 f0, float f90) const {
    return {f0.x * normal + f90 * grazing, f0.y * normal + f90 * grazing, f0.z * normal + f90 * grazing};
  }
};

/// A place in a table of equal steps from 0 to 1, which is read between them.
struct TablePlace {
  static constexpr int kSteps = 32;
  int first;
  float fraction;

  explicit TablePlace(float x) {
    const float place = (x < 0 ? 0 : x > 1 ? 1 : x) * (kSteps - 1);
    first = static_cast<int>(place) < kSteps - 2 ? static_cast<int>(place) : kSteps - 2;
    fraction = place - static_cast<float>(first);
  }
  float between(float a, float b) const { return a + (b - a) * fraction; }
};

/// The albedo of a layer of one roughness (not squared), from tables that are made at the first call.
class LayerAlbedos {
 public:
  using Row = std::array<LayerAlbedo, TablePlace::kSteps>;  ///< by cosine

  explicit LayerAlbedos(float roughness);

  /// Seen at a cosine.
  LayerAlbedo at(float cosine) const {
    const TablePlace c(cosine);
    const LayerAlbedo &a = (*low_)[c.first], &b = (*low_)[c.first + 1];
    const LayerAlbedo &d = (*high_)[c.first], &e = (*high_)[c.first + 1];
    return {roughness_.between(c.between(a.normal, b.normal), c.between(d.normal, e.normal)),
            roughness_.between(c.between(a.grazing, b.grazing), c.between(d.grazing, e.grazing))};
  }
  /// The mean over all cosines, weighted by them.
  LayerAlbedo mean() const;

 private:
  TablePlace roughness_;
  const Row* low_;
  const Row* high_;
};

/// The sheen of fibres: value times cosine of the light. (A. Estevez and C. Kulla, "Production Friendly
/// Microfacet Sheen BRDF", 2017, with the visibility term of D. Neubelt and M. Pettineo, as
/// KHR_materials_sheen allows.)
float sheenValue(Vec3 toViewer, Vec3 toLight, float roughness);
/// What it reflects of light from all around.
float sheenAlbedo(float cosine, float roughness);

}  // namespace host
