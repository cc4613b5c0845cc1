#include "host/render/opengl_scene.h"

#include <algorithm>
#include <cmath>

namespace host {
namespace {

bool isBlack(Vec3 c) { return !(c.x > 0 || c.y > 0 || c.z > 0); }
Vec4 with(Vec3 v, float w) { return {v.x, v.y, v.z, w}; }

/// A material's textures by slot; those of layers that are not there stand empty.
std::array<TextureUse, kGlSlots> usesOf(const Material& m) {
  std::array<TextureUse, kGlSlots> uses;
  const auto set = [&](GlSlot slot, const TextureUse& use, bool wanted) {
    if (wanted) uses[static_cast<int>(slot)] = use;
  };
  const bool lit = !m.unlit;
  set(GlSlot::BaseColor, m.baseColorTexture, true);
  set(GlSlot::MetallicRoughness, m.metallicRoughnessTexture, lit);
  set(GlSlot::Normal, m.normalTexture, lit);
  set(GlSlot::Occlusion, m.occlusionTexture, lit);
  set(GlSlot::Emissive, m.emissiveTexture, lit && !isBlack(m.emissive));
  set(GlSlot::Specular, m.specularTexture, lit);
  set(GlSlot::SpecularColor, m.specularColorTexture, lit);
  set(GlSlot::Transmission, m.transmissionTexture, lit && m.transmission > 0);
  set(GlSlot::Thickness, m.thicknessTexture, lit && m.transmission > 0 && m.thickness > 0);
  set(GlSlot::Clearcoat, m.clearcoatTexture, lit && m.clearcoat > 0);
  set(GlSlot::ClearcoatRoughness, m.clearcoatRoughnessTexture, lit && m.clearcoat > 0);
  set(GlSlot::ClearcoatNormal, m.clearcoatNormalTexture, lit && m.clearcoat > 0);
  set(GlSlot::SheenColor, m.sheenColorTexture, lit && !isBlack(m.sheenColor));
  set(GlSlot::SheenRoughness, m.sheenRoughnessTexture, lit && !isBlack(m.sheenColor));
  set(GlSlot::Anisotropy, m.anisotropyTexture, lit && m.anisotropy > 0);
  return uses;
}

Vec3 absorptionOf(const Material& m) {
  if (!(m.thickness > 0 && m.attenuationDistance > 0)) return {};
  constexpr float kDarkest = 1e-4F;  // black would absorb without end
  const auto absorbed = [&](float left) {
    return -std::log(std::clamp(left, kDarkest, 1.0F)) / m.attenuationDistance;
  };
  return {absorbed(m.attenuationColor.x), absorbed(m.attenuationColor.y), absorbed(m.attenuationColor.z)};
}

GlMaterialBlock blockOf(const Material& m) {
  const float ratio = (m.ior - 1) / (m.ior + 1);
  GlMaterialBlock block{};
  block.baseColor = m.baseColor;
  block.emissive = with(m.emissive, m.alphaCutoff);
  block.surface = {m.metallic, m.roughness, m.normalScale, m.occlusionStrength};
  block.dielectric = with(m.specularColor, m.specular);
  block.optics = {m.ior > 0 ? ratio * ratio : 1, m.transmission, m.thickness, m.clearcoatNormalScale};
  block.absorption = with(absorptionOf(m), 0);
  block.layers = {m.clearcoat, m.clearcoatRoughness, m.sheenRoughness, m.anisotropy};
  block.sheen = with(m.sheenColor, m.anisotropyRotation);
  const std::array<TextureUse, kGlSlots> uses = usesOf(m);
  for (int i = 0; i < kGlSlots; ++i) {
    block.moves[2 * i] = {uses[i].uAxis.x, uses[i].vAxis.x, uses[i].offset.x, 0};
    block.moves[2 * i + 1] = {uses[i].uAxis.y, uses[i].vAxis.y, uses[i].offset.y, 0};
  }
  return block;
}

/// The set of coordinates whose u tangents follow; null when the material needs none.
const TextureUse* tangentTexture(const Material& m) {
  if (m.normalTexture) return &m.normalTexture;
  if (m.clearcoatNormalTexture) return &m.clearcoatNormalTexture;
  return m.anisotropy > 0 ? &m.anisotropyTexture : nullptr;
}

template <class Value>
void expand(std::vector<Value>& values, const std::vector<uint32_t>& indices) {
  if (values.empty()) return;
  std::vector<Value> apart;
  apart.reserve(indices.size());
  for (const uint32_t index : indices) apart.push_back(values[index]);
  values = std::move(apart);
}

/// The tangent of a triangle from how a texture lies on it.
Vec4 flatTangent(const Vec3* p, const Vec2 (&uv)[3]) {
  const Vec2 ab{uv[1].x - uv[0].x, uv[1].y - uv[0].y}, ac{uv[2].x - uv[0].x, uv[2].y - uv[0].y};
  const float turn = ab.x * ac.y - ac.x * ab.y < 0 ? -1.0F : 1.0F;
  const Vec3 tangent = ((p[1] - p[0]) * ac.y - (p[2] - p[0]) * ab.y) * turn;
  const Vec3 bitangent =
      ((p[1] - p[0]) * ac.x - (p[2] - p[0]) * ab.x) * turn;  // against v, which points down
  const Vec3 normal = cross(p[1] - p[0], p[2] - p[0]);
  return with(normalize(tangent), dot(cross(normal, tangent), bitangent) < 0 ? -1.0F : 1.0F);
}

/// The mesh with vertices of its own for each triangle, and what it lacks: normals and `wanted` tangents.
Mesh apart(const Mesh& mesh, const TextureUse* wanted) {
  Mesh result = mesh;
  expand(result.positions, mesh.indices);
  expand(result.normals, mesh.indices);
  expand(result.tangents, mesh.indices);
  expand(result.colors, mesh.indices);
  for (auto& set : result.texCoords) expand(set, mesh.indices);
  const size_t count = result.positions.size();
  for (size_t i = 0; i < count; ++i) result.indices[i] = static_cast<uint32_t>(i);

  const bool flat = result.normals.empty();
  if (flat) result.normals.resize(count);
  const bool tangents = wanted && result.tangents.empty() && !mesh.texCoords[wanted->texCoord].empty();
  if (tangents) result.tangents.resize(count);
  for (size_t i = 0; i < count; i += 3) {
    const Vec3* p = &result.positions[i];
    if (flat) std::fill_n(&result.normals[i], 3, normalize(cross(p[1] - p[0], p[2] - p[0])));
    if (!tangents) continue;
    const Vec2* set = &result.texCoords[wanted->texCoord][i];
    std::fill_n(&result.tangents[i], 3,
                flatTangent(p, {wanted->moved(set[0]), wanted->moved(set[1]), wanted->moved(set[2])}));
  }
  return result;
}

/// Four bytes a texel, as grey pictures and those without alpha are read.
std::vector<uint8_t> rgbaOf(const Image& image) {
  const size_t count = static_cast<size_t>(image.width) * image.height;
  if (image.channels == 4) return image.pixels;
  std::vector<uint8_t> rgba(4 * count);
  const bool grey = image.channels < 3;
  for (size_t i = 0; i < count; ++i) {
    const uint8_t* from = &image.pixels[i * image.channels];
    rgba[4 * i] = from[0];
    rgba[4 * i + 1] = from[grey ? 0 : 1];
    rgba[4 * i + 2] = from[grey ? 0 : 2];
    rgba[4 * i + 3] = image.channels == 2 ? from[1] : 255;
  }
  return rgba;
}

void uploadLevel(const GlTexture& texture, int level, const Image& image) {
  gl().TextureSubImage2D(texture.name(), level, 0, 0, image.width, image.height, GL_RGBA, GL_UNSIGNED_BYTE,
                         rgbaOf(image).data());
}

GLint wrapOf(Wrap wrap) {
  switch (wrap) {
    case Wrap::Clamp:
      return GL_CLAMP_TO_EDGE;
    case Wrap::Mirror:
      return GL_MIRRORED_REPEAT;
    default:
      return GL_REPEAT;
  }
}

}  // namespace

GlScene::GlScene(const Scene& scene, const std::function<bool()>& stopped) : scene_(scene) {
  const auto goOn = [&] {
    if (stopped()) throw RenderStopped();
  };
  const Textures textures(scene, stopped);
  for (size_t i = 0; i < scene.textures.size(); ++i)
    pictureOf_.push_back(textures.pictureOf(static_cast<int>(i)));
  pictures_.resize(textures.pictureCount());
  for (size_t i = 0; i < scene.textures.size(); ++i) {
    goOn();
    if (!pictures_[pictureOf_[i]])
      uploadPicture(textures.levels(pictureOf_[i]), pictureOf_[i], scene.textures[i].srgb);
  }
  const uint8_t texel[] = {255, 255, 255, 255};
  white_ = makeTexture(GL_TEXTURE_2D);
  gl().TextureStorage2D(white_.name(), 1, GL_RGBA8, 1, 1);
  gl().TextureSubImage2D(white_.name(), 0, 0, 0, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, texel);
  checkGl("the textures");

  for (size_t i = 0; i <= scene.materials.size(); ++i) {
    const Material& material = i < scene.materials.size() ? scene.materials[i] : defaultMaterial_;
    const GlMaterialBlock block = blockOf(material);
    const bool seeThrough =
        material.alphaMode == AlphaMode::Blend || (material.transmission > 0 && !material.unlit);
    materials_.push_back({&material, makeBuffer(&block, sizeof block), seeThrough});
  }
  for (const Mesh& mesh : scene.meshes) {
    goOn();
    meshes_.push_back(makeMesh(mesh));
  }
  checkGl("the meshes");
}

void GlScene::uploadPicture(const std::vector<const Image*>& levels, size_t picture, bool srgb) {
  if (levels.empty()) return;
  GLint most = 0;
  gl().GetIntegerv(GL_MAX_TEXTURE_SIZE, &most);
  // Too large for the driver: begin with the first that is not, and make it where there are no smaller ones.
  const auto fits = [&](const Image& image) { return image.width <= most && image.height <= most; };
  size_t first = 0;
  while (first + 1 < levels.size() && !fits(*levels[first])) ++first;
  Image made;
  const Image* largest = levels[first];
  while (!fits(*largest)) {
    made = halved(*largest, srgb);
    largest = &made;
  }
  GlTexture texture = makeTexture(GL_TEXTURE_2D);
  gl().TextureStorage2D(texture.name(), static_cast<GLsizei>(levels.size() - first),
                        srgb ? GL_SRGB8_ALPHA8 : GL_RGBA8, largest->width, largest->height);
  uploadLevel(texture, 0, *largest);
  for (size_t i = first + 1; i < levels.size(); ++i)
    uploadLevel(texture, static_cast<int>(i - first), *levels[i]);
  pictures_[picture] = std::move(texture);
}

GlMesh GlScene::makeMesh(const Mesh& mesh) const {
  GlMesh result;
  if (mesh.indices.empty()) return result;
  const Material& material = mesh.material < 0 ? defaultMaterial_ : scene_.materials[mesh.material];
  const TextureUse* tangents = tangentTexture(material);
  const bool complete = !mesh.normals.empty() && (!tangents || !mesh.tangents.empty());
  const Mesh made = complete ? Mesh() : apart(mesh, tangents);
  const Mesh& used = complete ? mesh : made;

  result.array = makeVertexArray();
  result.indices = used.indices;
  result.ownIndices = makeBuffer(used.indices.data(), used.indices.size() * sizeof(uint32_t));
  const auto attach = [&](GLuint place, const auto& values) {
    using Value = std::decay_t<decltype(values[0])>;
    if (values.empty()) return;
    const GLuint array = result.array.name();
    result.buffers.push_back(makeBuffer(values.data(), values.size() * sizeof(Value)));
    gl().VertexArrayVertexBuffer(array, place, result.buffers.back().name(), 0, sizeof(Value));
    gl().VertexArrayAttribFormat(array, place, sizeof(Value) / sizeof(float), GL_FLOAT, GL_FALSE, 0);
    gl().VertexArrayAttribBinding(array, place, place);
    gl().EnableVertexArrayAttrib(array, place);
  };
  attach(static_cast<GLuint>(GlInput::Position), used.positions);
  attach(static_cast<GLuint>(GlInput::Normal), used.normals);
  attach(static_cast<GLuint>(GlInput::Tangent), used.tangents);
  attach(static_cast<GLuint>(GlInput::Color), used.colors);
  for (int i = 0; i < kTexCoordSets; ++i)
    attach(static_cast<GLuint>(GlInput::TexCoord) + i, used.texCoords[i]);
  return result;
}

const GlMaterial& GlScene::materialOf(const Instance& instance) const {
  const int material = meshOf(instance).material;
  return material < 0 ? materials_.back() : materials_[material];
}

GlFeatures GlScene::featuresOf(const Mesh& mesh, const Material& m) const {
  GlFeatures features;
  const std::array<TextureUse, kGlSlots> uses = usesOf(m);
  for (int i = 0; i < kGlSlots; ++i) {
    if (uses[i] && !mesh.texCoords[uses[i].texCoord].empty()) features.sets[i] = uses[i].texCoord;
  }
  features.unlit = m.unlit;
  features.mask = m.alphaMode == AlphaMode::Mask;
  features.blend = m.alphaMode == AlphaMode::Blend;
  features.transmission = m.transmission > 0 && !m.unlit;
  features.clearcoat = m.clearcoat > 0 && !m.unlit;
  features.sheen = !isBlack(m.sheenColor) && !m.unlit;
  features.anisotropy = m.anisotropy > 0 && !m.unlit;
  return features;
}

GLuint GlScene::useSurface(const Instance& instance) {
  const GlMaterial& material = materialOf(instance);
  const GlFeatures features = featuresOf(meshOf(instance), *material.material);
  auto [place, isNew] = surfaces_.try_emplace(features);
  if (isNew) place->second = makeShading(features);
  const GlShading& shading = place->second;
  gl().UseProgram(shading.program.name());
  gl().BindBufferBase(GL_UNIFORM_BUFFER, kGlMaterialBinding, material.block.name());
  const std::array<TextureUse, kGlSlots> uses = usesOf(*material.material);
  for (int i = 0; i < kGlSlots; ++i) {
    if (shading.units[i] < 0) continue;
    const auto unit = static_cast<GLuint>(shading.units[i]);
    const Texture& texture = scene_.textures[uses[i].texture];
    const GlTexture& picture = pictures_[pictureOf_[uses[i].texture]];
    gl().BindTextureUnit(unit, picture ? picture.name() : white_.name());
    gl().BindSampler(unit, samplerOf(texture));
  }
  return shading.program.name();
}

GLuint GlScene::samplerOf(const Texture& t) {
  const int key =
      ((static_cast<int>(t.wrapS) * 3 + static_cast<int>(t.wrapT)) * 2 + (t.nearest ? 1 : 0)) * 2 +
      (t.mipmapped ? 1 : 0);
  GlSampler& sampler = samplers_[key];
  if (sampler) return sampler.name();
  sampler = makeSampler();
  gl().SamplerParameteri(sampler.name(), GL_TEXTURE_WRAP_S, wrapOf(t.wrapS));
  gl().SamplerParameteri(sampler.name(), GL_TEXTURE_WRAP_T, wrapOf(t.wrapT));
  const GLint nearest = t.mipmapped ? GL_NEAREST_MIPMAP_LINEAR : GL_NEAREST;
  const GLint smooth = t.mipmapped ? GL_LINEAR_MIPMAP_LINEAR : GL_LINEAR;
  gl().SamplerParameteri(sampler.name(), GL_TEXTURE_MIN_FILTER, t.nearest ? nearest : smooth);
  gl().SamplerParameteri(sampler.name(), GL_TEXTURE_MAG_FILTER, t.nearest ? GL_NEAREST : GL_LINEAR);
  return sampler.name();
}

}  // namespace host
