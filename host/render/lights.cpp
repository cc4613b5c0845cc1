#include "host/render/lights.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace host {
namespace {

constexpr float kPi = std::numbers::pi_v<float>;
constexpr float kFixedLux = 0.85F * kPi;
constexpr float kSkyWithoutLights = 0.60F, kSkyBesideLights = 0.24F;
constexpr float kExposureStep = 8, kDarkestWhite = 0.25F;
constexpr float kFarAway = 1e17F;
constexpr size_t kMeteredDirections = 16;

constexpr Vec3 kZenith{0.72F, 0.84F, 1.00F};
constexpr Vec3 kHorizon{0.95F, 0.96F, 0.98F};
constexpr Vec3 kGround{0.34F, 0.345F, 0.355F};

Vec3 mix(Vec3 a, Vec3 b, float t) { return a * (1 - t) + b * t; }

float smoothstep(float low, float high, float x) {
  const float t = std::clamp((x - low) / (high - low), 0.0F, 1.0F);
  return t * t * (3 - 2 * t);
}

float luminance(Vec3 c) { return 0.2126F * c.x + 0.7152F * c.y + 0.0722F * c.z; }

Light fixedLight() {
  Light light;
  light.kind = Light::Kind::Directional;
  light.color = {1, 0.97F, 0.92F};
  light.intensity = kFixedLux;
  light.direction = normalize(Vec3{0.42F, -0.78F, -0.46F});
  return light;
}

/// How bright the lights make a white matt surface at the centre, turned to where it is brightest.
float metered(const std::vector<Light>& lights, const Bounds& box) {
  const Vec3 center = (box.low + box.high) * 0.5F;
  const float radius = length(box.high - box.low) * 0.5F;
  std::vector<Illumination> all;
  all.reserve(lights.size());
  for (const Light& light : lights) all.push_back(Lamp(light, 1).metered(center, radius));

  std::vector<Illumination> facing(std::min(all.size(), kMeteredDirections));
  std::partial_sort_copy(all.begin(), all.end(), facing.begin(), facing.end(),
                         [](const Illumination& a, const Illumination& b) {
                           return luminance(a.radiance) > luminance(b.radiance);
                         });
  float brightest = 0;
  for (const Illumination& towards : facing) {
    float sum = 0;
    for (const Illumination& light : all) {
      sum += luminance(light.radiance) * std::max(0.0F, dot(towards.direction, light.direction));
    }
    brightest = std::max(brightest, sum);
  }
  return brightest;
}

float exposureFor(float white) {
  if (!(white > 1e-34F && white < 1e34F)) return 1;
  float exposure = 1;
  while (white * exposure < kDarkestWhite) exposure *= kExposureStep;
  while (white * exposure >= kDarkestWhite * kExposureStep) exposure /= kExposureStep;
  return exposure;
}

Sky skyOf(const Environment& environment, bool hasLights) {
  const float standard = environment.kind == Environment::Kind::White ? 1
                         : hasLights                                  ? kSkyBesideLights
                                                                      : kSkyWithoutLights;
  return {environment.kind, environment.strength.value_or(standard)};
}

}  // namespace

Lamp::Lamp(const Light& light, float exposure)
    : light_(light), intensity_(light.color * (light.intensity * exposure / kPi)) {
  // The falloff between the cones as glTF's KHR_lights_punctual recommends.
  const float inner = std::cos(light.innerCone), outer = std::cos(light.outerCone);
  coneScale_ = 1 / std::max(0.001F, inner - outer);
  coneOffset_ = -outer * coneScale_;
}

float Lamp::falloff(float distance, Vec3 direction) const {
  float share = 1 / (distance * distance);
  if (light_.range > 0) {
    const float ratio = distance / light_.range;
    share *= std::clamp(1 - ratio * ratio * ratio * ratio, 0.0F, 1.0F);
  }
  if (light_.kind == Light::Kind::Spot) {
    const float cone = std::clamp(-dot(direction, light_.direction) * coneScale_ + coneOffset_, 0.0F, 1.0F);
    share *= cone * cone;
  }
  return share;
}

std::optional<Illumination> Lamp::at(Vec3 point) const {
  if (light_.kind == Light::Kind::Directional) return Illumination{-light_.direction, kFarAway, intensity_};
  const Vec3 towards = light_.position - point;
  const float distance = length(towards);
  if (!(distance > 0 && distance < kFarAway)) return {};
  const Vec3 direction = towards * (1 / distance);
  const float share = falloff(distance, direction);
  if (!(share > 0)) return {};
  return Illumination{direction, distance, intensity_ * share};
}

Illumination Lamp::metered(Vec3 center, float radius) const {
  if (light_.kind == Light::Kind::Directional) return {-light_.direction, kFarAway, intensity_};
  const Vec3 towards = light_.position - center;
  const float away = length(towards);
  // A lamp in the very middle shines from everywhere; any direction will do.
  const Vec3 direction = unitOr(towards, {0, 1, 0});
  const float distance = std::max({away, radius * 0.5F, 1e-3F});
  const bool reaches =
      !(light_.range > 0 && away - radius > light_.range) && !missesBall(direction, away, radius);
  return {direction, distance, intensity_ * (reaches ? 1 / (distance * distance) : 0)};
}

/// Whether a spot's cone passes by a ball that is seen from it in the direction opposite to `toLamp`.
bool Lamp::missesBall(Vec3 toLamp, float away, float radius) const {
  if (light_.kind != Light::Kind::Spot || away <= radius) return false;
  const float aside = std::acos(std::clamp(-dot(toLamp, light_.direction), -1.0F, 1.0F));
  return aside - std::asin(radius / away) > light_.outerCone;
}

Vec3 Sky::radiance(Vec3 direction, float blur) const {
  if (white_) return {strength_, strength_, strength_};
  const float width = 0.35F + 0.65F * blur;
  const float above = smoothstep(-width, width * 0.6F, direction.y);
  const Vec3 sky = mix(kHorizon, kZenith, std::max(direction.y, 0.0F));
  const Vec3 ground = kGround * (1 + 0.5F * std::min(direction.y, 0.0F));  // darker straight below
  return mix(ground, sky, above) * strength_;
}

Vec3 Sky::ambient(Vec3 normal) const {
  if (white_) return {strength_, strength_, strength_};
  const Vec3 sky = mix(kHorizon, kZenith, 0.5F);
  return mix(kGround, sky, 0.5F + 0.5F * normal.y) * strength_;
}

SceneLights::SceneLights(const Scene& scene, const std::optional<Bounds>& bounds,
                         const RenderRequest& request)
    : sky(skyOf(request.environment, !scene.lights.empty())) {
  if (scene.lights.empty()) {
    // No second light where the request says what is around.
    if (request.environment.kind == Environment::Kind::Sky) lamps.emplace_back(fixedLight(), 1.0F);
    return;
  }
  const float exposure =
      request.exposure > 0 ? request.exposure : exposureFor(metered(scene.lights, bounds.value_or(Bounds{})));
  for (const Light& light : scene.lights) lamps.emplace_back(light, exposure);
}

}  // namespace host
