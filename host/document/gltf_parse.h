#pragma once
// The library that turns glTF into structs, kept from reading anything by itself.

#include <tiny_gltf.h>

#include <nlohmann/json_fwd.hpp>

#include "host/document/gltf_source.h"

namespace host {

/// Reads a scene whose schema was checked. Buffers are complete; pictures stay encoded, and those in files
/// stay unread, since only a few of them may be needed. `root` is the JSON of `source`. Throws SceneError.
tinygltf::Model parseGltf(const GltfSource& source, const nlohmann::json& root, ResourceReader& resources);

}  // namespace host
