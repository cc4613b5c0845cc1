#pragma once
// Numbers out of buffers. Every read is inside its buffer once checkAccessors has passed.

#include <tiny_gltf.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace host {

/// Checks types, alignment and byte ranges of all accessors, sparse ones included, against their buffer
/// views. Throws SceneError.
void checkAccessors(const tinygltf::Model& model);

/// Elements of `accessor` as floats, `componentCount(accessor)` a piece; normalised integers become 0..1 or
/// -1..1. `out` has room for accessor.count elements. Throws SceneError for a sparse index out of range.
void readFloats(const tinygltf::Model& model, const tinygltf::Accessor& accessor, float* out);

/// A scalar accessor of unsigned integers. Throws SceneError for other types.
std::vector<uint32_t> readUnsigned(const tinygltf::Model& model, const tinygltf::Accessor& accessor);

/// 1 for a scalar, 2 to 4 for vectors.
size_t componentCount(const tinygltf::Accessor& accessor);

/// An attribute in `attributes` (names to accessors), which must be there for each vertex. Null when it is
/// not in there. Throws SceneError with its name.
const tinygltf::Accessor* findAttribute(const tinygltf::Model& model,
                                        const std::map<std::string, int>& attributes, const std::string& name,
                                        size_t vertices);

/// Throws SceneError unless the accessor has this type (TINYGLTF_TYPE_VEC3 and so on).
void expectType(const tinygltf::Accessor& accessor, int type, const std::string& name);

/// All elements as structs of floats. There is room for one more than there are.
template <typename Vec>
std::vector<Vec> readVectors(const tinygltf::Model& model, const tinygltf::Accessor& accessor) {
  std::vector<Vec> values;
  values.reserve(accessor.count + 1);
  values.resize(accessor.count);
  readFloats(model, accessor, reinterpret_cast<float*>(values.data()));
  return values;
}

}  // namespace host
