#include "host/render/bsdf.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace host {
namespace {

constexpr float kPi = std::numbers::pi_v<float>;
constexpr float kLeastAlpha = 1e-3F;  // smoother facets are beyond the numbers' precision
constexpr float kLeastCosine = 1e-3F;
constexpr float kCoatMirror = 0.04F;

Vec3 grey(float x) { return {x, x, x}; }
float luminance(Vec3 c) { return 0.2126F * c.x + 0.7152F * c.y + 0.0722F * c.z; }
float largest(Vec3 c) { return std::max({c.x, c.y, c.z}); }
float alphaOf(float roughness) { return std::max(roughness * roughness, kLeastAlpha); }

float rise(float cosine) {
  const float x = std::clamp(1 - cosine, 0.0F, 1.0F);
  const float square = x * x;
  return square * square * x;
}

Vec3 schlick(Vec3 f0, float f90, float cosine) { return f0 + (grey(f90) - f0) * rise(cosine); }

/// Fresnel's equations for a dielectric; `ratio` of the indices before and behind.
float fresnel(float cosine, float ratio) {
  const float square = 1 - ratio * ratio * (1 - cosine * cosine);
  if (square <= 0) return 1;
  const float inside = std::sqrt(square);
  const float parallel = (cosine - ratio * inside) / (cosine + ratio * inside);
  const float perpendicular = (ratio * cosine - inside) / (ratio * cosine + inside);
  return 0.5F * (parallel * parallel + perpendicular * perpendicular);
}

/// Of facets that are rougher along than across.
float roughnessAlong(const MaterialPoint& material) {
  const float across = alphaOf(material.roughness);
  return std::sqrt(across + (1 - across) * material.anisotropy * material.anisotropy);
}

/// What facets of two roughnesses reflect lies between what round layers of these do; the exponent is fitted
/// to balls in a white furnace.
LayerAlbedo between(const LayerAlbedo& across, const LayerAlbedo& along) {
  const float scale = std::pow(along.all() / std::max(across.all(), 1e-3F), 0.55F);
  return {across.normal * scale, across.grazing * scale};
}

}  // namespace

Bsdf::Frame Bsdf::frameAbout(Vec3 normal, Vec3 along) {
  Vec3 x = along - normal * dot(along, normal);
  if (!(dot(x, x) > 1e-8F)) x = cross(std::abs(normal.y) < 0.9F ? Vec3{0, 1, 0} : Vec3{1, 0, 0}, normal);
  x = normalize(x);
  return {x, cross(normal, x), normal};
}

LayerAlbedo Bsdf::albedoAt(float cosine) const {
  const LayerAlbedo round = layers_.at(cosine);
  return layersAlong_ ? between(round, layersAlong_->at(cosine)) : round;
}

Bsdf::Bsdf(const MaterialPoint& material, const Surface& surface, Vec3 toViewer)
    : m_(material),
      surface_(surface),
      frame_(frameAbout(surface.normal, material.along)),
      viewer_(frame_.toLocal(toViewer)),
      facets_(alphaOf(material.roughness) +
                  (1 - alphaOf(material.roughness)) * material.anisotropy * material.anisotropy,
              alphaOf(material.roughness)),
      coat_(alphaOf(material.clearcoatRoughness), alphaOf(material.clearcoatRoughness)),
      layers_(material.roughness),
      glass_(material.transmission),
      metal_(material.metallic),
      dielectric_(std::max(1 - material.metallic - material.transmission, 0.0F)),
      dielectricMirror_(material.dielectricMirror),
      dielectricGrazing_(material.dielectricGrazing) {
  if (m_.anisotropy > 0) layersAlong_.emplace(roughnessAlong(m_));
  viewer_.z = std::max(viewer_.z, kLeastCosine);
  viewerLambda_ = facets_.lambda(viewer_);
  if (m_.clearcoat > 0) {
    coatFrame_ = frameAbout(m_.clearcoatNormal, {});
    coatViewer_ = coatFrame_.toLocal(toViewer);
    coatViewer_.z = std::max(coatViewer_.z, kLeastCosine);
    coatSeen_ =
        m_.clearcoat * LayerAlbedos(m_.clearcoatRoughness).at(coatViewer_.z).of(grey(kCoatMirror), 1).x;
    underLayers_ *= 1 - coatSeen_;
  }
  if (largest(m_.sheen) > 0) {
    sheenSeen_ = sheenAlbedo(viewer_.z, m_.sheenRoughness);
    underLayers_ *= 1 - largest(m_.sheen) * sheenSeen_;
  }
  weighFacets();
  chooseShares();
}

