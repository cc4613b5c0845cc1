#pragma once
// Triangle meshes of a glTF file, one for each primitive, made when a node first places them.

#include <tiny_gltf.h>

#include <map>
#include <tuple>
#include <vector>

#include "host/document/gltf_bend.h"
#include "host/document/gltf_materials.h"
#include "host/document/scene.h"

namespace host {

/// Primitives that hold nothing a renderer of surfaces can show.
struct SkippedPrimitives {
  int points = 0;
  int lines = 0;
  int withoutPositions = 0;
};

class MeshBuilder {
 public:
  MeshBuilder(const tinygltf::Model& model, MaterialBuilder& materials, Scene& scene,
              const SceneOptions& options)
      : model_(model), materials_(materials), scene_(scene), options_(options), bender_(model) {}

  /// The meshes (indices into Scene::meshes) that the file's mesh `index` consists of when it is bent so;
  /// made once for each way of bending. Throws SceneError.
  const std::vector<int>& get(int index, const Bend& bend);

  const SkippedPrimitives& skipped() const { return skipped_; }

 private:
  using Key = std::tuple<int, const std::vector<Mat4>*, std::vector<float>>;

  std::vector<int> buildAll(int index, const Bend& bend);
  bool skip(const tinygltf::Primitive& primitive);
  Mesh build(const tinygltf::Primitive& primitive, const BuiltMaterial& material);
  void readAttributes(const tinygltf::Primitive& primitive, const BuiltMaterial& material, Mesh& mesh);
  void takeMemory(uint64_t bytes);

  const tinygltf::Model& model_;
  MaterialBuilder& materials_;
  Scene& scene_;
  const SceneOptions& options_;
  Bender bender_;
  std::map<Key, std::vector<int>> built_;  // by the file's index and the way of bending
  SkippedPrimitives skipped_;
  uint64_t geometryBytes_ = 0;
  uint64_t primitives_ = 0;  // built
};

}  // namespace host
