#pragma once
// The light of a scene as the standard renderer sees it: its lamps, and the sky around them.

#include <optional>

#include "host/render/renderer.h"

namespace host {

/// Light that reaches a point from one direction.
struct Illumination {
  Vec3 direction;      ///< unit, towards the light
  float distance = 0;  ///< metres
  Vec3 radiance;       ///< what a white matt surface that faces it reflects, 1/pi of the irradiance; exposed
};

/// A lamp with its exposed intensity, over pi.
class Lamp {
 public:
  Lamp(const Light& light, float exposure);

  /// What arrives at `point` with nothing in between; no value where the lamp does not shine.
  std::optional<Illumination> at(Vec3 point) const;

  /// What arrives at the centre of a ball, which is taken to lie in the middle of a spot's cone and inside
  /// the range; black where no part of the ball does. Not nearer than half the radius.
  Illumination metered(Vec3 center, float radius) const;

  // What `at` reckons with, for renderers that do so elsewhere.
  const Light& light() const { return light_; }
  Vec3 intensity() const { return intensity_; }
  float coneScale() const { return coneScale_; }
  float coneOffset() const { return coneOffset_; }

 private:
  float falloff(float distance, Vec3 direction) const;
  bool missesBall(Vec3 toLamp, float away, float radius) const;

  Light light_;
  Vec3 intensity_;
  float coneScale_, coneOffset_;
};

/// What is around the scene: a sky without sun, pale above, grey ground below, smooth between; or white on
/// all sides.
class Sky {
 public:
  Sky(Environment::Kind kind, float strength)
      : white_(kind == Environment::Kind::White), strength_(strength) {}

  /// Seen in `direction` (unit), averaged over a wider cone the nearer `blur` is to 1.
  Vec3 radiance(Vec3 direction, float blur) const;

  /// What a white matt surface with this normal reflects.
  Vec3 ambient(Vec3 normal) const;

 private:
  bool white_;
  float strength_;
};

/// Lamps and sky of a scene. The lamps' units (lux, candela) become the picture's by a factor, the exposure:
/// with 1, a white matt surface that meets pi lux is as bright as white.
///
/// Unless the request fixes it, the exposure is metered as by an incident light meter at the centre of
/// `bounds`, in steps of 8: the power of 8 that brings a white surface there to between 1/4 and 2. So files
/// that count in thousands of lux and files that count in ones both give a picture, files that are right as
/// they are stay so, and a light that somebody made a little brighter is a little brighter in the picture.
///
/// A scene without lights gets a fixed one from the upper left in front (world +Z is the front), and more
/// sky. Sky and emission are in the picture's units already.
struct SceneLights {
  SceneLights(const Scene& scene, const std::optional<Bounds>& bounds, const RenderRequest& request);

  std::vector<Lamp> lamps;
  Sky sky;
};

}  // namespace host
