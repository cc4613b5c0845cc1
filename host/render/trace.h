#pragma once
// Rays against a prepared scene. trace.cpp is the only file that knows the ray tracing library.

#include <memory>
#include <optional>
#include <vector>

#include "host/render/renderer.h"

struct RTCSceneTy;

namespace host {

struct Ray {
  Vec3 origin;     ///< world
  Vec3 direction;  ///< unit
  float tnear = 0;
  float tfar = 1e30F;
};

struct Hit {
  float t = 0;             ///< metres along the ray
  float u = 0, v = 0;      ///< weights of the triangle's second and third vertex
  uint32_t placement = 0;  ///< index into PreparedScene::Data::placements
  uint32_t triangle = 0;   ///< index into the mesh's triangles
};

/// One mesh in the world.
struct Placement {
  const Mesh* mesh = nullptr;
  const Material* material = nullptr;
  Mat4 toWorld;
  Mat4 normalToWorld;     ///< its 3 x 3 part; results are not of unit length
  bool mirrored = false;  ///< the transform turns counter-clockwise into clockwise
  float magnitude = 0;    ///< of the numbers that tracing it loses precision to, metres
};

/// What a traced ray is for; a log tells the two kinds apart.
struct RayLog {
  std::vector<Ray> nearest;
  std::vector<Ray> shadow;
};

struct TreeRelease {
  void operator()(RTCSceneTy* tree) const;
};
using Tree = std::unique_ptr<RTCSceneTy, TreeRelease>;

/// What the alpha tests inside the tree need to know of a mesh.
struct AlphaSource {
  const Scene* scene;
  const Mesh* mesh;
  const Material* material;
};

struct PreparedScene::Data {
  explicit Data(const Scene& scene);

  /// The nearest triangle along `ray` that is not cut away by its alpha mask, from whichever side. A ray that
  /// is not finite, or starts farther out than the tree can tell places apart, meets nothing.
  bool nearest(const Ray& ray, Hit& hit, RayLog* log) const;

  /// How much light passes along `ray`: 1 all, 0 none. Blended surfaces let a part through.
  float transmittance(const Ray& ray, RayLog* log) const;

  /// Around all that can be hit; nothing when there is no triangle.
  std::optional<Bounds> bounds() const;

  const Scene& scene;
  const Material defaultMaterial;
  std::vector<Placement> placements;  ///< parallel to scene.instances
  std::vector<std::unique_ptr<AlphaSource>> alphaSources;
  std::vector<Tree> meshTrees;  ///< of the meshes that stand in several places
  Tree tree;                    ///< declared last: it refers to all above
};

/// While it lives, this thread takes numbers too small for full precision as zero, as the ray tracing library
/// wants it; they would be a hundred times slower. Gives back the mode that was set before.
class DenormalsAsZero {
 public:
  DenormalsAsZero();
  ~DenormalsAsZero();
  DenormalsAsZero(const DenormalsAsZero&) = delete;
  DenormalsAsZero& operator=(const DenormalsAsZero&) = delete;

 private:
  unsigned before_;
};

/// "name version" of the instruction set and the library that trace.
std::vector<std::string> traceFacts();

}  // namespace host
