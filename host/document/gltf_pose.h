#pragma once
// Animations of a glTF file: where its nodes stand at one moment.

#include <tiny_gltf.h>

#include "host/document/scene.h"

namespace host {

/// Writes what the animations say for `seconds` into the nodes, as if the file had said so. Before its first
/// key and after its last one an animation stands still. All animations play; where two move the same thing,
/// the first in the file wins. Returns how many channels move nothing that is read. Throws SceneError.
int poseNodes(tinygltf::Model& model, double seconds, const SceneOptions& options);

}  // namespace host
