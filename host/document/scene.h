#pragma once
// A scene in memory, ready for any renderer: plain data, nothing of rendering and nothing of files.

#include <cstdint>
#include <functional>
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
  bool nearest = false;   ///< no interpolation between texels
  bool srgb = false;      ///< colours in sRGB, which become linear when read; alpha and data stay as they are
  bool mipmapped = true;  ///< averaged where many texels meet one pixel
};

/// A material's use of a texture: which coordinates it is looked up with, and how they are moved before.
struct TextureUse {
  int texture = -1;  ///< index into Scene::textures; -1: none
  int texCoord = 0;  ///< index into Mesh::texCoords
  Vec2 uAxis{1, 0};  ///< where (1, 0) and (0, 1) go, without the offset
  Vec2 vAxis{0, 1};
  Vec2 offset{0, 0};

  bool operator==(const TextureUse&) const = default;
  explicit operator bool() const { return texture >= 0; }
  Vec2 moved(Vec2 uv) const {
    return {uAxis.x * uv.x + vAxis.x * uv.y + offset.x, uAxis.y * uv.x + vAxis.y * uv.y + offset.y};
  }
};

enum class AlphaMode { Opaque, Mask, Blend };

/// glTF metallic-roughness with its extensions; each factor multiplies its texture. Colours are linear.
/// Channels that are read of a texture stand in brackets. A layer whose factor is zero is not there.
struct Material {
  std::string name;
  Vec4 baseColor{1, 1, 1, 1};
  TextureUse baseColorTexture;  ///< (rgba, sRGB)
  float metallic = 1;
  float roughness = 1;
  TextureUse metallicRoughnessTexture;  ///< (g roughness, b metallic)
  TextureUse normalTexture;             ///< (rgb, tangent space)
  float normalScale = 1;
  TextureUse occlusionTexture;  ///< (r)
  float occlusionStrength = 1;
  Vec3 emissive{0, 0, 0};      ///< its strength included, so above 1 too
  TextureUse emissiveTexture;  ///< (rgb, sRGB)
  AlphaMode alphaMode = AlphaMode::Opaque;
  float alphaCutoff = 0.5F;
  bool doubleSided = false;
  bool unlit = false;  ///< the base colour as it is, whatever the light

  float ior = 1.5F;             ///< index of refraction; 0: mirrors all, as in the metallic workflow of old
  float specular = 1;           ///< strength of a dielectric's mirror
  TextureUse specularTexture;   ///< (a)
  Vec3 specularColor{1, 1, 1};  ///< of that mirror at normal incidence; may be above 1
  TextureUse specularColorTexture;  ///< (rgb, sRGB)

  float transmission = 0;
  TextureUse transmissionTexture;  ///< (r)
  float thickness = 0;             ///< metres in the mesh's own scale; 0: a thin wall without an inside
  TextureUse thicknessTexture;     ///< (g)
  float attenuationDistance = 0;   ///< metres in the world; 0: the inside is clear
  Vec3 attenuationColor{1, 1, 1};  ///< what is left of white light after that distance

  float clearcoat = 0;
  TextureUse clearcoatTexture;  ///< (r)
  float clearcoatRoughness = 0;
  TextureUse clearcoatRoughnessTexture;  ///< (g)
  TextureUse clearcoatNormalTexture;     ///< (rgb, tangent space)
  float clearcoatNormalScale = 1;

  Vec3 sheenColor{0, 0, 0};
  TextureUse sheenColorTexture;  ///< (rgb, sRGB)
  float sheenRoughness = 0;
  TextureUse sheenRoughnessTexture;  ///< (a)

  float anisotropy = 0;          ///< 0..1, along the turned tangent
  float anisotropyRotation = 0;  ///< radians, counter-clockwise from the tangent
  TextureUse anisotropyTexture;  ///< (rg direction from -1 to 1, b strength)

  /// Light goes into it and must come out again on the other side, which is there although single-sided.
  bool hasInside() const { return transmission > 0 && thickness > 0; }
};

inline constexpr int kTexCoordSets = 4;  ///< that a mesh keeps

/// Triangles of one material in object space. Every index is below positions.size(); all numbers are finite.
/// `normals`, `tangents`, `texCoords` and `colors` are empty or as long as `positions`. A texture whose set
/// is empty reads as white.
struct Mesh {
  /// Ray tracers read 16 bytes at each vertex, so a loader reserves one more element than there are
  /// (capacity() > size(), which a copy of the vector does not keep).
  std::vector<Vec3> positions;
  std::vector<Vec3> normals;   ///< unit length; empty: flat shading from the triangle itself
  std::vector<Vec4> tangents;  ///< unit xyz along u; w is the sign of the bitangent, cross(normal, xyz) * w
  std::vector<Vec2> texCoords[kTexCoordSets];
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

/// Bounds of a mesh with at least one vertex, in its own space.
Bounds meshBounds(const Mesh& mesh);

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

struct SceneOptions {
  bool outsideFiles = false;  ///< a scene may name files outside its folder
  /// Asked often; true ends the loading with a SceneError "stopped".
  std::function<bool()> stopped = [] { return false; };
};

/// Reads a `*.vesta` scene: glTF 2.0, JSON or binary by content, with the files it names.
/// A link is followed first; named files must lie in the folder of the real file or below it, unless the
/// options say otherwise. Thread: any. Throws SceneError for a file that is missing, truncated or wrong in
/// any way.
SceneFile loadScene(const std::filesystem::path& file, const SceneOptions& options = {});

}  // namespace host
