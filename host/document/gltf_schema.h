#pragma once
// The shape of a glTF file, checked before anything is built from it.

#include <nlohmann/json_fwd.hpp>

#include "host/document/gltf_source.h"

namespace host {

/// Checks types, counts, references, names of files and byte ranges of everything that the loader reads
/// later, so that no later step meets an index that leads nowhere. `binary`: the file has a chunk for buffer
/// 0. `resources` will read the files. Throws SceneError, with the place as in
/// "meshes[3].primitives[0].indices".
void checkGltfSchema(const nlohmann::json& root, bool binary, const ResourceReader& resources);

}  // namespace host
