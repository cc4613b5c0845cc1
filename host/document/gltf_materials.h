#pragma once
// Materials, textures and pictures of a glTF file, made when a mesh first needs them.

#include <tiny_gltf.h>

#include <array>
#include <vector>

#include "host/document/gltf_source.h"
#include "host/document/scene.h"

namespace host {

struct BuiltMaterial {
  int material = -1;                       ///< index into Scene::materials
  std::array<bool, kTexCoordSets> sets{};  ///< which of Mesh::texCoords its textures are looked up with
  bool tangents = false;                   ///< whether it needs Mesh::tangents
};

enum class TexelKind { Data, Color };

class MaterialBuilder {
 public:
  MaterialBuilder(const tinygltf::Model& model, ResourceReader& resources, Scene& scene);

  /// The material of index `index` in the file, -1 for none. Reads and decodes its pictures at the first
  /// call. Throws SceneError with the picture's name.
  const BuiltMaterial& get(int index);

  /// Uses of textures with a set of coordinates beyond those a mesh keeps; they take the first one instead.
  int sharedTexCoords() const { return sharedTexCoords_; }

 private:
  BuiltMaterial build(const tinygltf::Material& source);
  void addMirror(const tinygltf::Material& source, Material& material, BuiltMaterial& built);
  void addInside(const tinygltf::Material& source, Material& material, BuiltMaterial& built);
  void addLayers(const tinygltf::Material& source, Material& material, BuiltMaterial& built);
  TextureUse useTexture(const tinygltf::TextureInfo& info, TexelKind kind, BuiltMaterial& built);
  int texture(int index, TexelKind kind);
  int image(int index);
  Image decode(int index) const;

  const tinygltf::Model& model_;
  ResourceReader& resources_;
  Scene& scene_;
  BuiltMaterial none_;
  std::vector<BuiltMaterial> built_;    // by the file's index; material -1: not yet
  std::vector<int> textureIndices_[2];  // file's index to the scene's, by kind of texel; -1: not yet
  std::vector<int> imageIndices_;
  uint64_t decodedBytes_ = 0;
  int sharedTexCoords_ = 0;
};

}  // namespace host
