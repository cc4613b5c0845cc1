#include "host/document/gltf_nodes.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numbers>
#include <string>

#include "host/document/gltf_limits.h"

namespace host {
namespace {

constexpr int kNoParent = -1;

Vec3 vec3Of(const std::vector<double>& v) {
  return {static_cast<float>(v[0]), static_cast<float>(v[1]), static_cast<float>(v[2])};
}

/// Rotation by the quaternion (x, y, z, w), scaled to unit length; one without length turns nothing.
Mat4 rotationMatrix(const std::vector<double>& q) {
  Mat4 r;
  const double norm = q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3];
  if (!(norm > 0)) return r;
  const double s = 2 / norm;
  const double x = q[0], y = q[1], z = q[2], w = q[3];
  const double columns[3][3] = {{1 - s * (y * y + z * z), s * (x * y + w * z), s * (x * z - w * y)},
                                {s * (x * y - w * z), 1 - s * (x * x + z * z), s * (y * z + w * x)},
                                {s * (x * z + w * y), s * (y * z - w * x), 1 - s * (x * x + y * y)}};
  for (size_t c = 0; c < 3; ++c) {
    for (size_t row = 0; row < 3; ++row) r.m[c * 4 + row] = static_cast<float>(columns[c][row]);
  }
  return r;
}

Mat4 localTransform(const tinygltf::Node& node) {
  Mat4 local;
  if (!node.matrix.empty()) {
    std::transform(node.matrix.begin(), node.matrix.end(), local.m.begin(),
                   [](double value) { return static_cast<float>(value); });
    return local;
  }
  if (!node.rotation.empty()) local = rotationMatrix(node.rotation);
  if (!node.scale.empty()) {
    for (size_t i = 0; i < 12; ++i) local.m[i] *= static_cast<float>(node.scale[i / 4]);
  }
  for (size_t i = 0; i < node.translation.size(); ++i)
    local.m[12 + i] = static_cast<float>(node.translation[i]);
  return local;
}

/// Whether renderers can reckon with it; false for what is not a number, too.
bool inReach(float value) { return std::abs(value) <= kMaxCoordinate; }
bool inReach(Vec3 p) { return inReach(p.x) && inReach(p.y) && inReach(p.z); }
bool inReach(const Mat4& t) {
  return std::all_of(t.m.begin(), t.m.end(), [](float value) { return inReach(value); });
}

Vec3 cornerOf(const Bounds& bounds, unsigned corner) {
  return {(corner & 1U) != 0 ? bounds.high.x : bounds.low.x,
          (corner & 2U) != 0 ? bounds.high.y : bounds.low.y,
          (corner & 4U) != 0 ? bounds.high.z : bounds.low.z};
}

bool inReach(const Bounds& bounds, const Mat4& t) {
  for (unsigned corner = 0; corner < 8; ++corner) {
    if (!inReach(transformPoint(t, cornerOf(bounds, corner)))) return false;
  }
  return inReach(bounds.low) && inReach(bounds.high);
}

/// The same place and view direction, with perpendicular unit axes.
Mat4 withoutScale(const Mat4& t) {
  const Vec3 z = unitOr({t.m[8], t.m[9], t.m[10]}, {0, 0, 1});
  const Vec3 up = unitOr({t.m[4], t.m[5], t.m[6]}, {0, 1, 0});
  const Vec3 aside = std::abs(z.y) < 0.9F ? Vec3{0, 1, 0} : Vec3{1, 0, 0};
  const Vec3 x = unitOr(cross(up, z), normalize(cross(aside, z)));
  const Vec3 y = cross(z, x);
  return {{x.x, x.y, x.z, 0, y.x, y.y, y.z, 0, z.x, z.y, z.z, 0, t.m[12], t.m[13], t.m[14], 1}};
}

void expectCamera(bool holds, const char* reason) {
  if (!holds) throw SceneError(std::string("the camera's ") + reason);
}

Camera makeCamera(const tinygltf::Camera& source, const Mat4& world) {
  Camera camera;
  camera.orthographic = source.type == "orthographic";
  camera.transform = withoutScale(world);
  if (camera.orthographic) {
    camera.xmag = std::abs(static_cast<float>(source.orthographic.xmag));
    camera.ymag = std::abs(static_cast<float>(source.orthographic.ymag));
    camera.znear = static_cast<float>(source.orthographic.znear);
    camera.zfar = static_cast<float>(source.orthographic.zfar);
    expectCamera(camera.xmag > 0 && camera.ymag > 0, "magnification is zero");
    expectCamera(camera.znear >= 0 && camera.zfar > camera.znear, "range is not a range");
  } else {
    camera.yfov = static_cast<float>(source.perspective.yfov);
    camera.aspectRatio = static_cast<float>(source.perspective.aspectRatio);
    camera.znear = static_cast<float>(source.perspective.znear);
    camera.zfar = static_cast<float>(source.perspective.zfar);
    expectCamera(camera.yfov > 0 && camera.yfov < std::numbers::pi_v<float>,
                 "field of view is not between 0 and pi");
    expectCamera(camera.aspectRatio >= 0, "aspect ratio is negative");
    expectCamera(camera.znear > 0, "near distance is not positive");
    expectCamera(camera.zfar == 0 || camera.zfar > camera.znear, "far distance is not behind the near one");
  }
  return camera;
}

Light::Kind lightKind(const std::string& type) {
  if (type == "point") return Light::Kind::Point;
  if (type == "spot") return Light::Kind::Spot;
  if (type == "directional") return Light::Kind::Directional;
  throw SceneError("a light has the unknown type " + excerpt(type));
}

Light makeLight(const tinygltf::Light& source, const Mat4& world) {
  Light light;
  light.kind = lightKind(source.type);
  if (!source.color.empty()) light.color = vec3Of(source.color);
  light.intensity = static_cast<float>(source.intensity);
  light.range = static_cast<float>(source.range);
  light.position = transformPoint(world, {0, 0, 0});
  const Mat4 axes = withoutScale(world);
  light.direction = transformVector(axes, {0, 0, -1});
  const bool bright = light.color.x >= 0 && light.color.y >= 0 && light.color.z >= 0 && light.intensity >= 0;
  if (!bright || light.range < 0) throw SceneError("a light has a negative color, intensity or range");
  if (light.kind == Light::Kind::Spot) {
    light.innerCone = static_cast<float>(source.spot.innerConeAngle);
    light.outerCone = static_cast<float>(source.spot.outerConeAngle);
    const bool cone = light.innerCone >= 0 && light.innerCone <= light.outerCone &&
                      light.outerCone <= std::numbers::pi_v<float> / 2 + 1e-5F;
    if (!cone) throw SceneError("a spot light's cone angles are out of range");
  }
  return light;
}

std::vector<int> parents(const tinygltf::Model& model) {
  std::vector<int> parent(model.nodes.size(), kNoParent);
  for (size_t i = 0; i < model.nodes.size(); ++i) {
    for (const int child : model.nodes[i].children) {
      int& known = parent[static_cast<size_t>(child)];
      if (known != kNoParent) throw SceneError("nodes[" + std::to_string(child) + "] has two parents");
      known = static_cast<int>(i);
    }
  }
  return parent;
}

std::vector<int> rootsOf(const std::vector<int>& parent) {
  std::vector<int> roots;
  for (size_t i = 0; i < parent.size(); ++i) {
    if (parent[i] == kNoParent) roots.push_back(static_cast<int>(i));
  }
  return roots;
}

/// With one parent each at most, nodes that no root leads to go round in a circle.
void checkNoCycle(const tinygltf::Model& model, std::vector<int> reachable) {
  for (size_t i = 0; i < reachable.size(); ++i) {
    const std::vector<int>& children = model.nodes[static_cast<size_t>(reachable[i])].children;
    reachable.insert(reachable.end(), children.begin(), children.end());
  }
  if (reachable.size() < model.nodes.size()) throw SceneError("the node tree has a cycle");
}

std::vector<int> defaultRoots(const tinygltf::Model& model) {
  if (model.scenes.empty()) return rootsOf(parents(model));
  return model.scenes[static_cast<size_t>(std::max(model.defaultScene, 0))].nodes;
}

/// The transform to the world of every node. Parents come before their children.
std::vector<Mat4> worldTransforms(const tinygltf::Model& model) {
  std::vector<Mat4> worlds(model.nodes.size());
  std::vector<int> order = rootsOf(parents(model));
  for (const int root : order)
    worlds[static_cast<size_t>(root)] = localTransform(model.nodes[static_cast<size_t>(root)]);
  for (size_t i = 0; i < order.size(); ++i) {
    const auto parent = static_cast<size_t>(order[i]);
    for (const int child : model.nodes[parent].children) {
      const auto index = static_cast<size_t>(child);
      worlds[index] = worlds[parent] * localTransform(model.nodes[index]);
      order.push_back(child);
    }
  }
  return worlds;
}

bool hides(const tinygltf::Node& node) {
  const auto visibility = node.extensions.find("KHR_node_visibility");
  if (visibility == node.extensions.end() || !visibility->second.Has("visible")) return false;
  return !visibility->second.Get("visible").Get<bool>();
}

class Flattener {
 public:
  Flattener(const tinygltf::Model& model, MeshBuilder& meshes, Scene& scene)
      : model_(model),
        meshes_(meshes),
        scene_(scene),
        worlds_(worldTransforms(model)),
        skins_(model, worlds_) {}

