#include "host/document/gltf_meshes.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <string>

#include "host/document/gltf_accessors.h"
#include "host/document/gltf_limits.h"

namespace host {
namespace {

static_assert(sizeof(Vec2) == 2 * sizeof(float) && sizeof(Vec3) == 3 * sizeof(float) &&
              sizeof(Vec4) == 4 * sizeof(float));

bool isFinite(Vec2 v) { return std::isfinite(v.x) && std::isfinite(v.y); }
bool isFinite(Vec3 v) { return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z); }
bool isFinite(Vec4 v) { return isFinite(Vec3{v.x, v.y, v.z}) && std::isfinite(v.w); }

std::vector<Vec3> readPositions(const tinygltf::Model& model, const tinygltf::Accessor& accessor) {
  expectType(accessor, TINYGLTF_TYPE_VEC3, "POSITION");
  std::vector<Vec3> positions = readVectors<Vec3>(model, accessor);
  const bool finite = std::all_of(positions.begin(), positions.end(), [](Vec3 p) { return isFinite(p); });
  if (!finite) throw SceneError("a position is not a finite number");
  return positions;
}

std::vector<Vec2> readTexCoords(const tinygltf::Model& model, const tinygltf::Accessor& accessor) {
  expectType(accessor, TINYGLTF_TYPE_VEC2, "TEXCOORD");
  std::vector<Vec2> coords = readVectors<Vec2>(model, accessor);
  std::replace_if(
      coords.begin(), coords.end(), [](Vec2 uv) { return !isFinite(uv); }, Vec2{0, 0});
  return coords;
}

std::vector<Vec4> readColors(const tinygltf::Model& model, const tinygltf::Accessor& accessor) {
  std::vector<Vec4> colors;
  if (accessor.type == TINYGLTF_TYPE_VEC3) {
    colors.reserve(accessor.count);
    for (const Vec3 c : readVectors<Vec3>(model, accessor)) colors.push_back({c.x, c.y, c.z, 1});
  } else {
    expectType(accessor, TINYGLTF_TYPE_VEC4, "COLOR_0");
    colors = readVectors<Vec4>(model, accessor);
  }
  std::replace_if(
      colors.begin(), colors.end(), [](Vec4 c) { return !isFinite(c); }, Vec4{1, 1, 1, 1});
  return colors;
}

/// Of unit length, with a sign in w. Empty when one of them has no direction: others are derived then.
std::vector<Vec4> readTangents(const tinygltf::Model& model, const tinygltf::Accessor& accessor) {
  expectType(accessor, TINYGLTF_TYPE_VEC4, "TANGENT");
  std::vector<Vec4> tangents = readVectors<Vec4>(model, accessor);
  for (Vec4& t : tangents) {
    const Vec3 unit = unitOr({t.x, t.y, t.z}, {0, 0, 0});
    if (length(unit) == 0) return {};
    t = {unit.x, unit.y, unit.z, t.w < 0 ? -1.0F : 1.0F};
  }
  return tangents;
}

std::vector<uint32_t> stripTriangles(const std::vector<uint32_t>& corners) {
  std::vector<uint32_t> result;
  for (size_t i = 0; i + 2 < corners.size(); ++i) {
    const size_t odd = i % 2;  // every other triangle runs the other way round
    result.insert(result.end(), {corners[i], corners[i + 1 + odd], corners[i + 2 - odd]});
  }
  return result;
}

std::vector<uint32_t> fanTriangles(const std::vector<uint32_t>& corners) {
  std::vector<uint32_t> result;
  for (size_t i = 0; i + 2 < corners.size(); ++i) {
    result.insert(result.end(), {corners[i + 1], corners[i + 2], corners[0]});
  }
  return result;
}

/// Three corners a triangle. An incomplete last triangle is left out.
std::vector<uint32_t> triangles(std::vector<uint32_t> corners, int mode) {
  if (mode == TINYGLTF_MODE_TRIANGLE_STRIP) return stripTriangles(corners);
  if (mode == TINYGLTF_MODE_TRIANGLE_FAN) return fanTriangles(corners);
  corners.resize(corners.size() / 3 * 3);
  return corners;
}

void checkIndices(const std::vector<uint32_t>& indices, size_t vertices) {
  const auto largest = std::max_element(indices.begin(), indices.end());
  if (largest == indices.end() || *largest < vertices) return;
  throw SceneError("an index is out of range: " + std::to_string(*largest) + " of " +
                   std::to_string(vertices) + " vertices");
}

/// Area-weighted normals of the triangles around each vertex.
std::vector<Vec3> geometricNormals(const Mesh& mesh) {
  std::vector<Vec3> normals(mesh.positions.size());
  for (size_t i = 0; i + 2 < mesh.indices.size(); i += 3) {
    const uint32_t* corner = &mesh.indices[i];
    const Vec3 a = mesh.positions[corner[0]];
    const Vec3 normal = cross(mesh.positions[corner[1]] - a, mesh.positions[corner[2]] - a);
    for (int k = 0; k < 3; ++k) normals[corner[k]] = normals[corner[k]] + normal;
  }
  return normals;
}

/// Unit length for every normal; those without a direction take the surface's own.
void normalizeNormals(Mesh& mesh) {
  std::vector<Vec3> geometric;
  for (size_t i = 0; i < mesh.normals.size(); ++i) {
    mesh.normals[i] = unitOr(mesh.normals[i], {0, 0, 0});
    if (length(mesh.normals[i]) > 0) continue;
    if (geometric.empty()) geometric = geometricNormals(mesh);
    mesh.normals[i] = unitOr(geometric[i], {0, 1, 0});
  }
}

/// What a mesh keeps of each vertex.
uint64_t vertexBytes(const tinygltf::Primitive& primitive, const BuiltMaterial& material) {
  const auto has = [&](const std::string& name) { return primitive.attributes.count(name) > 0; };
  uint64_t bytes = sizeof(Vec3);
  if (has("NORMAL")) bytes += sizeof(Vec3);
  if (has("TANGENT") && material.tangents) bytes += sizeof(Vec4);
  if (has("COLOR_0")) bytes += sizeof(Vec4);
  for (size_t set = 0; set < material.sets.size(); ++set) {
    if (material.sets[set] && has("TEXCOORD_" + std::to_string(set))) bytes += sizeof(Vec2);
  }
  return bytes;
}

/// A strip or a fan has three indices for each corner.
uint64_t cornerBytes(int mode) {
  return mode == TINYGLTF_MODE_TRIANGLES ? sizeof(uint32_t) : 3 * sizeof(uint32_t);
}

}  // namespace

