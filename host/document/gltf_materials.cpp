#include "host/document/gltf_materials.h"

#include <algorithm>
#include <cmath>
#include <span>

#include "host/document/gltf_limits.h"

namespace host {
namespace {

constexpr size_t kTexCoordSlots = 2;  // sets of coordinates that a mesh holds

float unitFactor(double value) { return static_cast<float>(std::clamp(value, 0.0, 1.0)); }

Vec2 vec2Or(const tinygltf::Value& object, const char* member, Vec2 fallback) {
  const tinygltf::Value& value = object.Get(member);
  if (!value.IsArray() || value.ArrayLen() != 2) return fallback;
  return {static_cast<float>(value.Get(0).GetNumberAsDouble()),
          static_cast<float>(value.Get(1).GetNumberAsDouble())};
}

TexCoordSource texCoordSource(const tinygltf::TextureInfo& info) {
  TexCoordSource source;
  source.set = info.texCoord;
  const auto found = info.extensions.find("KHR_texture_transform");
  if (found == info.extensions.end() || !found->second.IsObject()) return source;
  const tinygltf::Value& transform = found->second;
  source.offset = vec2Or(transform, "offset", source.offset);
  source.scale = vec2Or(transform, "scale", source.scale);
  source.rotation = static_cast<float>(transform.Get("rotation").GetNumberAsDouble());
  if (transform.Has("texCoord")) source.set = transform.Get("texCoord").GetNumberAsInt();
  return source;
}

Vec3 emissive(const tinygltf::Material& source) {
  double strength = 1;
  const auto found = source.extensions.find("KHR_materials_emissive_strength");
  if (found != source.extensions.end() && found->second.Has("emissiveStrength")) {
    strength = std::max(found->second.Get("emissiveStrength").GetNumberAsDouble(), 0.0);
  }
  const auto channel = [&](size_t i) {
    return static_cast<float>(std::clamp(source.emissiveFactor[i], 0.0, 1.0) * strength);
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

bool TexCoordSource::operator==(const TexCoordSource& other) const {
  return set == other.set && offset.x == other.offset.x && offset.y == other.offset.y &&
         scale.x == other.scale.x && scale.y == other.scale.y && rotation == other.rotation;
}

Vec2 TexCoordSource::apply(Vec2 uv) const {
  // Scale, rotate, move: KHR_texture_transform. V points down in glTF, hence the signs of the rotation.
  const float c = std::cos(rotation), s = std::sin(rotation);
  const float u = uv.x * scale.x, v = uv.y * scale.y;
  return {c * u + s * v + offset.x, -s * u + c * v + offset.y};
}

MaterialBuilder::MaterialBuilder(const tinygltf::Model& model, ResourceReader& resources, Scene& scene)
    : model_(model),
      resources_(resources),
      scene_(scene),
      built_(model.materials.size()),
      textureIndices_(model.textures.size(), -1),
      imageIndices_(model.images.size(), -1) {}

const BuiltMaterial& MaterialBuilder::get(int index) {
  if (index < 0) return none_;
  BuiltMaterial& built = built_[static_cast<size_t>(index)];
  if (built.material < 0) built = build(model_.materials[static_cast<size_t>(index)]);
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
  material.baseColorTexture = useTexture(pbr.baseColorTexture, built.texCoordSources);
  material.metallicRoughnessTexture = useTexture(pbr.metallicRoughnessTexture, built.texCoordSources);
  material.emissiveTexture = useTexture(source.emissiveTexture, built.texCoordSources);
  built.material = static_cast<int>(scene_.materials.size());
  scene_.materials.push_back(std::move(material));
  return built;
}

TextureUse MaterialBuilder::useTexture(const tinygltf::TextureInfo& info,
                                       std::vector<TexCoordSource>& sources) {
  TextureUse use;
  if (info.index < 0) return use;
  use.texture = texture(info.index);
  use.texCoord = slotFor(texCoordSource(info), sources);
  return use;
}

int MaterialBuilder::slotFor(const TexCoordSource& source, std::vector<TexCoordSource>& sources) {
  const auto found = std::find(sources.begin(), sources.end(), source);
  if (found != sources.end()) return static_cast<int>(found - sources.begin());
  if (sources.size() == kTexCoordSlots) {
    ++sharedTexCoords_;
    return 0;
  }
  sources.push_back(source);
  return static_cast<int>(sources.size()) - 1;
}

int MaterialBuilder::texture(int index) {
  int& known = textureIndices_[static_cast<size_t>(index)];
  if (known >= 0) return known;
  const tinygltf::Texture& source = model_.textures[static_cast<size_t>(index)];
  Texture texture;
  if (source.source >= 0) texture.image = image(source.source);
  if (source.sampler >= 0) {
    const tinygltf::Sampler& sampler = model_.samplers[static_cast<size_t>(source.sampler)];
    texture.wrapS = wrapMode(sampler.wrapS);
    texture.wrapT = wrapMode(sampler.wrapT);
    texture.nearest = sampler.magFilter == TINYGLTF_TEXTURE_FILTER_NEAREST;
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
