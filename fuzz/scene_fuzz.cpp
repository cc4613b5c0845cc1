// Any bytes as a scene: it is refused with a reason, or everything in it can be relied upon by a renderer.
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "host/document/gltf_limits.h"
#include "host/document/scene.h"

namespace {

using namespace host;

void require(bool holds) {
  if (!holds) std::abort();
}

bool within(int index, size_t size) {
  return index >= -1 && (index < 0 || static_cast<size_t>(index) < size);
}

bool finite(Vec3 v) { return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z); }

void checkMesh(const Mesh& mesh, const Scene& scene) {
  const size_t vertices = mesh.positions.size();
  require(within(mesh.material, scene.materials.size()) && mesh.positions.capacity() > vertices);
  require(!mesh.indices.empty() && mesh.indices.size() % 3 == 0);
  for (const uint32_t index : mesh.indices) require(index < vertices);
  for (const Vec3 position : mesh.positions) require(finite(position));
  require(mesh.normals.empty() || mesh.normals.size() == vertices);
  for (const Vec3 normal : mesh.normals) require(std::abs(length(normal) - 1) < 0.01F);
  require(mesh.tangents.empty() || mesh.tangents.size() == vertices);
  require(mesh.colors.empty() || mesh.colors.size() == vertices);
  for (const auto& set : mesh.texCoords) require(set.empty() || set.size() == vertices);
}

void check(const Scene& scene) {
  for (const Mesh& mesh : scene.meshes) checkMesh(mesh, scene);
  for (const Instance& instance : scene.instances) {
    require(instance.mesh >= 0 && within(instance.mesh, scene.meshes.size()));
    for (const float element : instance.transform.m) require(std::abs(element) <= kMaxCoordinate);
  }
  for (const Texture& texture : scene.textures) require(within(texture.image, scene.images.size()));
  for (const Material& material : scene.materials) {
    require(within(material.baseColorTexture.texture, scene.textures.size()));
    require(finite(material.emissive) && std::isfinite(material.ior) && std::isfinite(material.thickness));
  }
  for (const Light& light : scene.lights) require(finite(light.position) && std::isfinite(light.intensity));
}

std::filesystem::path sceneFile() {
  std::string folder = "/dev/shm/vesta_fuzz_XXXXXX";
  require(mkdtemp(folder.data()) != nullptr);
  return std::filesystem::path(folder) / "scene.vesta";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::filesystem::path kFile = sceneFile();
  std::ofstream(kFile, std::ios::binary)
      .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  try {
    check(loadScene(kFile).scene);
  } catch (const SceneError& error) {
    require(*error.what() != '\0');
  }
  return 0;
}
