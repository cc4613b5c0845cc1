#pragma once
// Morph targets and skins of a glTF file: vertices of a mesh, moved.

#include <tiny_gltf.h>

#include <vector>

#include "host/document/scene.h"

namespace host {

/// How many morph targets a mesh has; its primitives should have the same.
size_t morphTargets(const tinygltf::Mesh& mesh);

/// How a node bends the mesh that it places.
struct Bend {
  std::vector<float> weights;                 ///< of the morph targets, missing ones are 0; empty: none
  const std::vector<Mat4>* joints = nullptr;  ///< from the mesh to the world, for each joint; null: no skin

  explicit operator bool() const { return !weights.empty() || joints != nullptr; }
};

/// Joint matrices of the file's skins, made when a node first needs them.
class Skins {
 public:
  /// `worlds`: of every node, to be kept as long as this.
  Skins(const tinygltf::Model& model, const std::vector<Mat4>& worlds)
      : model_(model), worlds_(worlds), joints_(model.skins.size()) {}

  /// Throws SceneError.
  const std::vector<Mat4>& joints(int skin);

 private:
  std::vector<Mat4> build(const tinygltf::Skin& skin);

  const tinygltf::Model& model_;
  const std::vector<Mat4>& worlds_;
  std::vector<std::vector<Mat4>> joints_;  // by the file's index; empty: not yet
  uint64_t count_ = 0;
};

/// Moves positions, normals and tangents of `mesh`, which was read from `primitive`: by the morph targets
/// first, then by the joints, which take it to the world. Throws SceneError.
class Bender {
 public:
  explicit Bender(const tinygltf::Model& model) : model_(model) {}
  void apply(const tinygltf::Primitive& primitive, const Bend& bend, Mesh& mesh);

 private:
  void morph(const tinygltf::Primitive& primitive, const std::vector<float>& weights, Mesh& mesh);
  void skin(const tinygltf::Primitive& primitive, const std::vector<Mat4>& joints, Mesh& mesh) const;

  const tinygltf::Model& model_;
  uint64_t morphedVertices_ = 0;
};

}  // namespace host