/// What facets reflect and let in, and by how much light that meets several of them is more.
void Bsdf::weighFacets() {
  seen_ = albedoAt(viewer_.z);
  const float lost = 1 / std::max(seen_.all(), 1e-3F) - 1;
  if (metal_ > 0) {
    metalGain_ = grey(1) + m_.color * lost;
    byFacets_ += metal_ * luminance(seen_.of(m_.color, 1) * metalGain_);
  }
  if (dielectric_ > 0) weighDielectric(lost);
  if (glass_ > 0) {
    glassGain_ = 1 + lost;
    const float mirror = glassMirror(viewer_.z);
    byFacets_ += glass_ * mirror;
    byGlass_ = glass_ * (1 - mirror) * luminance(m_.color);
  }
}

void Bsdf::weighDielectric(float lost) {
  dielectricGain_ = grey(1) + dielectricMirror_ * lost;
  const Vec3 mirrored = seen_.of(dielectricMirror_, dielectricGrazing_) * dielectricGain_;
  const LayerAlbedo mean = layersAlong_ ? between(layers_.mean(), layersAlong_->mean()) : layers_.mean();
  const float lostOnMean = 1 / std::max(mean.all(), 1e-3F) - 1;
  const Vec3 leaves = grey(1) - mirrored;
  const Vec3 meanLeaves =
      grey(1) - mean.of(dielectricMirror_, dielectricGrazing_) * (grey(1) + dielectricMirror_ * lostOnMean);
  const auto part = [&](float color, float left, float onMean) {
    return color * left * dielectric_ / (kPi * std::max(onMean, 1e-3F));
  };
  diffuse_ = {part(m_.color.x, leaves.x, meanLeaves.x), part(m_.color.y, leaves.y, meanLeaves.y),
              part(m_.color.z, leaves.z, meanLeaves.z)};
  byFacets_ += dielectric_ * luminance(mirrored);
  byCosine_ = dielectric_ * luminance(m_.color * leaves);
}

/// Each strategy as often as it brings light.
void Bsdf::chooseShares() {
  byFacets_ *= underLayers_;
  byGlass_ *= underLayers_;
  byCosine_ = underLayers_ * byCosine_ + luminance(m_.sheen) * sheenSeen_ * (1 - coatSeen_);
  byCoat_ = coatSeen_;
  const float sum = byFacets_ + byCosine_ + byGlass_ + byCoat_;
  const float share = sum > 0 ? 1 / sum : 0;
  byFacets_ *= share;
  byCosine_ *= share;
  byGlass_ *= share;
  byCoat_ *= share;
}

/// Part that a facet of glass mirrors: by its index for walls with an inside, else as other dielectrics.
float Bsdf::glassMirror(float cosine) const {
  if (m_.thin) return schlick(dielectricMirror_, dielectricGrazing_, cosine).y;
  return fresnel(cosine, surface_.front ? 1 / m_.ior : m_.ior);
}

Vec3 Bsdf::facetMirror(float cosine) const {
  Vec3 sum;
  if (metal_ > 0) sum = sum + schlick(m_.color, 1, cosine) * metalGain_ * metal_;
  if (dielectric_ > 0) {
    sum = sum + schlick(dielectricMirror_, dielectricGrazing_, cosine) * dielectricGain_ * dielectric_;
  }
  if (glass_ > 0) sum = sum + grey(glassMirror(cosine) * glass_ * glassGain_);
  return sum;
}

/// What the base scatters of light that came through the facets and goes out through them.
Vec3 Bsdf::baseDiffuse(Vec3 light) const {
  const LayerAlbedo in = albedoAt(light.z);
  const float lost = 1 / std::max(in.all(), 1e-3F) - 1;
  const Vec3 enters =
      grey(1) - in.of(dielectricMirror_, dielectricGrazing_) * (grey(1) + dielectricMirror_ * lost);
  return diffuse_ * enters;
}

float Bsdf::coatFacets(Vec3 toLight) const {
  const Vec3 light = coatFrame_.toLocal(toLight);
  if (light.z <= 0) return 0;
  const Vec3 half = normalize(coatViewer_ + light);
  const float mirror = schlick(grey(kCoatMirror), 1, dot(coatViewer_, half)).x;
  return m_.clearcoat * mirror * coat_.distribution(half) *
         Ggx::shadowing(coat_.lambda(coatViewer_), coat_.lambda(light)) / (4 * coatViewer_.z);
}

