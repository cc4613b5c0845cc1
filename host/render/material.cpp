#include "host/render/material.h"

#include <algorithm>
#include <cmath>

namespace host {
namespace {

Vec3 mix(Vec3 a, Vec3 b, float t) { return a * (1 - t) + b * t; }
float unit(float x) { return x > 0 ? std::min(x, 1.0F) : 0; }
Vec3 unit(Vec3 c) { return {unit(c.x), unit(c.y), unit(c.z)}; }
bool isBlack(Vec3 c) { return !(c.x > 0 || c.y > 0 || c.z > 0); }

/// Reads the textures of one material at one point.
class Reader {
 public:
  Reader(const Textures& textures, const Surface& surface)
      : textures_(textures), surface_(surface), material_(*surface.material) {}

  MaterialPoint read() const {
    MaterialPoint m;
    readBase(m);
    readDielectric(m);
    if (material_.transmission > 0) readTransmission(m);
    if (material_.clearcoat > 0) readClearcoat(m);
    if (!isBlack(material_.sheenColor)) readSheen(m);
    if (material_.anisotropy > 0) readAnisotropy(m);
    return m;
  }

 private:
  Vec4 texel(const TextureUse& use) const { return textures_.sample(*surface_.mesh, use, surface_.point); }
  Vec3 color(const TextureUse& use) const {
    const Vec4 t = texel(use);
    return {t.x, t.y, t.z};
  }

  void readBase(MaterialPoint& m) const {
    const Vec4 factors = texel(material_.metallicRoughnessTexture);
    m.color = unit(Vec3{surface_.baseColor.x, surface_.baseColor.y, surface_.baseColor.z});
    m.metallic = unit(material_.metallic * factors.z);
    m.roughness = unit(material_.roughness * factors.y);
    if (material_.occlusionTexture) {
      // Most files keep it in the first channel of the same picture.
      const bool same = material_.occlusionTexture == material_.metallicRoughnessTexture;
      const float open = same ? factors.x : texel(material_.occlusionTexture).x;
      m.occlusion = unit(1 + material_.occlusionStrength * (open - 1));
    }
    if (!isBlack(material_.emissive)) m.emitted = material_.emissive * color(material_.emissiveTexture);
  }

  /// KHR_materials_ior and KHR_materials_specular.
  void readDielectric(MaterialPoint& m) const {
    const float ior = material_.ior;
    const float ratio = (ior - 1) / (ior + 1);
    const float specular = unit(material_.specular * texel(material_.specularTexture).w);
    const Vec3 tint = material_.specularColor * color(material_.specularColorTexture);
    const Vec3 dielectric = unit(tint * (ior > 0 ? ratio * ratio : 1)) * specular;
    m.ior = std::max(ior, 1.0F);
    m.dielectricMirror = dielectric;
    m.dielectricGrazing = specular;
    m.mirror = mix(dielectric, m.color, m.metallic);
    m.grazing = specular * (1 - m.metallic) + m.metallic;
  }

  /// KHR_materials_transmission and KHR_materials_volume.
  void readTransmission(MaterialPoint& m) const {
    m.transmission = unit(material_.transmission * texel(material_.transmissionTexture).x) * (1 - m.metallic);
    m.thin = !(material_.thickness * texel(material_.thicknessTexture).y > 0);
    if (m.thin || !(material_.attenuationDistance > 0)) return;
    constexpr float kDarkest = 1e-4F;  // black would absorb without end
    const auto absorbed = [&](float left) {
      return -std::log(std::max(unit(left), kDarkest)) / material_.attenuationDistance;
    };
    const Vec3 left = material_.attenuationColor;
    m.absorption = {absorbed(left.x), absorbed(left.y), absorbed(left.z)};
  }

  void readClearcoat(MaterialPoint& m) const {
    m.clearcoat = unit(material_.clearcoat * texel(material_.clearcoatTexture).x);
    m.clearcoatRoughness = unit(material_.clearcoatRoughness * texel(material_.clearcoatRoughnessTexture).y);
    m.clearcoatNormal =
        mappedNormal(textures_, surface_, material_.clearcoatNormalTexture, material_.clearcoatNormalScale);
  }

  void readSheen(MaterialPoint& m) const {
    m.sheen = unit(material_.sheenColor * color(material_.sheenColorTexture));
    m.sheenRoughness = unit(material_.sheenRoughness * texel(material_.sheenRoughnessTexture).w);
  }

  /// KHR_materials_anisotropy: the texture turns the direction further.
  void readAnisotropy(MaterialPoint& m) const {
    Vec2 direction{1, 0};
    m.anisotropy = unit(material_.anisotropy);
    if (material_.anisotropyTexture) {
      const Vec4 t = texel(material_.anisotropyTexture);
      direction = {2 * t.x - 1, 2 * t.y - 1};
      m.anisotropy *= t.z;
    }
    const float c = std::cos(material_.anisotropyRotation), s = std::sin(material_.anisotropyRotation);
    const Vec3 along = surface_.tangent * (c * direction.x - s * direction.y) +
                       surface_.bitangent * (s * direction.x + c * direction.y);
    m.along = length(along) > 1e-6F ? normalize(along) : surface_.tangent;
  }

  const Textures& textures_;
  const Surface& surface_;
  const Material& material_;
};

}  // namespace

MaterialPoint materialAt(const Textures& textures, const Surface& surface) {
  return Reader(textures, surface).read();
}

}  // namespace host
