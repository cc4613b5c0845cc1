#pragma once
// The GGX distribution of microfacets, with what is lost and gained by it, in the frame of the surface: z is
// the normal. All vectors are unit length, lead away from the surface, and have z > 0 unless it says
// otherwise.

#include "host/document/geometry.h"

namespace host {

/// (E. Heitz, "Understanding the Masking-Shadowing Function in Microfacet-Based BRDFs", JCGT 3(2), 2014.)
class Ggx {
 public:
  /// `alongX`, `alongY`: the squares of roughnesses.
  Ggx(float alongX, float alongY) : x_(alongX), y_(alongY) {}

  /// Facets with normal `half`, per solid angle and area.
  float distribution(Vec3 half) const;
  /// Part of the facets that `a` sees unshadowed from `b`.
  float shadowing(Vec3 a, Vec3 b) const { return 1 / (1 + lambda(a) + lambda(b)); }
  /// Part of the facets that `a` sees.
  float masking(Vec3 a) const { return 1 / (1 + lambda(a)); }
  /// A facet that `a` sees, for two numbers 0..1. (E. Heitz, "Sampling the GGX Distribution of Visible
  /// Normals", JCGT 7(4), 2018.)
  Vec3 visibleFacet(Vec3 a, Vec2 u) const;
  /// The density with which visibleFacet gives `half`.
  float visibleDensity(Vec3 a, Vec3 half) const;

 private:
  float lambda(Vec3 a) const;

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

/// Seen at a cosine, of a roughness (not squared); from tables that are made at the first call.
LayerAlbedo layerAlbedo(float cosine, float roughness);
/// The mean over all cosines, weighted by them.
LayerAlbedo meanLayerAlbedo(float roughness);

/// The sheen of fibres: value times cosine of the light. (A. Estevez and C. Kulla, "Production Friendly
/// Microfacet Sheen BRDF", 2017, with the visibility term of D. Neubelt and M. Pettineo, as
/// KHR_materials_sheen allows.)
float sheenValue(Vec3 toViewer, Vec3 toLight, float roughness);
/// What it reflects of light from all around.
float sheenAlbedo(float cosine, float roughness);

}  // namespace host