  void walk(const std::vector<int>& roots) {
    push(roots, false);
    while (!pending_.empty()) {
      const Pending next = pending_.back();
      pending_.pop_back();
      const tinygltf::Node& node = model_.nodes[static_cast<size_t>(next.node)];
      const bool hidden = next.hidden || hides(node);
      visit(next.node, hidden);
      push(node.children, hidden);
    }
  }

 private:
  struct Pending {
    int node = 0;
    bool hidden = false;
  };

  /// A stack instead of recursion: the depth of the tree is the file's choice.
  void push(const std::vector<int>& nodes, bool hidden) {
    for (auto node = nodes.rbegin(); node != nodes.rend(); ++node) pending_.push_back({*node, hidden});
  }

  /// A hidden node still is a place to look from.
  void visit(int index, bool hidden) {
    const tinygltf::Node& node = model_.nodes[static_cast<size_t>(index)];
    const Mat4& world = worlds_[static_cast<size_t>(index)];
    if (!inReach(world)) {
      throw SceneError("the transform of nodes[" + std::to_string(index) + "] is not finite or too large");
    }
    try {
      look(node, world, hidden);
    } catch (const SceneError& error) {
      throw SceneError("nodes[" + std::to_string(index) + "]: " + error.what());
    }
    if (node.mesh >= 0 && !hidden) place(index, node);
  }

