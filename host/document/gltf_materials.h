#pragma once
// Materials, textures and pictures of a glTF file, made when a mesh first needs them.

#include <tiny_gltf.h>

#include <vector>

#include "host/document/gltf_source.h"
#include "host/document/scene.h"

namespace host {

/// Which of a primitive's coordinates a texture is looked up with, and how they are moved before.
struct TexCoordSource {
  int set = 0;  ///< TEXCOORD_n
  Vec2 offset{0, 0};
  Vec2 scale{1, 1};
  float rotation = 0;  ///< radians, counter-clockwise as seen on the picture

  bool operator==(const TexCoordSource& other) const;
  Vec2 apply(Vec2 uv) const;
};

struct BuiltMaterial {
  int material = -1;                            ///< index into Scene::materials
  std::vector<TexCoordSource> texCoordSources;  ///< what Mesh::texCoords[0] and [1] must hold; at most two
};

class MaterialBuilder {
 public:
  MaterialBuilder(const tinygltf::Model& model, ResourceReader& resources, Scene& scene);

  /// The material of index `index` in the file, -1 for none. Reads and decodes its pictures at the first
  /// call. Throws SceneError with the picture's name.
  const BuiltMaterial& get(int index);

  /// Uses of textures that needed a third set of coordinates and take the first one instead.
  int sharedTexCoords() const { return sharedTexCoords_; }

 private:
  BuiltMaterial build(const tinygltf::Material& source);
  TextureUse useTexture(const tinygltf::TextureInfo& info, std::vector<TexCoordSource>& sources);
  int slotFor(const TexCoordSource& source, std::vector<TexCoordSource>& sources);
  int texture(int index);
  int image(int index);
  Image decode(int index) const;

  const tinygltf::Model& model_;
  ResourceReader& resources_;
  Scene& scene_;
  BuiltMaterial none_;
  std::vector<BuiltMaterial> built_;  // by the file's index; material -1: not yet
  std::vector<int> textureIndices_;   // file's index to the scene's; -1: not yet
  std::vector<int> imageIndices_;
  uint64_t decodedBytes_ = 0;
  int sharedTexCoords_ = 0;
};

}  // namespace host
