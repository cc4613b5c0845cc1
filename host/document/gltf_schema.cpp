#include "host/document/gltf_schema.h"

#include <array>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "host/document/gltf_limits.h"
#include "host/document/gltf_source.h"
#include "host/document/scene.h"

namespace host {
namespace {

using nlohmann::json;

enum class Kind {
  Boolean,
  String,
  Strings,  // an array of them
  Object,
  Objects,   // an array of at most `limit`
  Integer,   // 0 to `limit`
  Number,    // fits a float
  Numbers,   // an array of exactly `limit`
  Index,     // of an element of the array at `target`
  Indices,   // an array of them
  IndexMap,  // an object of them
};

struct Rule {
  std::string_view path;    // objects that the rule is for; "[]" goes through the elements of an array
  std::string_view member;  // of each of these objects
  Kind kind;
  bool required = false;
  uint64_t limit = 0;
  std::string_view target = {};
};

constexpr bool kRequired = true;
constexpr bool kOptional = false;
constexpr uint64_t kMaxCode = 1 << 20;  // of enumerations

constexpr std::string_view kLights = "extensions.KHR_lights_punctual.lights";

constexpr Rule kRules[] = {
    {"", "asset", Kind::Object, kRequired},
    {"asset", "version", Kind::String, kRequired},
    {"", "extensionsUsed", Kind::Strings},
    {"", "extensionsRequired", Kind::Strings},
    {"", "extensions", Kind::Object},
    {"", "scene", Kind::Index, kOptional, 0, "scenes"},

    {"", "buffers", Kind::Objects, kOptional, kMaxBuffers},
    {"buffers[]", "byteLength", Kind::Integer, kRequired, kMaxFileBytes},
    {"buffers[]", "uri", Kind::String},

    {"", "bufferViews", Kind::Objects, kOptional, kMaxAccessors},
    {"bufferViews[]", "buffer", Kind::Index, kRequired, 0, "buffers"},
    {"bufferViews[]", "byteOffset", Kind::Integer, kOptional, kMaxFileBytes},
    {"bufferViews[]", "byteLength", Kind::Integer, kRequired, kMaxFileBytes},
    {"bufferViews[]", "byteStride", Kind::Integer, kOptional, 252},

    {"", "accessors", Kind::Objects, kOptional, kMaxAccessors},
    {"accessors[]", "bufferView", Kind::Index, kOptional, 0, "bufferViews"},
    {"accessors[]", "byteOffset", Kind::Integer, kOptional, kMaxFileBytes},
    {"accessors[]", "componentType", Kind::Integer, kRequired, kMaxCode},
    {"accessors[]", "count", Kind::Integer, kRequired, kMaxAccessorElements},
    {"accessors[]", "type", Kind::String, kRequired},
    {"accessors[]", "normalized", Kind::Boolean},
    {"accessors[]", "sparse", Kind::Object},
    {"accessors[].sparse", "count", Kind::Integer, kRequired, kMaxAccessorElements},
    {"accessors[].sparse", "indices", Kind::Object, kRequired},
    {"accessors[].sparse", "values", Kind::Object, kRequired},
    {"accessors[].sparse.indices", "bufferView", Kind::Index, kRequired, 0, "bufferViews"},
    {"accessors[].sparse.indices", "byteOffset", Kind::Integer, kOptional, INT32_MAX},
    {"accessors[].sparse.indices", "componentType", Kind::Integer, kRequired, kMaxCode},
    {"accessors[].sparse.values", "bufferView", Kind::Index, kRequired, 0, "bufferViews"},
    {"accessors[].sparse.values", "byteOffset", Kind::Integer, kOptional, INT32_MAX},

    {"", "meshes", Kind::Objects, kOptional, kMaxMeshes},
    {"meshes[]", "primitives", Kind::Objects, kRequired, kMaxPrimitives},
    {"meshes[].primitives[]", "attributes", Kind::IndexMap, kRequired, 0, "accessors"},
    {"meshes[].primitives[]", "indices", Kind::Index, kOptional, 0, "accessors"},
    {"meshes[].primitives[]", "material", Kind::Index, kOptional, 0, "materials"},
    {"meshes[].primitives[]", "mode", Kind::Integer, kOptional, 6},
    {"meshes[].primitives[]", "targets", Kind::Objects, kOptional, kMaxPrimitives},

    {"", "nodes", Kind::Objects, kOptional, kMaxNodes},
    {"nodes[]", "camera", Kind::Index, kOptional, 0, "cameras"},
    {"nodes[]", "children", Kind::Indices, kOptional, 0, "nodes"},
    {"nodes[]", "mesh", Kind::Index, kOptional, 0, "meshes"},
    {"nodes[]", "skin", Kind::Index, kOptional, 0, "skins"},
    {"nodes[]", "matrix", Kind::Numbers, kOptional, 16},
    {"nodes[]", "translation", Kind::Numbers, kOptional, 3},
    {"nodes[]", "rotation", Kind::Numbers, kOptional, 4},
    {"nodes[]", "scale", Kind::Numbers, kOptional, 3},
    {"nodes[].extensions.KHR_lights_punctual", "light", Kind::Index, kRequired, 0, kLights},

    {"", "scenes", Kind::Objects, kOptional, kMaxNodes},
    {"scenes[]", "nodes", Kind::Indices, kOptional, 0, "nodes"},

    {"", "materials", Kind::Objects, kOptional, kMaxMaterials},
    {"materials[]", "pbrMetallicRoughness", Kind::Object},
    {"materials[].pbrMetallicRoughness", "baseColorFactor", Kind::Numbers, kOptional, 4},
    {"materials[].pbrMetallicRoughness", "metallicFactor", Kind::Number},
    {"materials[].pbrMetallicRoughness", "roughnessFactor", Kind::Number},
    {"materials[]", "emissiveFactor", Kind::Numbers, kOptional, 3},
    {"materials[]", "alphaMode", Kind::String},
    {"materials[]", "alphaCutoff", Kind::Number},
    {"materials[]", "doubleSided", Kind::Boolean},
    {"materials[].extensions.KHR_materials_emissive_strength", "emissiveStrength", Kind::Number},

    {"", "textures", Kind::Objects, kOptional, kMaxMaterials},
    {"textures[]", "sampler", Kind::Index, kOptional, 0, "samplers"},
    {"textures[]", "source", Kind::Index, kOptional, 0, "images"},
    {"", "samplers", Kind::Objects, kOptional, kMaxMaterials},
    {"samplers[]", "magFilter", Kind::Integer, kOptional, kMaxCode},
    {"samplers[]", "wrapS", Kind::Integer, kOptional, kMaxCode},
    {"samplers[]", "wrapT", Kind::Integer, kOptional, kMaxCode},
    {"", "images", Kind::Objects, kOptional, kMaxMaterials},
    {"images[]", "uri", Kind::String},
    {"images[]", "bufferView", Kind::Index, kOptional, 0, "bufferViews"},

    {"", "cameras", Kind::Objects, kOptional, kMaxNodes},
    {"cameras[]", "type", Kind::String, kRequired},
    {"cameras[].perspective", "yfov", Kind::Number, kRequired},
    {"cameras[].perspective", "znear", Kind::Number, kRequired},
    {"cameras[].perspective", "zfar", Kind::Number},
    {"cameras[].perspective", "aspectRatio", Kind::Number},
    {"cameras[].orthographic", "xmag", Kind::Number, kRequired},
    {"cameras[].orthographic", "ymag", Kind::Number, kRequired},
    {"cameras[].orthographic", "znear", Kind::Number, kRequired},
    {"cameras[].orthographic", "zfar", Kind::Number, kRequired},

    {"extensions.KHR_lights_punctual", "lights", Kind::Objects, kRequired, kMaxMaterials},
    {"extensions.KHR_lights_punctual.lights[]", "type", Kind::String, kRequired},
    {"extensions.KHR_lights_punctual.lights[]", "color", Kind::Numbers, kOptional, 3},
    {"extensions.KHR_lights_punctual.lights[]", "intensity", Kind::Number},
    {"extensions.KHR_lights_punctual.lights[]", "range", Kind::Number},
    {"extensions.KHR_lights_punctual.lights[].spot", "innerConeAngle", Kind::Number},
    {"extensions.KHR_lights_punctual.lights[].spot", "outerConeAngle", Kind::Number},

    {"", "animations", Kind::Objects, kOptional, kMaxNodes},
    {"", "skins", Kind::Objects, kOptional, kMaxNodes},
};

/// The uses of a texture that are read, each with the rules of kTextureRules.
constexpr std::string_view kTextureUses[] = {
    "materials[].pbrMetallicRoughness.baseColorTexture",
    "materials[].pbrMetallicRoughness.metallicRoughnessTexture",
    "materials[].emissiveTexture",
};

constexpr std::string_view kTransform = ".extensions.KHR_texture_transform";

constexpr Rule kTextureRules[] = {
    {"", "index", Kind::Index, kRequired, 0, "textures"},
    {"", "texCoord", Kind::Integer, kOptional, 1000},
    {kTransform, "offset", Kind::Numbers, kOptional, 2},
    {kTransform, "scale", Kind::Numbers, kOptional, 2},
    {kTransform, "rotation", Kind::Number},
    {kTransform, "texCoord", Kind::Integer, kOptional, 1000},
};

class Checker {
 public:
  explicit Checker(const json& root) : root_(root) {}

