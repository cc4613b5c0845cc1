#pragma once
// What a driver keeps of a scene between renders: vertices, textures, materials, programs.

#include <map>
#include <memory>
#include <vector>

#include "host/render/opengl_shaders.h"
#include "host/render/renderer.h"
#include "host/render/texture.h"

namespace host {

/// One mesh at the driver.
struct GlMesh {
  GlVertexArray array;
  std::vector<GlBuffer> buffers;
  GlBuffer ownIndices;
  std::vector<uint32_t> indices;  ///< of its vertices there; three a triangle, in the mesh's order
};

/// A material at the driver.
struct GlMaterial {
  const Material* material = nullptr;
  GlBuffer block;
  /// Blended and transmissive surfaces are drawn after all others, from back to front.
  bool seeThrough = false;
};

/// Made and released while its context is current.
class GlScene {
 public:
  /// Keeps a reference to the scene. Throws std::runtime_error when the driver has too little memory.
  /// Throws RenderStopped when `stopped` is true before all is there.
  GlScene(const Scene& scene, const std::function<bool()>& stopped);

  const GlMesh& mesh(int index) const { return meshes_[index]; }
  const Mesh& meshOf(const Instance& instance) const { return scene_.meshes[instance.mesh]; }
  const GlMaterial& materialOf(const Instance& instance) const;

  /// Makes a draw's program, textures and material the current ones. The program's name.
  GLuint useSurface(const Instance& instance);

 private:
  GlMesh makeMesh(const Mesh& mesh) const;
  GlFeatures featuresOf(const Mesh& mesh, const Material& material) const;
  void uploadPicture(const std::vector<const Image*>& levels, size_t picture, bool srgb);
  GLuint samplerOf(const Texture& texture);

  const Scene& scene_;
  const Material defaultMaterial_;
  std::vector<GlMesh> meshes_;
  std::vector<GlMaterial> materials_;  ///< by material, the last is the default one
  std::vector<GlTexture> pictures_;    ///< by number of Textures
  std::vector<size_t> pictureOf_;      ///< by texture
  GlTexture white_;
  std::map<int, GlSampler> samplers_;
  std::map<GlFeatures, GlShading> surfaces_;
};

}  // namespace host
