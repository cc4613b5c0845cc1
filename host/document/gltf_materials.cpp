#include "host/document/gltf_materials.h"

#include <algorithm>
#include <cmath>
#include <span>

#include "host/document/gltf_limits.h"

namespace host {
namespace {

constexpr double kBrightest = 1e9;  // beyond, sums of light are no floats any more

float unitFactor(double value) { return static_cast<float>(std::clamp(value, 0.0, 1.0)); }

Vec2 vec2Or(const tinygltf::Value& object, const char* member, Vec2 fallback) {
  const tinygltf::Value& value = object.Get(member);
  if (!value.IsArray() || value.ArrayLen() != 2) return fallback;
  return {static_cast<float>(value.Get(0).GetNumberAsDouble()),
          static_cast<float>(value.Get(1).GetNumberAsDouble())};
}

/// Scale, rotate, move: KHR_texture_transform. V points down in glTF, hence the signs of the rotation.
void moveTexture(const tinygltf::Value& transform, TextureUse& use) {
  const Vec2 scale = vec2Or(transform, "scale", {1, 1});
  const auto rotation = static_cast<float>(transform.Get("rotation").GetNumberAsDouble());
  const float c = std::cos(rotation), s = std::sin(rotation);
  use.uAxis = {c * scale.x, -s * scale.x};
  use.vAxis = {s * scale.y, c * scale.y};
  use.offset = vec2Or(transform, "offset", {0, 0});
  if (transform.Has("texCoord")) use.texCoord = transform.Get("texCoord").GetNumberAsInt();
}

Vec3 unitFactors(Vec3 v) { return {unitFactor(v.x), unitFactor(v.y), unitFactor(v.z)}; }
float notNegative(double value) { return static_cast<float>(std::max(value, 0.0)); }

/// One of a material's extensions; its members have the types that the schema demands.
class Extension {
 public:
  Extension(const tinygltf::Material& material, const char* name) {
    const auto found = material.extensions.find(std::string("KHR_materials_") + name);
    if (found != material.extensions.end() && found->second.IsObject()) value_ = &found->second;
  }
  explicit operator bool() const { return value_ != nullptr; }

  double number(const char* member, double fallback) const {
    return value_->Has(member) ? value_->Get(member).GetNumberAsDouble() : fallback;
  }
  Vec3 color(const char* member, Vec3 fallback) const {
    const tinygltf::Value& value = value_->Get(member);
    if (!value.IsArray() || value.ArrayLen() != 3) return fallback;
    const auto channel = [&](int i) { return notNegative(value.Get(i).GetNumberAsDouble()); };
    return {channel(0), channel(1), channel(2)};
  }
  tinygltf::TextureInfo texture(const char* member) const {
    tinygltf::TextureInfo info;
    const tinygltf::Value& value = value_->Get(member);
    if (!value.IsObject()) return info;
    info.index = value.Get("index").GetNumberAsInt();
    if (value.Has("texCoord")) info.texCoord = value.Get("texCoord").GetNumberAsInt();
    const tinygltf::Value& extensions = value.Get("extensions");
    if (extensions.IsObject() && extensions.Has("KHR_texture_transform")) {
      info.extensions["KHR_texture_transform"] = extensions.Get("KHR_texture_transform");
    }
    return info;
  }
  /// The "scale" of a normal map.
  float scale(const char* member) const {
    const tinygltf::Value& value = value_->Get(member);
    return value.IsObject() && value.Has("scale") ? static_cast<float>(value.Get("scale").GetNumberAsDouble())
                                                  : 1;
  }

