#pragma once
// How a surface answers light that comes from single directions, as the standard renderer takes it.

#include "host/render/material.h"

namespace host {

/// A material at a point, seen from one side. All vectors are of unit length and lead away from the surface;
/// light is measured by what a white matt surface that faces it would reflect.
class Reflectance {
 public:
  Reflectance(const MaterialPoint& material, Vec3 normal, Vec3 toViewer);

  /// What leaves towards the viewer of light from one direction, before or behind the surface; includes the
  /// cosine. (GGX with Smith's height-correlated shadowing and Schlick's Fresnel term, as in appendix B of
  /// the glTF 2.0 text, anisotropic as in KHR_materials_anisotropy; sheen as in A. Estevez and C. Kulla,
  /// "Production Friendly Microfacet Sheen BRDF", 2017.)
  Vec3 ofLight(Vec3 toLight) const;

  /// Part of the light from all around that is scattered towards the viewer.
  Vec3 ofSkylight() const;

  /// Part of the light from around the mirror direction that reaches the viewer.
  Vec3 ofMirror() const;
  /// The same for the clear coat.
  float ofCoat() const;
  /// Part of the light from behind that comes through.
  Vec3 ofBehind() const;

  /// Where the viewer sees the mirror picture of, drawn out by anisotropy.
  Vec3 mirrored() const;

  /// 1: mirrors things, 0: too rough to tell them apart.
  static float clarity(float roughness);

 private:
  float lobe(Vec3 toLight, Vec3 half) const;
  float coatLobe(Vec3 toLight, Vec3 half) const;
  float sheenLobe(Vec3 toLight, Vec3 half) const;
  Vec3 fresnel(float cosine) const;
  Vec3 mirroredSky(Vec3 normal, float grazing) const;

  const MaterialPoint& m_;
  Vec3 normal_, toViewer_;
  Vec3 across_;       // perpendicular to the direction in which highlights are drawn out
  Vec3 diffuse_;      // of the base alone
  float alongAlpha_;  // of GGX, in both directions
  float acrossAlpha_;
  float underCoat_ = 1;  // part of the light that the coat lets through
  float baseShare_;      // that sheen and coat leave to the base
  float viewerCosine_;
};

}  // namespace host
