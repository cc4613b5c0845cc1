#pragma once
// What a surface is made of at a point: the factors of glTF's material with their textures read.

#include "host/render/surface.h"

namespace host {

/// All parts that glTF and its extensions know, in the range that they allow. A layer whose first number is
/// zero (or black) is not there, and its other members mean nothing.
struct MaterialPoint {
  Vec3 color;  ///< base colour, linear
  float metallic = 0;
  float roughness = 1;  ///< as the file says it; GGX takes its square
  float occlusion = 1;  ///< part of the light from all around that reaches the point
  Vec3 emitted;

  Vec3 mirror;            ///< part mirrored at normal incidence, metal included: F0
  float grazing = 1;      ///< part mirrored at grazing incidence: F90
  Vec3 dielectricMirror;  ///< the same two without the metal
  float dielectricGrazing = 1;
  float ior = 1.5F;        ///< of what is inside, 1 or more
  float transmission = 0;  ///< part of the light that is not mirrored and goes through
  bool thin = true;        ///< a wall without an inside: light goes through and is not bent
  Vec3 absorption;         ///< of the inside, for each metre (Beer's law)

  float clearcoat = 0;
  float clearcoatRoughness = 0;
  Vec3 clearcoatNormal;  ///< unit, on the viewer's side

  Vec3 sheen;
  float sheenRoughness = 0;

  float anisotropy = 0;  ///< 0..1
  Vec3 along;            ///< unit tangent in whose direction highlights are drawn out
};

MaterialPoint materialAt(const Textures& textures, const Surface& surface);

}  // namespace host