 private:
  const tinygltf::Value* value_ = nullptr;
};

/// A texture's index, coordinates and transform, whatever else belongs to it.
template <class Info>
tinygltf::TextureInfo plainInfo(const Info& special) {
  tinygltf::TextureInfo info;
  info.index = special.index;
  info.texCoord = special.texCoord;
  info.extensions = special.extensions;
  return info;
}

Vec3 emissive(const tinygltf::Material& source) {
  const Extension extension(source, "emissive_strength");
  const double strength = extension ? std::max(extension.number("emissiveStrength", 1), 0.0) : 1;
  const auto channel = [&](size_t i) {
    return static_cast<float>(
        std::min(std::clamp(source.emissiveFactor[i], 0.0, 1.0) * strength, kBrightest));
  };
  return {channel(0), channel(1), channel(2)};
}

AlphaMode alphaMode(const std::string& mode) {
  if (mode == "OPAQUE") return AlphaMode::Opaque;
  if (mode == "MASK") return AlphaMode::Mask;
  if (mode == "BLEND") return AlphaMode::Blend;
  throw SceneError("a material has the unknown alpha mode " + excerpt(mode));
}

Wrap wrapMode(int code) {
  switch (code) {
    case TINYGLTF_TEXTURE_WRAP_CLAMP_TO_EDGE:
      return Wrap::Clamp;
    case TINYGLTF_TEXTURE_WRAP_MIRRORED_REPEAT:
      return Wrap::Mirror;
    default:
      return Wrap::Repeat;
  }
}

std::string imageName(const tinygltf::Model& model, int index) {
  const tinygltf::Image& image = model.images[static_cast<size_t>(index)];
  if (!image.uri.empty()) return "\"" + excerpt(image.uri) + "\"";
  const std::string place = "images[" + std::to_string(index) + "]";
  return image.name.empty() ? place : place + " \"" + excerpt(image.name) + "\"";
}

}  // namespace

MaterialBuilder::MaterialBuilder(const tinygltf::Model& model, ResourceReader& resources, Scene& scene)
    : model_(model),
      resources_(resources),
      scene_(scene),
      built_(model.materials.size()),
      textureIndices_{std::vector<int>(model.textures.size(), -1),
                      std::vector<int>(model.textures.size(), -1)},
      imageIndices_(model.images.size(), -1) {}

const BuiltMaterial& MaterialBuilder::get(int index) {
  if (index < 0) return none_;
  BuiltMaterial& built = built_[static_cast<size_t>(index)];
  if (built.material >= 0) return built;
  try {
    built = build(model_.materials[static_cast<size_t>(index)]);
  } catch (const SceneError& error) {
    throw SceneError("materials[" + std::to_string(index) + "]: " + error.what());
  }
  return built;
}

BuiltMaterial MaterialBuilder::build(const tinygltf::Material& source) {
  const tinygltf::PbrMetallicRoughness& pbr = source.pbrMetallicRoughness;
  BuiltMaterial built;
  Material material;
  material.name = source.name;
  material.baseColor = {unitFactor(pbr.baseColorFactor[0]), unitFactor(pbr.baseColorFactor[1]),
                        unitFactor(pbr.baseColorFactor[2]), unitFactor(pbr.baseColorFactor[3])};
  material.metallic = unitFactor(pbr.metallicFactor);
  material.roughness = unitFactor(pbr.roughnessFactor);
  material.emissive = emissive(source);
  material.alphaMode = alphaMode(source.alphaMode);
  material.alphaCutoff = static_cast<float>(source.alphaCutoff);
  material.doubleSided = source.doubleSided;
  material.baseColorTexture = useTexture(pbr.baseColorTexture, TexelKind::Color, built);
  material.metallicRoughnessTexture = useTexture(pbr.metallicRoughnessTexture, TexelKind::Data, built);
  material.emissiveTexture = useTexture(source.emissiveTexture, TexelKind::Color, built);
  material.normalTexture = useTexture(plainInfo(source.normalTexture), TexelKind::Data, built);
  material.normalScale = static_cast<float>(source.normalTexture.scale);
  material.occlusionTexture = useTexture(plainInfo(source.occlusionTexture), TexelKind::Data, built);
  material.occlusionStrength = unitFactor(source.occlusionTexture.strength);
  material.unlit = source.extensions.count("KHR_materials_unlit") > 0;
  addMirror(source, material, built);
  addInside(source, material, built);
  addLayers(source, material, built);
  built.tangents = material.normalTexture || material.clearcoatNormalTexture || material.anisotropy > 0;
  built.material = static_cast<int>(scene_.materials.size());
  scene_.materials.push_back(std::move(material));
  return built;
}

void MaterialBuilder::addMirror(const tinygltf::Material& source, Material& material, BuiltMaterial& built) {
  if (const Extension ior{source, "ior"}) {
    const float index = notNegative(ior.number("ior", material.ior));
    material.ior = index > 0 ? std::max(index, 1.0F) : 0;
  }
  if (const Extension specular{source, "specular"}) {
    material.specular = unitFactor(specular.number("specularFactor", 1));
    material.specularTexture = useTexture(specular.texture("specularTexture"), TexelKind::Data, built);
    material.specularColor = specular.color("specularColorFactor", {1, 1, 1});
    material.specularColorTexture =
        useTexture(specular.texture("specularColorTexture"), TexelKind::Color, built);
  }
  if (const Extension anisotropy{source, "anisotropy"}) {
    material.anisotropy = unitFactor(anisotropy.number("anisotropyStrength", 0));
    material.anisotropyRotation = static_cast<float>(anisotropy.number("anisotropyRotation", 0));
    material.anisotropyTexture = useTexture(anisotropy.texture("anisotropyTexture"), TexelKind::Data, built);
  }
}

void MaterialBuilder::addInside(const tinygltf::Material& source, Material& material, BuiltMaterial& built) {
  if (const Extension transmission{source, "transmission"}) {
    material.transmission = unitFactor(transmission.number("transmissionFactor", 0));
    material.transmissionTexture =
        useTexture(transmission.texture("transmissionTexture"), TexelKind::Data, built);
  }
  if (const Extension volume{source, "volume"}) {
    material.thickness = notNegative(volume.number("thicknessFactor", 0));
    material.thicknessTexture = useTexture(volume.texture("thicknessTexture"), TexelKind::Data, built);
    material.attenuationDistance = notNegative(volume.number("attenuationDistance", 0));
    material.attenuationColor = unitFactors(volume.color("attenuationColor", {1, 1, 1}));
  }
}

void MaterialBuilder::addLayers(const tinygltf::Material& source, Material& material, BuiltMaterial& built) {
  if (const Extension coat{source, "clearcoat"}) {
    material.clearcoat = unitFactor(coat.number("clearcoatFactor", 0));
    material.clearcoatTexture = useTexture(coat.texture("clearcoatTexture"), TexelKind::Data, built);
    material.clearcoatRoughness = unitFactor(coat.number("clearcoatRoughnessFactor", 0));
    material.clearcoatRoughnessTexture =
        useTexture(coat.texture("clearcoatRoughnessTexture"), TexelKind::Data, built);
    material.clearcoatNormalTexture =
        useTexture(coat.texture("clearcoatNormalTexture"), TexelKind::Data, built);
    material.clearcoatNormalScale = coat.scale("clearcoatNormalTexture");
  }
  if (const Extension sheen{source, "sheen"}) {
    material.sheenColor = unitFactors(sheen.color("sheenColorFactor", {0, 0, 0}));
    material.sheenColorTexture = useTexture(sheen.texture("sheenColorTexture"), TexelKind::Color, built);
    material.sheenRoughness = unitFactor(sheen.number("sheenRoughnessFactor", 0));
    material.sheenRoughnessTexture =
        useTexture(sheen.texture("sheenRoughnessTexture"), TexelKind::Data, built);
  }
}

TextureUse MaterialBuilder::useTexture(const tinygltf::TextureInfo& info, TexelKind kind,
                                       BuiltMaterial& built) {
  TextureUse use;
  if (info.index < 0) return use;
  use.texture = texture(info.index, kind);
  use.texCoord = info.texCoord;
  const auto found = info.extensions.find("KHR_texture_transform");
  if (found != info.extensions.end() && found->second.IsObject()) moveTexture(found->second, use);
  if (use.texCoord < 0 || use.texCoord >= kTexCoordSets) {
    ++sharedTexCoords_;
    use.texCoord = 0;
  }
  built.sets[static_cast<size_t>(use.texCoord)] = true;
  return use;
}

int MaterialBuilder::texture(int index, TexelKind kind) {
  int& known = textureIndices_[static_cast<size_t>(kind)][static_cast<size_t>(index)];
  if (known >= 0) return known;
  const tinygltf::Texture& source = model_.textures[static_cast<size_t>(index)];
  Texture texture;
  texture.srgb = kind == TexelKind::Color;
  if (source.source >= 0) texture.image = image(source.source);
  if (source.sampler >= 0) {
    const tinygltf::Sampler& sampler = model_.samplers[static_cast<size_t>(source.sampler)];
    texture.wrapS = wrapMode(sampler.wrapS);
    texture.wrapT = wrapMode(sampler.wrapT);
    texture.nearest = sampler.magFilter == TINYGLTF_TEXTURE_FILTER_NEAREST;
    texture.mipmapped = sampler.minFilter != TINYGLTF_TEXTURE_FILTER_NEAREST &&
                        sampler.minFilter != TINYGLTF_TEXTURE_FILTER_LINEAR;
  }
  known = static_cast<int>(scene_.textures.size());
  scene_.textures.push_back(texture);
  return known;
}

int MaterialBuilder::image(int index) {
  int& known = imageIndices_[static_cast<size_t>(index)];
  if (known >= 0) return known;
  Image decoded = decode(index);
  decodedBytes_ += decoded.pixels.size();
  if (decodedBytes_ > kMaxTextureBytes) throw SceneError("the textures are larger than 2 GiB when decoded");
  known = static_cast<int>(scene_.images.size());
  scene_.images.push_back(std::move(decoded));
  return known;
}

Image MaterialBuilder::decode(int index) const {
  const tinygltf::Image& source = model_.images[static_cast<size_t>(index)];
  try {
    if (source.bufferView >= 0) {
      const tinygltf::BufferView& view = model_.bufferViews[static_cast<size_t>(source.bufferView)];
      const std::vector<unsigned char>& buffer = model_.buffers[static_cast<size_t>(view.buffer)].data;
      return decodeImage(std::as_bytes(std::span(buffer).subspan(view.byteOffset, view.byteLength)));
    }
    if (!source.image.empty()) return decodeImage(std::as_bytes(std::span(source.image)));
    const std::vector<unsigned char> bytes = resources_.read(source.uri);
    return decodeImage(std::as_bytes(std::span(bytes)));
  } catch (const ImageError& error) {
    throw SceneError("the picture " + imageName(model_, index) + " cannot be read: " + error.what());
  }
}

}  // namespace host
