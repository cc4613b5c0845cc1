#include "host/render/reflectance.h"

#include <algorithm>
#include <cmath>

namespace host {
namespace {

constexpr float kLeastRoughness = 0.08F;  // lights are points: a perfect mirror would not show them at all

float fifthPower(float x) {
  const float square = x * x;
  return square * square * x;
}

}  // namespace

Reflectance::Reflectance(const MaterialPoint& material)
    : diffuse(material.color * (1 - material.metallic)),
      mirror(material.mirror),
      emitted(material.emitted),
      roughness(material.roughness) {}

Vec3 Reflectance::ofLight(Vec3 normal, Vec3 toViewer, Vec3 toLight) const {
  const Vec3 half = normalize(toViewer + toLight);
  const float nl = std::max(dot(normal, toLight), 0.0F);
  const float nv = std::max(dot(normal, toViewer), 1e-3F);
  const float nh = dot(normal, half);
  const float alpha = std::max(roughness, kLeastRoughness) * std::max(roughness, kLeastRoughness);
  const float square = alpha * alpha;

  const float bump = nh * nh * (square - 1) + 1;
  const float distribution = square / (bump * bump);  // times pi, as all light here
  const float shadowing =
      nl * std::sqrt(nv * nv * (1 - square) + square) + nv * std::sqrt(nl * nl * (1 - square) + square);
  const float lobe = shadowing > 0 ? 0.5F * distribution / shadowing : 0;
  const float grazing = fifthPower(std::clamp(1 - dot(toViewer, half), 0.0F, 1.0F));
  const Vec3 fresnel = mirror + (Vec3{1, 1, 1} - mirror) * grazing;
  return ((Vec3{1, 1, 1} - fresnel) * diffuse + fresnel * lobe) * nl;
}

Vec3 Reflectance::towardsMirror(float cosine) const {
  const float grazing = fifthPower(std::clamp(1 - cosine, 0.0F, 1.0F));
  const float smooth = 1 - roughness;
  const Vec3 most{std::max(smooth, mirror.x), std::max(smooth, mirror.y), std::max(smooth, mirror.z)};
  return mirror + (most - mirror) * grazing;
}

float Reflectance::clarity() const {
  constexpr float kClear = 0.1F, kBlurred = 0.45F;
  const float t = std::clamp((kBlurred - roughness) / (kBlurred - kClear), 0.0F, 1.0F);
  return t * t * (3 - 2 * t);
}

}  // namespace host
