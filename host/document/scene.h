#pragma once
// A scene in memory, ready for any renderer: plain data, nothing of rendering and nothing of files.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "host/document/geometry.h"
#include "host/services/image.h"

namespace host {

/// How a texture is looked up outside 0..1 and between texels.
enum class Wrap { Repeat, Clamp, Mirror };

struct Texture {
  int image = -1;  ///< index into Scene::images; -1 when its picture is missing: reads as white
  Wrap wrapS = Wrap::Repeat;
  Wrap wrapT = Wrap::Repeat;
  bool nearest = false;  ///< no interpolation between texels
};

/// A material's use of a texture.
struct TextureUse {
  int texture = -1;  ///< index into Scene::textures; -1: none
  int texCoord = 0;  ///< which of the mesh's texture coordinate sets, 0 or 1
};

enum class AlphaMode { Opaque, Mask, Blend };

/// glTF metallic-roughness. Colours are linear; colour textures (base, emissive) hold sRGB texels, the
/// metallic-roughness texture linear ones (green roughness, blue metallic).
struct Material {
  std::string name;
  Vec4 baseColor{1, 1, 1, 1};
  TextureUse baseColorTexture;
  float metallic = 1;
  float roughness = 1;
  TextureUse metallicRoughnessTexture;
  Vec3 emissive{0, 0, 0};
  TextureUse emissiveTexture;
  AlphaMode alphaMode = AlphaMode::Opaque;
  float alphaCutoff = 0.5F;
  bool doubleSided = false;
};

/// Triangles of one material in object space. Every index is below positions.size(); all numbers are finite.
/// `normals`, `texCoords` and `colors` are empty or as long as `positions`. Texture transforms are already
/// applied to `texCoords`; a texture whose set is empty is read at (0, 0).
struct Mesh {
  /// Ray tracers read 16 bytes at each vertex, so a loader reserves one more element than there are
  /// (capacity() > size(), which a copy of the vector does not keep).
  std::vector<Vec3> positions;
  std::vector<Vec3> normals;  ///< unit length; empty: flat shading from the triangle itself
  std::vector<Vec2> texCoords[2];
  std::vector<Vec4> colors;       ///< linear RGBA, multiplies the base color
  std::vector<uint32_t> indices;  ///< three a triangle, counter-clockwise from the front
  int material = -1;              ///< index into Scene::materials; -1: the default material
};

/// One placement of a mesh; the node tree is flattened into these.
struct Instance {
  int mesh = 0;
  Mat4 transform;  ///< object to world; finite
};

struct Camera {
  bool orthographic = false;
  float yfov = 0.8F;      ///< vertical field of view in radians (perspective)
  float aspectRatio = 0;  ///< width / height when the scene gives one, else 0; the image's own ratio is used
  float xmag = 1;         ///< half the width in metres (orthographic)
  float ymag = 1;         ///< half the height in metres (orthographic)
  float znear = 0.01F;    ///< metres
  float zfar = 0;         ///< metres; 0: no limit
  Mat4 transform;         ///< camera to world; looks along its -Z, +Y up, scale removed
};

struct Light {
  enum class Kind { Point, Spot, Directional };
  Kind kind = Kind::Point;
  Vec3 color{1, 1, 1};       ///< linear
  float intensity = 1;       ///< candela (point, spot) or lux (directional)
  float range = 0;           ///< metres; 0: no limit
  float innerCone = 0;       ///< radians from the axis (spot)
  float outerCone = 0.785F;  ///< radians from the axis (spot)
  Vec3 position;             ///< world
  Vec3 direction{0, 0, -1};  ///< world, unit: where it shines (spot, directional)
};

struct Bounds {
  Vec3 low, high;
};

struct Scene {
  std::vector<Image> images;
  std::vector<Texture> textures;
  std::vector<Material> materials;
  std::vector<Mesh> meshes;
  std::vector<Instance> instances;
  std::vector<Light> lights;
  std::optional<Camera> camera;  ///< the first one of the scene
};

/// World bounds of every instance's vertices; nothing when the scene has no triangle.
std::optional<Bounds> sceneBounds(const Scene& scene);

/// A value of the render settings or of a video post, under its decimal id.
struct Setting {
  int32_t id = 0;
  std::variant<bool, int32_t, double> value;
};

struct VideoPostRecord {
  int32_t type = 0;
  int32_t bits = 0;  ///< flags
  std::vector<Setting> settings;
};

/// What a scene file says beside its geometry (the root extension VESTA_document).
struct DocumentRecord {
  double fps = 25;
  int32_t startFrame = 0;
  std::vector<Setting> renderSettings;
  std::vector<VideoPostRecord> videoPosts;
};

struct SceneFile {
  Scene scene;
  DocumentRecord document;
  std::vector<std::string> unsupported;  ///< what the file asks for and is rendered without, one phrase each
};

/// A scene file that cannot be used; what() is the reason, without the file's name.
class SceneError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Reads a `*.vesta` scene: glTF 2.0, JSON or binary by content, with the files it names.
/// A link is followed first; named files must lie in the folder of the real file or below it.
/// Thread: any. Throws SceneError for a file that is missing, truncated or wrong in any way.
SceneFile loadScene(const std::filesystem::path& file);

}  // namespace host