  void look(const tinygltf::Node& node, const Mat4& world, bool hidden) {
    if (node.camera >= 0 && !scene_.camera) {
      scene_.camera = makeCamera(model_.cameras[static_cast<size_t>(node.camera)], world);
    }
    if (hidden) return;
    const auto light = node.extensions.find("KHR_lights_punctual");
    if (light != node.extensions.end()) {
      const auto lamp = static_cast<size_t>(light->second.Get("light").GetNumberAsInt());
      scene_.lights.push_back(makeLight(model_.lights.at(lamp), world));
    }
  }

  /// Joints take a mesh to the world by themselves.
  void place(int index, const tinygltf::Node& node) {
    const Bend bend = bendOf(node);
    const Mat4 world = bend.joints != nullptr ? Mat4{} : worlds_[static_cast<size_t>(index)];
    for (const int part : meshes_.get(node.mesh, bend)) {
      if (!inReach(boundsOf(part), world)) {
        throw SceneError("the mesh of nodes[" + std::to_string(index) +
                         "] lies too far out: a coordinate is beyond 1e8");
      }
      placedVertices_ += scene_.meshes[static_cast<size_t>(part)].positions.size();
      scene_.instances.push_back({part, world});
    }
    if (scene_.instances.size() > kMaxInstances) throw SceneError("more than 4 million meshes are placed");
    if (placedVertices_ > kMaxPlacedVertices) throw SceneError("more than 4 billion vertices are placed");
  }

  Bend bendOf(const tinygltf::Node& node) {
    Bend bend;
    const tinygltf::Mesh& mesh = model_.meshes[static_cast<size_t>(node.mesh)];
    const std::vector<double>& weights = node.weights.empty() ? mesh.weights : node.weights;
    const auto end = weights.begin() + static_cast<ptrdiff_t>(std::min(weights.size(), morphTargets(mesh)));
    if (std::any_of(weights.begin(), end, [](double w) { return w != 0; })) {
      std::transform(weights.begin(), end, std::back_inserter(bend.weights),
                     [](double weight) { return static_cast<float>(weight); });
    }
    if (node.skin >= 0) bend.joints = &skins_.joints(node.skin);
    return bend;
  }

  const Bounds& boundsOf(int part) {
    for (size_t next = bounds_.size(); next <= static_cast<size_t>(part); ++next) {
      bounds_.push_back(meshBounds(scene_.meshes[next]));
    }
    return bounds_[static_cast<size_t>(part)];
  }

  const tinygltf::Model& model_;
  MeshBuilder& meshes_;
  Scene& scene_;
  const std::vector<Mat4> worlds_;  // by node
  Skins skins_;
  std::vector<Bounds> bounds_;  // by the scene's mesh
  std::vector<Pending> pending_;
  uint64_t placedVertices_ = 0;
};

}  // namespace

void checkNodeTree(const tinygltf::Model& model) {
  const std::vector<int> parent = parents(model);
  checkNoCycle(model, rootsOf(parent));
  for (const tinygltf::Scene& scene : model.scenes) {
    std::vector<int> roots = scene.nodes;
    std::sort(roots.begin(), roots.end());
    if (std::adjacent_find(roots.begin(), roots.end()) != roots.end())
      throw SceneError("a scene lists a node twice");
    for (const int root : roots) {
      if (parent[static_cast<size_t>(root)] == kNoParent) continue;
      throw SceneError("a scene lists nodes[" + std::to_string(root) +
                       "], which is the child of another node");
    }
  }
}

void flattenNodes(const tinygltf::Model& model, MeshBuilder& meshes, Scene& scene) {
  Flattener(model, meshes, scene).walk(defaultRoots(model));
}

}  // namespace host
