#include "host/document/gltf_schema.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "host/document/gltf_rules.h"
#include "host/document/gltf_source.h"
#include "host/document/scene.h"

namespace host {
namespace {

using nlohmann::json;

class Checker {
 public:
  explicit Checker(const json& root) : root_(root) {}

  void apply(const SchemaRule& rule) {
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

  void descend(const json& object, std::string_view path, const SchemaRule& rule) {
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

  void descendInto(const json& array, std::string_view name, std::string_view rest, const SchemaRule& rule) {
    if (!array.is_array()) fail(name, "must be an array");
    steps_.push_back({name, 0});
    for (const json& element : array) {
      if (!element.is_object()) fail("", "must be an object");
      descend(element, rest, rule);
      ++steps_.back().index;
    }
    steps_.pop_back();
  }

  void checkMember(const json& object, const SchemaRule& rule) const {
    const auto found = object.find(std::string(rule.member));
    if (found == object.end()) {
      if (rule.required) fail(rule.member, "is missing");
      return;
    }
    checkValue(*found, rule);
  }

  void checkValue(const json& value, const SchemaRule& rule) const {
    switch (rule.kind) {
      case RuleKind::Boolean:
        return expect(value.is_boolean(), rule, "must be true or false");
      case RuleKind::String:
        return expect(value.is_string(), rule, "must be a string");
      case RuleKind::Object:
        return expect(value.is_object(), rule, "must be an object");
      case RuleKind::Integer:
        return checkInteger(value, rule);
      case RuleKind::Number:
        return checkNumber(value, rule);
      case RuleKind::Index:
        return checkIndex(value, rule);
      case RuleKind::IndexMap:
        return checkIndexMap(value, rule);
      case RuleKind::Strings:
      case RuleKind::IndexMaps:
      case RuleKind::Objects:
      case RuleKind::Numbers:
      case RuleKind::Indices:
        return checkArray(value, rule);
    }
  }

  void checkIndexMap(const json& object, const SchemaRule& rule) const {
    expect(object.is_object(), rule, "must be an object");
    for (const json& element : object) checkIndex(element, rule);
  }

  void checkArray(const json& array, const SchemaRule& rule) const {
    expect(array.is_array(), rule, "must be an array");
    const bool limited = rule.kind == RuleKind::Objects || rule.kind == RuleKind::IndexMaps;
    if (limited && array.size() > rule.limit) {
      fail(rule.member, "has more than " + std::to_string(rule.limit) + " elements");
    }
    if (rule.kind == RuleKind::Numbers && rule.limit != 0 && array.size() != rule.limit) {
      fail(rule.member, "must have " + std::to_string(rule.limit) + " numbers");
    }
    for (const json& element : array) {
      if (rule.kind == RuleKind::Objects) expect(element.is_object(), rule, "must hold objects only");
      if (rule.kind == RuleKind::Strings) expect(element.is_string(), rule, "must hold strings only");
      if (rule.kind == RuleKind::Numbers) checkNumber(element, rule);
      if (rule.kind == RuleKind::Indices) checkIndex(element, rule);
      if (rule.kind == RuleKind::IndexMaps) checkIndexMap(element, rule);
    }
  }

  void checkInteger(const json& value, const SchemaRule& rule) const {
    expect(value.is_number_unsigned(), rule, "must be an integer and not negative");
    if (value.get<uint64_t>() > rule.limit) {
      fail(rule.member, "is " + value.dump() + ", at most " + std::to_string(rule.limit) + " is allowed");
    }
  }

  void checkNumber(const json& value, const SchemaRule& rule) const {
    expect(value.is_number(), rule, "must be a number");
    expect(std::abs(value.get<double>()) <= double{FLT_MAX}, rule, "is too large a number");
  }

  void checkIndex(const json& value, const SchemaRule& rule) const {
    expect(value.is_number_unsigned(), rule, "must be an index");
    if (value.get<uint64_t>() >= targetSize_) {
      fail(rule.member, "is out of range: " + value.dump() + ", the file has " + std::to_string(targetSize_) +
                            " " + std::string(rule.target));
    }
  }

  void expect(bool holds, const SchemaRule& rule, const char* reason) const {
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
  if (!version.starts_with("2.")) throw SceneError("glTF version " + excerpt(version) + ", only 2.x is read");
  const auto least = root["asset"].find("minVersion");
  if (least == root["asset"].end() || *least == "2.0") return;
  throw SceneError("it needs glTF version " + excerpt(least->get_ref<const std::string&>()) +
                   ", 2.0 is known");
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

void checkUris(const json& root, const ResourceReader& resources) {
  for (const char* kind : {"buffers", "images"}) {
    for (const json& element : arrayOf(root, kind)) {
      const auto uri = element.find("uri");
      if (uri != element.end()) resources.check(uri->get_ref<const std::string&>());
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

void checkGltfSchema(const json& root, bool binary, const ResourceReader& resources) {
  if (!root.is_object()) throw SceneError("not glTF: the JSON is not an object");
  Checker checker(root);
  for (const SchemaRule& rule : kSchemaRules) checker.apply(rule);
  for (const std::string_view use : kTextureUses) {
    for (SchemaRule rule : kTextureRules) {
      const std::string path = std::string(use) + std::string(rule.path);
      rule.path = path;
      checker.apply(rule);
    }
  }
  checkVersion(root);
  checkCompression(root);
  checkBuffers(root, binary);
  checkUris(root, resources);
  checkBufferViews(root);
}

}  // namespace host