  void apply(const Rule& rule) {
    targetSize_ = rule.target.empty() ? 0 : sizeOf(rule.target);
    descend(root_, rule.path, rule);
  }

 private:
  struct Step {
    std::string_view name;
    size_t index = kNoIndex;
  };
  static constexpr size_t kNoIndex = SIZE_MAX;

  [[noreturn]] void fail(std::string_view member, const std::string& reason) const {
    std::string place;
    for (const Step& step : steps_) {
      place += std::string(step.name);
      if (step.index != kNoIndex) place += "[" + std::to_string(step.index) + "]";
      place += ".";
    }
    throw SceneError(place + std::string(member) + " " + reason);
  }

  size_t sizeOf(std::string_view path) const {
    const json* value = &root_;
    while (!path.empty()) {
      const size_t dot = std::min(path.find('.'), path.size());
      if (!value->is_object()) return 0;
      const auto found = value->find(std::string(path.substr(0, dot)));
      if (found == value->end()) return 0;
      value = &*found;
      path.remove_prefix(std::min(dot + 1, path.size()));
    }
    return value->is_array() ? value->size() : 0;
  }

  void descend(const json& object, std::string_view path, const Rule& rule) {
    if (path.empty()) return checkMember(object, rule);
    const size_t dot = std::min(path.find('.'), path.size());
    std::string_view name = path.substr(0, dot);
    const std::string_view rest = path.substr(std::min(dot + 1, path.size()));
    const bool elements = name.ends_with("[]");
    if (elements) name.remove_suffix(2);
    const auto found = object.find(std::string(name));
    if (found == object.end()) return;
    if (elements) return descendInto(*found, name, rest, rule);
    if (!found->is_object()) fail(name, "must be an object");
    steps_.push_back({name});
    descend(*found, rest, rule);
    steps_.pop_back();
  }

