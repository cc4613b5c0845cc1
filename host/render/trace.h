#pragma once
// Rays against a prepared scene. The only files that know the ray tracing library are trace.cpp and
// trace_context.h.

#include <memory>
#include <optional>
#include <vector>

#include "host/render/renderer.h"
#include "host/render/texture.h"

struct RTCSceneTy;

namespace host {

/// A ray, and how wide the cone is that it stands for. (T. Akenine-Moeller et al., "Texture Level of Detail
/// Strategies for Real-Time Ray Tracing", Ray Tracing Gems, chapter 20.)
struct Ray {
  Vec3 origin;     ///< world
  Vec3 direction;  ///< unit
  float tnear = 0;
  float tfar = 1e30F;
  float width = 0;   ///< metres at the origin
  float spread = 0;  ///< growth of the width for each metre

  float widthAt(float t) const { return width + spread * t; }
};

/// A triangle in the world.
struct Triangle {
  Vec3 a, b, c;

  /// Of any length; counter-clockwise from where it points to.
  Vec3 normal() const { return cross(b - a, c - a); }
};

struct Hit {
  float t = 0;             ///< metres along the ray
  float u = 0, v = 0;      ///< weights of the triangle's second and third vertex
  uint32_t placement = 0;  ///< index into PreparedScene::Data::placements
  uint32_t triangle = 0;   ///< index into the mesh's triangles
  Triangle corners;        ///< that triangle
};

/// One mesh in the world.
struct Placement {
  const Mesh* mesh = nullptr;
  const Material* material = nullptr;
  Mat4 toWorld;
  Mat4 normalToWorld;             ///< its 3 x 3 part; results are not of unit length
  bool mirrored = false;          ///< the transform turns counter-clockwise into clockwise
  float magnitude = 0;            ///< of the numbers that tracing it loses precision to, metres
  const Vec3* carried = nullptr;  ///< positions in the world, where the tree has them; it owns them

  Triangle triangle(uint32_t index) const {
    const uint32_t* corner = &mesh->indices[3 * static_cast<size_t>(index)];
    if (carried) return {carried[corner[0]], carried[corner[1]], carried[corner[2]]};
    const auto world = [&](uint32_t vertex) { return transformPoint(toWorld, mesh->positions[vertex]); };
    return {world(corner[0]), world(corner[1]), world(corner[2])};
  }

  /// Towards the side from which a single-sided triangle is seen; any length.
  Vec3 front(const Triangle& t) const { return mirrored ? -t.normal() : t.normal(); }

  /// Whether a ray in `direction` meets the side of a triangle that is not there to be seen.
  bool isBackFace(const Triangle& t, Vec3 direction) const {
    return !material->doubleSided && !material->hasInside() && dot(front(t), direction) >= 0;
  }
};

/// Whether a transform turns counter-clockwise into clockwise.
bool mirrors(const Mat4& t);

/// What carries normals along with a transform (3 x 3): its cofactors, the largest of them 1, which is the
/// inverse transposed up to its length and exists for flattened transforms too.
Mat4 normalTransform(const Mat4& t);

struct TracedRay {
  enum Kind { Nearest, Shadow, Lamp };  ///< as the functions of PreparedScene::Data below
  Ray ray;
  Kind kind;
};

/// Every ray that was traced, in order.
using RayLog = std::vector<TracedRay>;

struct TreeRelease {
  void operator()(RTCSceneTy* tree) const;
};
using Tree = std::unique_ptr<RTCSceneTy, TreeRelease>;

/// What the alpha tests inside the tree need to know of a mesh.
struct AlphaSource {
  const Textures* textures;
  const Mesh* mesh;
  const Material* material;
};

struct PreparedScene::Data {
  Data(const Scene& scene, KernelBuild kernel, const std::function<bool()>& stopped);

  /// The nearest triangle along `ray` that is not cut away by its alpha mask; single-sided ones are looked
  /// through from behind. A ray that is not finite, or starts farther out than the tree can tell places
  /// apart, meets nothing.
  bool nearest(const Ray& ray, Hit& hit, RayLog* log) const;

  /// How much light passes along `ray`: 1 all, 0 none. Blended surfaces let a part through; glass bends
  /// light, so none goes straight.
  float transmittance(const Ray& ray, RayLog* log) const;

  /// The same for the light of lamps, which are points that bent light never meets: it goes straight through
  /// glass, and takes its colour.
  Vec3 lampLight(const Ray& ray, RayLog* log) const;

  /// Around all that can be hit; nothing when there is no triangle.
  std::optional<Bounds> bounds() const;

  const Scene& scene;
  const Textures textures;
  const KernelBuild kernel;
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
