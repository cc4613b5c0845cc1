#include "host/document/gltf_bend.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "host/document/gltf_accessors.h"
#include "host/document/gltf_limits.h"

namespace host {
namespace {

void addScaled(Mat4& sum, const Mat4& joint, float weight) {
  for (size_t i = 0; i < sum.m.size(); ++i) sum.m[i] += joint.m[i] * weight;
}

/// Normals stand upright on their surface after any transform when its cofactors move them.
Vec3 moveNormal(const Mat4& t, Vec3 n) {
  const Vec3 x{t.m[0], t.m[1], t.m[2]}, y{t.m[4], t.m[5], t.m[6]}, z{t.m[8], t.m[9], t.m[10]};
  return cross(y, z) * n.x + cross(z, x) * n.y + cross(x, y) * n.z;
}

Vec4 movedTangent(Vec4 tangent, Vec3 to) {
  const Vec3 unit = unitOr(to, {tangent.x, tangent.y, tangent.z});
  return {unit.x, unit.y, unit.z, tangent.w};
}

/// A set of four joints and their weights at each vertex.
struct Influences {
  std::vector<Vec4> joints, weights;
};

std::vector<Influences> influences(const tinygltf::Model& model, const tinygltf::Primitive& primitive,
                                   size_t vertices) {
  std::vector<Influences> sets;
  for (const std::string number : {"0", "1"}) {
    const auto* joints = findAttribute(model, primitive.attributes, "JOINTS_" + number, vertices);
    const auto* weights = findAttribute(model, primitive.attributes, "WEIGHTS_" + number, vertices);
    if (joints == nullptr || weights == nullptr) break;
    expectType(*joints, TINYGLTF_TYPE_VEC4, "JOINTS_" + number);
    expectType(*weights, TINYGLTF_TYPE_VEC4, "WEIGHTS_" + number);
    if (joints->componentType != TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE &&
        joints->componentType != TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT) {
      throw SceneError("JOINTS_" + number + " are not small unsigned integers");
    }
    sets.push_back({readVectors<Vec4>(model, *joints), readVectors<Vec4>(model, *weights)});
  }
  return sets;
}

/// The joints' matrices by the weights of one vertex. Weights that are none leave it with its first joint.
Mat4 blend(const std::vector<Influences>& sets, size_t vertex, const std::vector<Mat4>& joints) {
  Mat4 sum;
  sum.m.fill(0);
  float total = 0;
  const auto joint = [&](float number) -> const Mat4& {
    const auto index = static_cast<size_t>(number);
    if (index < joints.size()) return joints[index];
    throw SceneError("a joint is out of range: " + std::to_string(index) + " of " +
                     std::to_string(joints.size()));
  };
  for (const Influences& set : sets) {
    const Vec4 j = set.joints[vertex], w = set.weights[vertex];
    const float numbers[] = {j.x, j.y, j.z, j.w}, weights[] = {w.x, w.y, w.z, w.w};
    for (size_t i = 0; i < 4; ++i) {
      if (!(weights[i] > 0) || !std::isfinite(weights[i])) continue;
      addScaled(sum, joint(numbers[i]), weights[i]);
      total += weights[i];
    }
  }
  if (!(total > 0) || !std::isfinite(total)) return joint(sets.front().joints[vertex].x);
  for (float& element : sum.m) element /= total;
  return sum;
}

void expectFinite(const std::vector<Vec3>& positions) {
  for (const Vec3 p : positions) {
    if (!std::isfinite(p.x) || !std::isfinite(p.y) || !std::isfinite(p.z)) {
      throw SceneError("a position is not a finite number after morphing and skinning");
    }
  }
}

}  // namespace

size_t morphTargets(const tinygltf::Mesh& mesh) {
  return mesh.primitives.empty() ? 0 : mesh.primitives.front().targets.size();
}

const std::vector<Mat4>& Skins::joints(int skin) {
  std::vector<Mat4>& known = joints_[static_cast<size_t>(skin)];
  if (!known.empty()) return known;
  try {
    known = build(model_.skins[static_cast<size_t>(skin)]);
  } catch (const SceneError& error) {
    throw SceneError("skins[" + std::to_string(skin) + "]: " + error.what());
  }
  return known;
}

std::vector<Mat4> Skins::build(const tinygltf::Skin& skin) {
  if (skin.joints.empty()) throw SceneError("no joints");
  count_ += skin.joints.size();
  if (count_ > kMaxJoints) throw SceneError("more than 1 million joints in all skins");
  std::vector<Mat4> inverse(skin.joints.size());
  if (skin.inverseBindMatrices >= 0) {
    const tinygltf::Accessor& accessor = model_.accessors[static_cast<size_t>(skin.inverseBindMatrices)];
    if (accessor.type != TINYGLTF_TYPE_MAT4 || accessor.componentType != TINYGLTF_COMPONENT_TYPE_FLOAT) {
      throw SceneError("the inverse bind matrices are no matrices");
    }
    if (accessor.count < inverse.size()) throw SceneError("fewer inverse bind matrices than joints");
    inverse = readVectors<Mat4>(model_, accessor);
    inverse.resize(skin.joints.size());
  }
  for (size_t i = 0; i < inverse.size(); ++i) {
    inverse[i] = worlds_[static_cast<size_t>(skin.joints[i])] * inverse[i];
    for (const float element : inverse[i].m) {
      if (!std::isfinite(element))
        throw SceneError("the matrix of joint " + std::to_string(i) + " is not finite");
    }
  }
  return inverse;
}

void Bender::apply(const tinygltf::Primitive& primitive, const Bend& bend, Mesh& mesh) {
  if (!bend.weights.empty()) morph(primitive, bend.weights, mesh);
  if (bend.joints != nullptr) skin(primitive, *bend.joints, mesh);
  expectFinite(mesh.positions);
}

void Bender::morph(const tinygltf::Primitive& primitive, const std::vector<float>& weights, Mesh& mesh) {
  const size_t vertices = mesh.positions.size();
  std::vector<Vec3> deltas;
  const auto read = [&](const std::map<std::string, int>& target, const char* name) {
    const tinygltf::Accessor* accessor = findAttribute(model_, target, name, vertices);
    if (accessor == nullptr) return false;
    expectType(*accessor, TINYGLTF_TYPE_VEC3, name);
    morphedVertices_ += vertices;
    if (morphedVertices_ > kMaxMorphedVertices) throw SceneError("more than 1 billion vertices are morphed");
    deltas = readVectors<Vec3>(model_, *accessor);
    return true;
  };
  std::vector<Vec3> tangents(mesh.tangents.size());
  for (size_t i = 0; i < vertices && !tangents.empty(); ++i) {
    tangents[i] = {mesh.tangents[i].x, mesh.tangents[i].y, mesh.tangents[i].z};
  }
  const auto add = [&](std::vector<Vec3>& to, float weight) {
    for (size_t i = 0; i < vertices; ++i) to[i] = to[i] + deltas[i] * weight;
  };
  for (size_t i = 0; i < std::min(weights.size(), primitive.targets.size()); ++i) {
    if (weights[i] == 0) continue;
    const auto& target = primitive.targets[i];
    if (read(target, "POSITION")) add(mesh.positions, weights[i]);
    if (!mesh.normals.empty() && read(target, "NORMAL")) add(mesh.normals, weights[i]);
    if (!tangents.empty() && read(target, "TANGENT")) add(tangents, weights[i]);
  }
  for (Vec3& normal : mesh.normals) normal = unitOr(normal, {0, 1, 0});
  for (size_t i = 0; i < tangents.size(); ++i) mesh.tangents[i] = movedTangent(mesh.tangents[i], tangents[i]);
}

void Bender::skin(const tinygltf::Primitive& primitive, const std::vector<Mat4>& joints, Mesh& mesh) const {
  const size_t vertices = mesh.positions.size();
  const std::vector<Influences> sets = influences(model_, primitive, vertices);
  if (sets.empty()) throw SceneError("a skin is used without JOINTS_0 and WEIGHTS_0");
  for (size_t i = 0; i < vertices; ++i) {
    const Mat4 bone = blend(sets, i, joints);
    mesh.positions[i] = transformPoint(bone, mesh.positions[i]);
    if (!mesh.normals.empty()) mesh.normals[i] = unitOr(moveNormal(bone, mesh.normals[i]), {0, 1, 0});
    if (mesh.tangents.empty()) continue;
    const Vec4 t = mesh.tangents[i];
    mesh.tangents[i] = movedTangent(t, transformVector(bone, {t.x, t.y, t.z}));
  }
}

}  // namespace host