  void descendInto(const json& array, std::string_view name, std::string_view rest, const Rule& rule) {
    if (!array.is_array()) fail(name, "must be an array");
    steps_.push_back({name, 0});
    for (const json& element : array) {
      if (!element.is_object()) fail("", "must be an object");
      descend(element, rest, rule);
      ++steps_.back().index;
    }
    steps_.pop_back();
  }

  void checkMember(const json& object, const Rule& rule) const {
    const auto found = object.find(std::string(rule.member));
    if (found == object.end()) {
      if (rule.required) fail(rule.member, "is missing");
      return;
    }
    checkValue(*found, rule);
  }

  void checkValue(const json& value, const Rule& rule) const {
    switch (rule.kind) {
      case Kind::Boolean:
        return expect(value.is_boolean(), rule, "must be true or false");
      case Kind::String:
        return expect(value.is_string(), rule, "must be a string");
      case Kind::Object:
        return expect(value.is_object(), rule, "must be an object");
      case Kind::Integer:
        return checkInteger(value, rule);
      case Kind::Number:
        return checkNumber(value, rule);
      case Kind::Index:
        return checkIndex(value, rule);
      case Kind::IndexMap:
        expect(value.is_object(), rule, "must be an object");
        for (const json& element : value) checkIndex(element, rule);
        return;
      case Kind::Strings:
      case Kind::Objects:
      case Kind::Numbers:
      case Kind::Indices:
        return checkArray(value, rule);
    }
  }

  void checkArray(const json& array, const Rule& rule) const {
    expect(array.is_array(), rule, "must be an array");
    if (rule.kind == Kind::Objects && array.size() > rule.limit) {
      fail(rule.member, "has more than " + std::to_string(rule.limit) + " elements");
    }
    if (rule.kind == Kind::Numbers && array.size() != rule.limit) {
      fail(rule.member, "must have " + std::to_string(rule.limit) + " numbers");
    }
    for (const json& element : array) {
      if (rule.kind == Kind::Objects) expect(element.is_object(), rule, "must hold objects only");
      if (rule.kind == Kind::Strings) expect(element.is_string(), rule, "must hold strings only");
      if (rule.kind == Kind::Numbers) checkNumber(element, rule);
      if (rule.kind == Kind::Indices) checkIndex(element, rule);
    }
  }