const std::vector<int>& MeshBuilder::get(int index, const Bend& bend) {
  const auto [entry, isNew] = built_.try_emplace({index, bend.joints, bend.weights});
  if (isNew) entry->second = buildAll(index, bend);
  return entry->second;
}

std::vector<int> MeshBuilder::buildAll(int index, const Bend& bend) {
  std::vector<int> meshes;
  const tinygltf::Mesh& source = model_.meshes[static_cast<size_t>(index)];
  for (size_t i = 0; i < source.primitives.size(); ++i) {
    const tinygltf::Primitive& primitive = source.primitives[i];
    if (++primitives_ > kMaxBuiltPrimitives) throw SceneError("more than 1 million primitives are made");
    if (options_.stopped()) throw SceneError("stopped");
    if (skip(primitive)) continue;
    const BuiltMaterial& material = materials_.get(primitive.material);
    try {
      Mesh mesh = build(primitive, material);
      if (bend) bender_.apply(primitive, bend, mesh);
      if (mesh.indices.empty()) continue;
      meshes.push_back(static_cast<int>(scene_.meshes.size()));
      scene_.meshes.push_back(std::move(mesh));
    } catch (const SceneError& error) {
      throw SceneError("meshes[" + std::to_string(index) + "].primitives[" + std::to_string(i) +
                       "]: " + error.what());
    }
  }
  return meshes;
}

bool MeshBuilder::skip(const tinygltf::Primitive& primitive) {
  const int mode = primitive.mode;
  if (mode == TINYGLTF_MODE_POINTS) {
    ++skipped_.points;
  } else if (mode == TINYGLTF_MODE_LINE || mode == TINYGLTF_MODE_LINE_LOOP ||
             mode == TINYGLTF_MODE_LINE_STRIP) {
    ++skipped_.lines;
  } else if (primitive.attributes.count("POSITION") == 0) {
    ++skipped_.withoutPositions;
  } else {
    return false;
  }
  return true;
}

Mesh MeshBuilder::build(const tinygltf::Primitive& primitive, const BuiltMaterial& material) {
  const tinygltf::Accessor& positions =
      model_.accessors[static_cast<size_t>(primitive.attributes.at("POSITION"))];
  const uint64_t corners = primitive.indices < 0
                               ? positions.count
                               : model_.accessors[static_cast<size_t>(primitive.indices)].count;
  takeMemory(positions.count * vertexBytes(primitive, material) + corners * cornerBytes(primitive.mode));
  Mesh mesh;
  mesh.positions = readPositions(model_, positions);
  std::vector<uint32_t> order;
  if (primitive.indices < 0) {
    order.resize(mesh.positions.size());
    std::iota(order.begin(), order.end(), 0U);
  } else {
    order = readUnsigned(model_, model_.accessors[static_cast<size_t>(primitive.indices)]);
    checkIndices(order, mesh.positions.size());
  }
  mesh.indices = triangles(std::move(order), primitive.mode);
  mesh.material = material.material;
  readAttributes(primitive, material, mesh);
  return mesh;
}

void MeshBuilder::readAttributes(const tinygltf::Primitive& primitive, const BuiltMaterial& material,
                                 Mesh& mesh) {
  const auto find = [&](const std::string& name) {
    return findAttribute(model_, primitive.attributes, name, mesh.positions.size());
  };
  if (const auto* normals = find("NORMAL")) {
    expectType(*normals, TINYGLTF_TYPE_VEC3, "NORMAL");
    mesh.normals = readVectors<Vec3>(model_, *normals);
    normalizeNormals(mesh);
  }
  const auto* tangents = material.tangents && !mesh.normals.empty() ? find("TANGENT") : nullptr;
  if (tangents != nullptr) mesh.tangents = readTangents(model_, *tangents);
  for (size_t set = 0; set < material.sets.size(); ++set) {
    if (!material.sets[set]) continue;
    const auto* coords = find("TEXCOORD_" + std::to_string(set));
    if (coords != nullptr) mesh.texCoords[set] = readTexCoords(model_, *coords);
  }
  if (const auto* colors = find("COLOR_0")) mesh.colors = readColors(model_, *colors);
}

void MeshBuilder::takeMemory(uint64_t bytes) {
  geometryBytes_ += bytes;
  if (geometryBytes_ > kMaxGeometryBytes) throw SceneError("the scene's geometry is larger than 4 GiB");
}

}  // namespace host
