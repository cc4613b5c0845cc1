#include "host/render/reflectance.h"

#include <algorithm>
#include <cmath>

namespace host {
namespace {

constexpr float kCoatMirror = 0.04F;      // of lacquer, at normal incidence
constexpr float kLeastRoughness = 0.08F;  // lights are points: a perfect mirror would not show them at all
constexpr float kLeastSheenAlpha = 0.005F;
constexpr float kSheenAlbedo = 0.157F;  // what sheen reflects of light from all around, on average

Vec3 mix(Vec3 a, Vec3 b, float t) { return a * (1 - t) + b * t; }
float largest(Vec3 v) { return std::max({v.x, v.y, v.z}); }
Vec3 grey(float x) { return {x, x, x}; }

/// Schlick's rise of the Fresnel term towards grazing angles.
float grazingRise(float cosine) {
  const float x = std::clamp(1 - cosine, 0.0F, 1.0F);
  const float square = x * x;
  return square * square * x;
}

float alphaOf(float roughness) {
  const float r = std::max(roughness, kLeastRoughness);
  return r * r;
}

/// GGX times shadowing over 4 nl nv, times pi, times nl; isotropic.
float isotropicLobe(Vec3 normal, Vec3 toViewer, Vec3 toLight, Vec3 half, float alpha) {
  const float nl = std::max(dot(normal, toLight), 0.0F);
  const float nv = std::max(dot(normal, toViewer), 1e-3F);
  const float nh = dot(normal, half);
  const float square = alpha * alpha;
  const float bump = nh * nh * (square - 1) + 1;
  const float distribution = square / (bump * bump);
  const float shadowing =
      nl * std::sqrt(nv * nv * (1 - square) + square) + nv * std::sqrt(nl * nl * (1 - square) + square);
  return shadowing > 0 ? 0.5F * distribution / shadowing * nl : 0;
}

}  // namespace

Reflectance::Reflectance(const MaterialPoint& material, Vec3 normal, Vec3 toViewer)
    : m_(material),
      normal_(normal),
      toViewer_(toViewer),
      across_(cross(normal, material.along)),
      diffuse_(material.color * std::max(1 - material.metallic - material.transmission, 0.0F)),
      acrossAlpha_(alphaOf(material.roughness)),
      viewerCosine_(std::max(dot(normal, toViewer), 0.0F)) {
  alongAlpha_ = acrossAlpha_ + (1 - acrossAlpha_) * material.anisotropy * material.anisotropy;
  if (material.clearcoat > 0) underCoat_ -= ofCoat();
  baseShare_ = (1 - kSheenAlbedo * largest(material.sheen)) * underCoat_;
}

Vec3 Reflectance::fresnel(float cosine) const {
  return m_.mirror + (grey(m_.grazing) - m_.mirror) * grazingRise(cosine);
}

Vec3 Reflectance::ofLight(Vec3 toLight) const {
  const float nl = dot(normal_, toLight);
  if (nl <= 0) {
    if (!(m_.transmission > 0)) return {};
    const Vec3 before = toLight - normal_ * (2 * nl);  // rough glass scatters about the straight way through
    const Vec3 half = normalize(toViewer_ + before);
    return (grey(1) - fresnel(dot(toViewer_, half))) * m_.color *
           (m_.transmission * baseShare_ * lobe(before, half));
  }
  const Vec3 half = normalize(toViewer_ + toLight);
  const Vec3 mirrored = fresnel(dot(toViewer_, half));
  Vec3 sum = ((grey(1) - mirrored) * diffuse_ * nl + mirrored * lobe(toLight, half)) * baseShare_;
  if (m_.sheen.x > 0 || m_.sheen.y > 0 || m_.sheen.z > 0)
    sum = sum + m_.sheen * (sheenLobe(toLight, half) * underCoat_);
  if (m_.clearcoat > 0) sum = sum + grey(coatLobe(toLight, half));
  return sum;
}

float Reflectance::lobe(Vec3 toLight, Vec3 half) const {
  if (!(m_.anisotropy > 0)) return isotropicLobe(normal_, toViewer_, toLight, half, acrossAlpha_);
  const float nl = std::max(dot(normal_, toLight), 0.0F);
  const float nv = std::max(viewerCosine_, 1e-3F);
  const float product = alongAlpha_ * acrossAlpha_;
  const Vec3 f{dot(m_.along, half) * acrossAlpha_, dot(across_, half) * alongAlpha_,
               dot(normal_, half) * product};
  const float bump = dot(f, f);
  const float distribution = bump > 0 ? product * product * product / (bump * bump) : 0;
  const auto reach = [&](Vec3 v, float cosine) {
    return length(Vec3{alongAlpha_ * dot(m_.along, v), acrossAlpha_ * dot(across_, v), cosine});
  };
  const float shadowing = nl * reach(toViewer_, nv) + nv * reach(toLight, nl);
  return shadowing > 0 ? 0.5F * distribution / shadowing * nl : 0;
}

float Reflectance::coatLobe(Vec3 toLight, Vec3 half) const {
  const float mirrored = kCoatMirror + (1 - kCoatMirror) * grazingRise(dot(toViewer_, half));
  return m_.clearcoat * mirrored *
         isotropicLobe(m_.clearcoatNormal, toViewer_, toLight, half, alphaOf(m_.clearcoatRoughness));
}

float Reflectance::sheenLobe(Vec3 toLight, Vec3 half) const {
  const float nl = dot(normal_, toLight), nv = std::max(viewerCosine_, 1e-3F);
  const float inverse = 1 / std::max(m_.sheenRoughness * m_.sheenRoughness, kLeastSheenAlpha);
  const float nh = std::clamp(dot(normal_, half), 0.0F, 1.0F);
  const float distribution = (2 + inverse) * std::pow(1 - nh * nh, inverse * 0.5F) * 0.5F;  // times pi
  return distribution / (4 * (nl + nv - nl * nv)) * nl;
}

Vec3 Reflectance::ofSkylight() const {
  const Vec3 enters = grey(1) - mirroredSky(m_.dielectricMirror, m_.dielectricGrazing);
  return (diffuse_ * enters * baseShare_ + m_.sheen * (kSheenAlbedo * underCoat_)) * m_.occlusion;
}

/// What facets with these two reflectances mirror of a sky that is the same all around.
Vec3 Reflectance::mirroredSky(Vec3 normal, float grazing) const {
  const float smooth = (1 - m_.roughness) * grazing;
  const Vec3 most{std::max(smooth, normal.x), std::max(smooth, normal.y), std::max(smooth, normal.z)};
  return normal + (most - normal) * grazingRise(viewerCosine_);
}

Vec3 Reflectance::ofMirror() const {
  return mix(mirroredSky(m_.dielectricMirror, m_.dielectricGrazing), mirroredSky(m_.color, 1), m_.metallic) *
         baseShare_;
}

float Reflectance::ofCoat() const {
  const float rise = grazingRise(dot(m_.clearcoatNormal, toViewer_)) * (1 - m_.clearcoatRoughness);
  return m_.clearcoat * (kCoatMirror + (1 - kCoatMirror) * rise);
}

Vec3 Reflectance::ofBehind() const {
  // An inside takes the colour once, on two surfaces.
  const auto tint = [&](float c) { return m_.thin ? c : std::sqrt(std::max(c, 0.0F)); };
  const Vec3 color{tint(m_.color.x), tint(m_.color.y), tint(m_.color.z)};
  const Vec3 enters = grey(1) - mirroredSky(m_.dielectricMirror, m_.dielectricGrazing);
  return enters * color * (m_.transmission * baseShare_);
}

Vec3 Reflectance::mirrored() const {
  Vec3 normal = normal_;
  if (m_.anisotropy > 0) {
    const Vec3 drawn = normalize(cross(cross(across_, toViewer_), across_));
    const float rest = 1 - m_.anisotropy * (1 - m_.roughness);
    normal = normalize(mix(drawn, normal_, rest * rest * rest * rest));
  }
  return normal * (2 * dot(toViewer_, normal)) - toViewer_;
}

float Reflectance::clarity(float roughness) {
  constexpr float kClear = 0.1F, kBlurred = 0.45F;
  const float t = std::clamp((kBlurred - roughness) / (kBlurred - kClear), 0.0F, 1.0F);
  return t * t * (3 - 2 * t);
}

}  // namespace host
