#include "host/document/scene.h"

#include <algorithm>
#include <new>
#include <nlohmann/json.hpp>

#include "host/document/gltf_accessors.h"
#include "host/document/gltf_materials.h"
#include "host/document/gltf_meshes.h"
#include "host/document/gltf_nodes.h"
#include "host/document/gltf_parse.h"
#include "host/document/gltf_pose.h"
#include "host/document/gltf_schema.h"
#include "host/document/gltf_source.h"
#include "host/document/gltf_unsupported.h"
#include "host/document/vesta_document.h"

namespace host {
namespace {

void extend(Bounds& bounds, Vec3 p) {
  bounds.low = {std::min(bounds.low.x, p.x), std::min(bounds.low.y, p.y), std::min(bounds.low.z, p.z)};
  bounds.high = {std::max(bounds.high.x, p.x), std::max(bounds.high.y, p.y), std::max(bounds.high.z, p.z)};
}

/// Reads the file, checks its shape, and leaves only what is needed to build the scene.
tinygltf::Model readModel(const GltfSource& source, ResourceReader& resources, DocumentRecord& document) {
  const nlohmann::json root = parseJson(source.json);
  checkGltfSchema(root, source.binary, resources);
  document = readDocumentRecord(root);
  tinygltf::Model model = parseGltf(source, root, resources);
  checkAccessors(model);
  checkNodeTree(model);
  return model;
}

SceneFile loadGltf(const std::filesystem::path& file, const SceneOptions& options) {
  SceneFile result;
  GltfSource source = readGltfSource(file);
  ResourceReader resources(source.folder, options);
  tinygltf::Model model = readModel(source, resources, result.document);
  source = {};  // the model has copies: large scenes should not be in memory twice
  const int idleChannels = poseNodes(model, result.document.startFrame / result.document.fps, options);
  MaterialBuilder materials(model, resources, result.scene);
  MeshBuilder meshes(model, materials, result.scene, options);
  flattenNodes(model, meshes, result.scene);
  result.unsupported =
      unsupportedFeatures(model, {meshes.skipped(), materials.sharedTexCoords(), idleChannels});
  return result;
}

}  // namespace

SceneFile loadScene(const std::filesystem::path& file, const SceneOptions& options) {
  try {
    return loadGltf(file, options);
  } catch (const std::bad_alloc&) {
    throw SceneError("there is not enough memory for this scene");
  }
}

Bounds meshBounds(const Mesh& mesh) {
  Bounds bounds{mesh.positions.front(), mesh.positions.front()};
  for (const Vec3 position : mesh.positions) extend(bounds, position);
  return bounds;
}

std::optional<Bounds> sceneBounds(const Scene& scene) {
  std::optional<Bounds> bounds;
  for (const Instance& instance : scene.instances) {
    for (const Vec3 position : scene.meshes[static_cast<size_t>(instance.mesh)].positions) {
      const Vec3 world = transformPoint(instance.transform, position);
      if (!bounds) bounds = Bounds{world, world};
      extend(*bounds, world);
    }
  }
  return bounds;
}

}  // namespace host
