#include "host/document/gltf_unsupported.h"

#include <algorithm>
#include <set>
#include <string_view>

namespace host {
namespace {

constexpr std::string_view kSupportedExtensions[] = {
    "KHR_lights_punctual",    "KHR_materials_anisotropy",   "KHR_materials_clearcoat",
    "KHR_materials_ior",      "KHR_materials_sheen",        "KHR_materials_emissive_strength",
    "KHR_materials_specular", "KHR_materials_transmission", "KHR_materials_unlit",
    "KHR_materials_volume",   "KHR_mesh_quantization",      "KHR_texture_transform",
    "VESTA_document"};

std::string counted(size_t count, const char* singular, const char* plural) {
  return std::to_string(count) + " " + (count == 1 ? singular : plural);
}

template <typename Range, typename Predicate>
size_t countIf(const Range& range, Predicate predicate) {
  return static_cast<size_t>(std::count_if(range.begin(), range.end(), predicate));
}

class Phrases {
 public:
  void add(size_t count, const char* singular, const char* plural, const char* instead) {
    if (count > 0) phrases_.push_back(counted(count, singular, plural) + instead);
  }
  void add(std::string phrase) { phrases_.push_back(std::move(phrase)); }
  std::vector<std::string> take() { return std::move(phrases_); }

 private:
  std::vector<std::string> phrases_;
};

void addExtensions(const tinygltf::Model& model, Phrases& phrases) {
  std::set<std::string> names(model.extensionsUsed.begin(), model.extensionsUsed.end());
  names.insert(model.extensionsRequired.begin(), model.extensionsRequired.end());
  for (const std::string& name : names) {
    const auto supported = std::find(std::begin(kSupportedExtensions), std::end(kSupportedExtensions), name);
    if (supported == std::end(kSupportedExtensions)) phrases.add("extension " + excerpt(name));
  }
}

void addMotion(const tinygltf::Model& model, Phrases& phrases) {
  phrases.add(model.animations.size(), "animation", "animations", " (everything stands as in the file)");
  phrases.add(model.skins.size(), "skin", "skins", " (the meshes are not posed)");
  const auto morphs = [](const tinygltf::Mesh& mesh) {
    return std::any_of(mesh.primitives.begin(), mesh.primitives.end(),
                       [](const tinygltf::Primitive& primitive) { return !primitive.targets.empty(); });
  };
  phrases.add(countIf(model.meshes, morphs), "mesh with morph targets", "meshes with morph targets",
              " (shown in the base shape)");
}

}  // namespace

std::vector<std::string> unsupportedFeatures(const tinygltf::Model& model, const SkippedPrimitives& skipped,
                                             int sharedTexCoords) {
  Phrases phrases;
  addExtensions(model, phrases);
  addMotion(model, phrases);
  phrases.add(static_cast<size_t>(sharedTexCoords), "texture with a fifth set of coordinates",
              "textures with a fifth set of coordinates", " (placed by the first set)");
  phrases.add(static_cast<size_t>(skipped.points), "primitive of points", "primitives of points",
              " (left out)");
  phrases.add(static_cast<size_t>(skipped.lines), "primitive of lines", "primitives of lines", " (left out)");
  phrases.add(static_cast<size_t>(skipped.withoutPositions), "primitive without positions",
              "primitives without positions", " (left out)");
  return phrases.take();
}

}  // namespace host
