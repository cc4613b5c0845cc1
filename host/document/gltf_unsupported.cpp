#include "host/document/gltf_unsupported.h"

#include <algorithm>
#include <set>
#include <string_view>

namespace host {
namespace {

constexpr std::string_view kSupportedExtensions[] = {
    "KHR_lights_punctual",     "KHR_materials_anisotropy",
    "KHR_materials_clearcoat", "KHR_materials_ior",
    "KHR_materials_sheen",     "KHR_materials_emissive_strength",
    "KHR_materials_specular",  "KHR_materials_transmission",
    "KHR_materials_unlit",     "KHR_materials_volume",
    "KHR_mesh_quantization",   "KHR_texture_transform",
    "KHR_node_visibility",     "VESTA_document"};

std::string counted(int count, const char* singular, const char* plural) {
  return std::to_string(count) + " " + (count == 1 ? singular : plural);
}

class Phrases {
 public:
  void add(int count, const char* singular, const char* plural, const char* instead) {
    if (count > 0) phrases_.push_back(counted(count, singular, plural) + instead);
  }
  void add(std::string phrase) { phrases_.push_back(std::move(phrase)); }
  std::vector<std::string> take() { return std::move(phrases_); }

 private:
  std::vector<std::string> phrases_;
};

/// Those that the file lists, and those that its nodes, materials, textures and primitives use without that.
std::set<std::string> extensionsOf(const tinygltf::Model& model) {
  std::set<std::string> names(model.extensionsUsed.begin(), model.extensionsUsed.end());
  names.insert(model.extensionsRequired.begin(), model.extensionsRequired.end());
  const auto add = [&](const auto& thing) {
    for (const auto& [name, value] : thing.extensions) names.insert(name);
  };
  const auto addAll = [&](const auto& things) {
    for (const auto& thing : things) add(thing);
  };
  add(model);
  addAll(model.nodes);
  addAll(model.materials);
  addAll(model.textures);
  for (const tinygltf::Mesh& mesh : model.meshes) addAll(mesh.primitives);
  return names;
}

void addExtensions(const tinygltf::Model& model, Phrases& phrases) {
  for (const std::string& name : extensionsOf(model)) {
    const auto supported = std::find(std::begin(kSupportedExtensions), std::end(kSupportedExtensions), name);
    if (supported != std::end(kSupportedExtensions)) continue;
    const auto& required = model.extensionsRequired;
    const bool isRequired = std::find(required.begin(), required.end(), name) != required.end();
    phrases.add("extension " + excerpt(name) + (isRequired ? ", which it requires" : ""));
  }
}

}  // namespace

std::vector<std::string> unsupportedFeatures(const tinygltf::Model& model, const LeftOut& leftOut) {
  Phrases phrases;
  addExtensions(model, phrases);
  phrases.add(leftOut.channels, "animation channel", "animation channels", " (left out)");
  phrases.add(leftOut.texCoords, "texture with a fifth set of coordinates",
              "textures with a fifth set of coordinates", " (placed by the first set)");
  phrases.add(leftOut.primitives.points, "primitive of points", "primitives of points", " (left out)");
  phrases.add(leftOut.primitives.lines, "primitive of lines", "primitives of lines", " (left out)");
  phrases.add(leftOut.primitives.withoutPositions, "primitive without positions",
              "primitives without positions", " (left out)");
  return phrases.take();
}

}  // namespace host
