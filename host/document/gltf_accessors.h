#pragma once
// Numbers out of buffers. Every read is inside its buffer once checkAccessors has passed.

#include <tiny_gltf.h>

#include <cstdint>
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

}  // namespace host
