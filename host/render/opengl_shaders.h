#pragma once
// The programs of the OpenGL renderer: GLSL put together from what a material has, since a driver that draws
// on the processor pays for every branch. They say again what lights.cpp, surface.cpp, material.cpp and
// reflectance.cpp say for single rays.

#include <array>
#include <optional>
#include <tuple>

#include "host/document/geometry.h"
#include "host/render/opengl_api.h"

namespace host {

/// A material's textures, in the order of their places in the material's block.
enum class GlSlot {
  BaseColor,
  MetallicRoughness,
  Normal,
  Occlusion,
  Emissive,
  Specular,
  SpecularColor,
  Transmission,
  Thickness,
  Clearcoat,
  ClearcoatRoughness,
  ClearcoatNormal,
  SheenColor,
  SheenRoughness,
  Anisotropy
};
inline constexpr int kGlSlots = 15;

/// Where vertex data come in.
enum class GlInput : GLuint { Position, Normal, Tangent, Color, TexCoord };  // and the sets after the first

/// What is different between one draw and the next, set by place.
enum class GlPlace : GLint { ToEye = 0, NormalToWorld = 1, Handed = 2 };

/// Of the whole picture's tile; as GLSL lays it out (std140).
struct GlFrameBlock {
  Mat4 toClip;            ///< from world offsets off the camera
  Vec4 skyCenter;         ///< direction seen in the tile's middle
  Vec4 skyAcross, skyUp;  ///< to its right and upper edge
  Vec4 forward;           ///< w: 1 when all rays are parallel to it
  int32_t lampCount[4];   ///< the first counts
};

/// Of one material; as GLSL lays it out (std140).
struct GlMaterialBlock {
  Vec4 baseColor;
  Vec4 emissive;    ///< w: cutoff of alpha
  Vec4 surface;     ///< metallic, roughness, scale of the normal map, strength of the occlusion
  Vec4 dielectric;  ///< colour and strength of its mirror
  Vec4 optics;      ///< mirror at normal incidence, transmission, thickness, scale of the coat's normal map
  Vec4 absorption;  ///< of the inside, for each metre
  Vec4 layers;      ///< clear coat, its roughness, roughness of sheen, anisotropy
  Vec4 sheen;       ///< w: rotation of anisotropy
  Vec4 moves[2 * kGlSlots];  ///< rows that move a slot's texture coordinates
};

/// What a program can do; equal ones share a program.
struct GlFeatures {
  std::array<std::optional<int>, kGlSlots> sets;  ///< by slot: set of texture coordinates, none: no texture
  bool unlit = false, mask = false, blend = false, transmission = false;
  bool clearcoat = false, sheen = false, anisotropy = false;

  auto key() const { return std::tie(sets, unlit, mask, blend, transmission, clearcoat, sheen, anisotropy); }
  bool operator<(const GlFeatures& other) const { return key() < other.key(); }
};

/// A linked program and the unit at which each of its textures is looked for (-1: not read).
struct GlShading {
  GlProgram program;
  std::array<int, kGlSlots> units;
};

inline constexpr GLuint kGlFrameBinding = 0, kGlMaterialBinding = 1;
inline constexpr GLuint kGlSkyUnit = 0, kGlLampUnit = 1, kGlFirstUnit = 2;

/// Need a current context; throw std::runtime_error when the driver refuses the program.
GlShading makeShading(const GlFeatures& features);
GlProgram makeSkyProgram();

}  // namespace host
