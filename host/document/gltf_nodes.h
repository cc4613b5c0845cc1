#pragma once
// The node tree of a glTF file, flattened: placed meshes, the camera and the lights.

#include <tiny_gltf.h>

#include "host/document/gltf_meshes.h"
#include "host/document/scene.h"

namespace host {

/// Checks that the nodes form trees and that the scenes list roots only. Throws SceneError.
void checkNodeTree(const tinygltf::Model& model);

/// Walks the default scene (the first one, or every root, when the file names none) depth first and fills
/// `scene` with instances, lights and the first camera. Throws SceneError.
void flattenNodes(const tinygltf::Model& model, MeshBuilder& meshes, Scene& scene);

}  // namespace host
