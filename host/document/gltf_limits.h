#pragma once
// What a scene file may ask for at most. Far above real scenes; a few bytes must not be able to take all
// memory or all time.

#include <cstddef>
#include <cstdint>

namespace host {

inline constexpr uint64_t kMaxFileBytes = uint64_t{2} << 30;   // one file that a scene consists of
inline constexpr uint64_t kMaxSceneBytes = uint64_t{4} << 30;  // all files of a scene
inline constexpr size_t kMaxJsonNesting = 64;                  // objects and arrays inside one another
inline constexpr size_t kMaxJsonBytes = size_t{512} << 20;
inline constexpr size_t kMaxJsonValues = size_t{8} << 20;
inline constexpr uint64_t kMaxNodes = 1'000'000;
inline constexpr uint64_t kMaxMeshes = 100'000;
inline constexpr uint64_t kMaxPrimitives = 100'000;  // of one mesh
inline constexpr uint64_t kMaxBuffers = 10'000;
inline constexpr uint64_t kMaxAccessors = 1'000'000;  // and buffer views
inline constexpr uint64_t kMaxMaterials = 100'000;    // and textures, images, samplers, lights
inline constexpr uint64_t kMaxAccessorElements = uint64_t{64} << 20;
inline constexpr uint64_t kMaxGeometryBytes = uint64_t{4} << 30;  // all meshes in memory
inline constexpr uint64_t kMaxTextureBytes = uint64_t{2} << 30;   // all decoded pictures
inline constexpr uint64_t kMaxInstances = uint64_t{4} << 20;
inline constexpr uint64_t kMaxPlacedVertices = uint64_t{4} << 30;  // vertices of all instances
inline constexpr uint64_t kMaxBuiltPrimitives = 1'000'000;         // each for each way of bending it
inline constexpr uint64_t kMaxAnimationNumbers = uint64_t{64} << 20;
inline constexpr uint64_t kMaxJoints = 1'000'000;                   // of all skins
inline constexpr uint64_t kMaxMorphedVertices = uint64_t{1} << 30;  // each counted once for a target
// Metres, of anything that is placed. Not far beyond, ray tracers miss triangles, since products of four
// lengths are no floats any more; much farther out they stop the program.
inline constexpr float kMaxCoordinate = 1e8F;

}  // namespace host
