#pragma once
// How a surface scatters light, for the path tracer: which way a path may go on, and what it brings.

#include <optional>

#include "host/render/material.h"
#include "host/render/microfacets.h"

namespace host {

/// What a surface does to light from one direction.
struct Scattering {
  Vec3 value;         ///< part of the radiance that goes on, times the cosine
  float density = 0;  ///< per solid angle, with which Bsdf::sample gives the direction
};

struct ScatteringSample {
  Vec3 toLight;       ///< world, unit
  Vec3 weight;        ///< value over density
  float density = 0;  ///< 0: no other strategy can find this direction (through glass)
  bool through = false;
  float roughness = 0;  ///< of what scattered, for the width of the ray's cone
};

/// A material at a point, seen from one side. Metal, dielectric and glass share one layer of GGX facets; a
/// diffuse base under the dielectric gets what the facets let through; sheen and coat lie above all. Each
/// part is weighted by the others' albedo, so that a white surface under white light is white whatever its
/// roughness. Light that meets a second facet is made up for by scaling. (E. Turquin, "Practical multiple
/// scattering compensation for microfacet models", 2019; the base under a layer as in C. Kelemen and L.
/// Szirmay-Kalos, 2001.)
class Bsdf {
 public:
  /// `toViewer` leads away from the surface. Keeps references.
  Bsdf(const MaterialPoint& material, const Surface& surface, Vec3 toViewer);

  /// Of light in front of the surface; nothing of light from behind, which only sample() finds.
  Scattering evaluate(Vec3 toLight) const;

  /// A direction, for three numbers 0..1; nothing when the path ends here.
  std::optional<ScatteringSample> sample(float choice, Vec2 u) const;

 private:
  /// Axes of a layer; z is the normal.
  struct Frame {
    Vec3 x, y, z;
    Vec3 toLocal(Vec3 v) const { return {dot(v, x), dot(v, y), dot(v, z)}; }
    Vec3 toWorld(Vec3 v) const { return x * v.x + y * v.y + z * v.z; }
  };
  static Frame frameAbout(Vec3 normal, Vec3 along);

  void weighFacets();
  void weighDielectric(float lost);
  void chooseShares();
  LayerAlbedo albedoAt(float cosine) const;
  float glassMirror(float cosine) const;
  Vec3 facetMirror(float cosine) const;
  Vec3 baseDiffuse(Vec3 light) const;
  float coatFacets(Vec3 toLight) const;
  float coatDensity(Vec3 toLight) const;
  std::optional<ScatteringSample> throughGlass(Vec2 u) const;
  std::optional<ScatteringSample> reflected(Vec3 toLight, float roughness) const;

  const MaterialPoint& m_;
  const Surface& surface_;
  Frame frame_, coatFrame_{};
  Vec3 viewer_, coatViewer_{};  // in the frames
  Ggx facets_, coat_;
  LayerAlbedos layers_;
  std::optional<LayerAlbedos> layersAlong_;  // of facets that are rougher along than across
  LayerAlbedo seen_;                         // of the facets, from the viewer's side
  float viewerLambda_ = 0;                   // of the facets
  float coatSeen_ = 0;                       // part that the coat mirrors to the viewer
  float sheenSeen_ = 0;
  float glass_;  // parts of the base
  float metal_;
  float dielectric_;
  Vec3 dielectricMirror_;  // at normal incidence
  float dielectricGrazing_;
  Vec3 metalGain_, dielectricGain_;  // for light that meets several facets
  float glassGain_ = 1;
  float underLayers_ = 1;  // left to the base by sheen and coat
  Vec3 diffuse_;           // colour of the base over pi, what the facets let in included
  // Shares of the strategies of sample(); they sum to 1.
  float byFacets_ = 0, byCosine_ = 0, byCoat_ = 0, byGlass_ = 0;
};

}  // namespace host
