#pragma once
// The light of a scene as the standard renderer sees it: its lamps, and the sky around them.

#include <optional>

#include "host/document/scene.h"

namespace host {

/// Light that reaches a point from one direction.
struct Illumination {
  Vec3 direction;      ///< unit, towards the light
  float distance = 0;  ///< metres
  Vec3 radiance;       ///< what a white matt surface that faces it reflects; exposed
};

/// A lamp with its exposed intensity.
class Lamp {
 public:
  Lamp(const Light& light, float exposure);

  /// What arrives at `point` with nothing in between; no value where the lamp does not shine.
  std::optional<Illumination> at(Vec3 point) const;

  /// Luminance at `point`, which is taken to lie in the middle of a spot's cone and inside the range.
  Illumination metered(Vec3 point, float minDistance) const;

 private:
  float falloff(float distance, Vec3 direction) const;

  Light light_;
  Vec3 intensity_;
  float coneScale_, coneOffset_;
};

/// A sky without sun: pale above, grey ground below, smooth between.
class Sky {
 public:
  explicit Sky(float strength) : strength_(strength) {}

  /// Seen in `direction` (unit), averaged over a wider cone the nearer `blur` is to 1.
  Vec3 radiance(Vec3 direction, float blur) const;

  /// What a white matt surface with this normal reflects.
  Vec3 ambient(Vec3 normal) const;

 private:
  float strength_;
};

/// Lamps and sky of a scene, exposed as by an incident light meter held at the centre of `bounds`: the light
/// that meets a surface there, turned to where it is brightest, is a constant of the picture. So files that
/// count in thousands of lux and files that count in ones both give a picture, and an exporter's choice of
/// units does not show.
///
/// A scene without lights gets a fixed one from the upper left in front (world +Z is the front), and more
/// sky.
struct SceneLights {
  SceneLights(const Scene& scene, const std::optional<Bounds>& bounds);

  std::vector<Lamp> lamps;
  Sky sky;
};

}  // namespace host