  void checkInteger(const json& value, const Rule& rule) const {
    expect(value.is_number_unsigned(), rule, "must be an integer and not negative");
    if (value.get<uint64_t>() > rule.limit) {
      fail(rule.member, "is " + value.dump() + ", at most " + std::to_string(rule.limit) + " is allowed");
    }
  }

  void checkNumber(const json& value, const Rule& rule) const {
    expect(value.is_number(), rule, "must be a number");
    expect(std::abs(value.get<double>()) <= double{FLT_MAX}, rule, "is too large a number");
  }

  void checkIndex(const json& value, const Rule& rule) const {
    expect(value.is_number_unsigned(), rule, "must be an index");
    if (value.get<uint64_t>() >= targetSize_) {
      fail(rule.member, "is out of range: " + value.dump() + ", the file has " + std::to_string(targetSize_) +
                            " " + std::string(rule.target));
    }
  }

  void expect(bool holds, const Rule& rule, const char* reason) const {
    if (!holds) fail(rule.member, reason);
  }

  const json& root_;
  size_t targetSize_ = 0;
  std::vector<Step> steps_;  // where the check is, for messages
};

uint64_t integerOr(const json& object, const char* member, uint64_t fallback) {
  const auto found = object.find(member);
  return found == object.end() ? fallback : found->get<uint64_t>();
}

const json& arrayOf(const json& root, const char* member) {
  static const json kEmpty = json::array();
  const auto found = root.find(member);
  return found == root.end() ? kEmpty : *found;
}

void checkVersion(const json& root) {
  const auto version = root["asset"]["version"].get<std::string>();
  if (!version.starts_with("2."))
    throw SceneError("glTF version " + printable(version) + ", only 2.x is read");
}

/// Geometry that exists in compressed form only cannot be rendered without the extension.
void checkCompression(const json& root) {
  for (const json& name : arrayOf(root, "extensionsRequired")) {
    if (name == "KHR_draco_mesh_compression" || name == "EXT_meshopt_compression") {
      throw SceneError("the geometry is compressed with " + name.get<std::string>() +
                       ", which is not supported");
    }
  }
}

void checkBuffers(const json& root, bool binary) {
  size_t index = 0;
  for (const json& buffer : arrayOf(root, "buffers")) {
    const bool chunk = binary && index == 0;
    if (!chunk && !buffer.contains("uri"))
      throw SceneError("buffers[" + std::to_string(index) + "] has no uri");
    ++index;
  }
}

void checkUris(const json& root) {
  for (const char* kind : {"buffers", "images"}) {
    for (const json& element : arrayOf(root, kind)) {
      const auto uri = element.find("uri");
      if (uri != element.end()) ResourceReader::check(uri->get_ref<const std::string&>());
    }
  }
}

void checkBufferViews(const json& root) {
  const json& buffers = arrayOf(root, "buffers");
  size_t index = 0;
  for (const json& view : arrayOf(root, "bufferViews")) {
    const uint64_t end = integerOr(view, "byteOffset", 0) + integerOr(view, "byteLength", 0);
    const uint64_t size = integerOr(buffers[view["buffer"].get<size_t>()], "byteLength", 0);
    if (end > size) {
      throw SceneError("bufferViews[" + std::to_string(index) + "] ends at byte " + std::to_string(end) +
                       " of a buffer of " + std::to_string(size));
    }
    ++index;
  }
}

}  // namespace

void checkGltfSchema(const json& root, bool binary) {
  if (!root.is_object()) throw SceneError("not glTF: the JSON is not an object");
  Checker checker(root);
  for (const Rule& rule : kRules) checker.apply(rule);
  for (const std::string_view use : kTextureUses) {
    for (Rule rule : kTextureRules) {
      const std::string path = std::string(use) + std::string(rule.path);
      rule.path = path;
      checker.apply(rule);
    }
  }
  checkVersion(root);
  checkCompression(root);
  checkBuffers(root, binary);
  checkUris(root);
  checkBufferViews(root);
}

}  // namespace host
