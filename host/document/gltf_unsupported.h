#pragma once
// What a glTF file asks for and is rendered without.

#include <tiny_gltf.h>

#include <string>
#include <vector>

#include "host/document/gltf_materials.h"
#include "host/document/gltf_meshes.h"

namespace host {

/// What was met and left out while the scene was built.
struct LeftOut {
  SkippedPrimitives primitives;
  int texCoords = 0;  ///< uses of textures with a set of coordinates that meshes do not keep
  int channels = 0;   ///< of animations
};

/// One plain phrase each, with counts, in a fixed order.
std::vector<std::string> unsupportedFeatures(const tinygltf::Model& model, const LeftOut& leftOut);

}  // namespace host
