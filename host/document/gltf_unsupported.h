#pragma once
// What a glTF file asks for and is rendered without.

#include <tiny_gltf.h>

#include <string>
#include <vector>

#include "host/document/gltf_materials.h"
#include "host/document/gltf_meshes.h"

namespace host {

/// One plain phrase each, with counts, in a fixed order.
std::vector<std::string> unsupportedFeatures(const tinygltf::Model& model, const SkippedPrimitives& skipped,
                                             int sharedTexCoords);

}  // namespace host
