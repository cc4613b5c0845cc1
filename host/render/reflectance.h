#pragma once
// How a surface answers light that comes from single directions, as the standard renderer takes it.

#include "host/render/material.h"

namespace host {

struct Reflectance {
  Vec3 diffuse;  ///< part of the light that is scattered evenly
  Vec3 mirror;   ///< part mirrored at normal incidence
  Vec3 emitted;  ///< light of its own
  float roughness = 1;

  explicit Reflectance(const MaterialPoint& material);

  /// What is reflected of light that a white matt surface facing it would reflect wholly; includes the
  /// cosine. All vectors unit length, away from the surface. (GGX distribution with Smith's height-correlated
  /// shadowing and Schlick's Fresnel term, as in appendix B of the glTF 2.0 text.)
  Vec3 ofLight(Vec3 normal, Vec3 toViewer, Vec3 toLight) const;

  /// Part of the light from around the mirror direction that reaches the viewer.
  Vec3 towardsMirror(float cosine) const;

  /// 1: mirrors things, 0: too rough to tell them apart.
  float clarity() const;
};

}  // namespace host