float Bsdf::coatDensity(Vec3 toLight) const {
  const Vec3 light = coatFrame_.toLocal(toLight);
  if (light.z <= 0) return 0;
  const Vec3 half = normalize(coatViewer_ + light);
  return coat_.visibleDensity(coatViewer_, half) / (4 * std::max(dot(coatViewer_, half), 1e-6F));
}

Scattering Bsdf::evaluate(Vec3 toLight) const {
  const Vec3 light = frame_.toLocal(toLight);
  if (light.z <= 0) return {};
  Scattering s;
  if (byFacets_ > 0) {
    const Vec3 half = normalize(viewer_ + light);
    const float cosine = std::max(dot(viewer_, half), 1e-6F);
    const float facets = facets_.distribution(half);
    // The light's cosine cancels against that of the half vector's measure.
    s.value = facetMirror(cosine) *
              (facets * Ggx::shadowing(viewerLambda_, facets_.lambda(light)) / (4 * viewer_.z));
    s.density = byFacets_ * Ggx::masking(viewerLambda_) * facets / (4 * viewer_.z);
  }
  if (dielectric_ > 0) s.value = s.value + baseDiffuse(light) * light.z;
  s.value = s.value * underLayers_;
  if (largest(m_.sheen) > 0) {
    s.value = s.value + m_.sheen * (sheenValue(viewer_, light, m_.sheenRoughness) * (1 - coatSeen_));
  }
  s.density += byCosine_ * light.z / kPi;
  if (m_.clearcoat > 0) {
    s.value = s.value + grey(coatFacets(toLight));
    s.density += byCoat_ * coatDensity(toLight);
  }
  return s;
}

std::optional<ScatteringSample> Bsdf::sample(float choice, Vec2 u) const {
  if (choice < byGlass_) return throughGlass(u);
  choice -= byGlass_;
  if (choice < byFacets_) {
    const Vec3 half = facets_.visibleFacet(viewer_, u);
    return reflected(frame_.toWorld(half * (2 * dot(viewer_, half)) - viewer_), m_.roughness);
  }
  choice -= byFacets_;
  if (choice < byCoat_) {
    const Vec3 half = coat_.visibleFacet(coatViewer_, u);
    return reflected(coatFrame_.toWorld(half * (2 * dot(coatViewer_, half)) - coatViewer_),
                     m_.clearcoatRoughness);
  }
  if (!(byCosine_ > 0)) return {};
  const float radius = std::sqrt(u.x), angle = 2 * kPi * u.y;
  return reflected(frame_.toWorld({radius * std::cos(angle), radius * std::sin(angle),
                                   std::sqrt(std::max(1 - u.x, 0.0F))}),
                   1);
}

std::optional<ScatteringSample> Bsdf::reflected(Vec3 toLight, float roughness) const {
  const Scattering s = evaluate(toLight);
  if (!(s.density > 0)) return {};
  ScatteringSample sample{normalize(toLight), s.value * (1 / s.density), s.density, false, roughness};
  // Bent normals can send light into the surface; it comes out again on the other side of the mirror.
  const float below = dot(sample.toLight, surface_.geometric);
  if (below < 0) sample.toLight = normalize(sample.toLight - surface_.geometric * (2 * below));
  return sample;
}

std::optional<ScatteringSample> Bsdf::throughGlass(Vec2 u) const {
  const Vec3 half = facets_.visibleFacet(viewer_, u);
  const float cosine = dot(viewer_, half);
  const float passing = 1 - glassMirror(cosine);
  if (!(passing > 0)) return {};
  Vec3 light;
  if (m_.thin) {
    light = half * (2 * cosine) - viewer_;
    light.z = -light.z;
  } else {
    const float ratio = surface_.front ? 1 / m_.ior : m_.ior;
    const float inside = std::sqrt(std::max(1 - ratio * ratio * (1 - cosine * cosine), 0.0F));
    light = half * (ratio * cosine - inside) - viewer_ * ratio;
  }
  if (light.z >= 0) return {};
  const float seen = Ggx::shadowing(viewerLambda_, facets_.lambda({light.x, light.y, -light.z})) /
                     Ggx::masking(viewerLambda_);
  // An inside takes the colour once, where light enters.
  const Vec3 color = m_.thin || surface_.front ? m_.color : grey(1);
  ScatteringSample sample;
  sample.weight = color * (underLayers_ * glass_ * passing * seen * glassGain_ / byGlass_);
  sample.toLight = normalize(frame_.toWorld(light));
  const float above = dot(sample.toLight, surface_.geometric);
  if (above > 0) sample.toLight = normalize(sample.toLight - surface_.geometric * (2 * above));
  sample.through = true;
  sample.roughness = m_.roughness;
  return sample;
}

}  // namespace host
