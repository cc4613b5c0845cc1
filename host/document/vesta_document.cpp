#include "host/document/vesta_document.h"

#include <algorithm>
#include <charconv>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <string_view>

#include "host/document/gltf_source.h"

namespace host {
namespace {

using nlohmann::json;

constexpr const char* kExtension = "VESTA_document";
constexpr size_t kMaxVideoPosts = 1000;

[[noreturn]] void fail(const std::string& place, const std::string& reason) {
  throw SceneError(std::string(kExtension) + ": " + place + " " + reason);
}

const json* find(const json& object, const char* member) {
  const auto found = object.find(member);
  return found == object.end() ? nullptr : &*found;
}

/// A misspelt member would otherwise silently change what a test renders.
void expectMembers(const json& object, const std::string& place,
                   std::initializer_list<std::string_view> known) {
  if (!object.is_object()) fail(place, "must be an object");
  for (auto member = object.begin(); member != object.end(); ++member) {
    const bool expected = std::find(known.begin(), known.end(), member.key()) != known.end();
    if (!expected) fail(place, "has the unknown member " + excerpt(member.key()));
  }
}

int32_t int32From(const json& value, const std::string& place) {
  if (!value.is_number_integer()) fail(place, "must be an integer");
  const bool tooLarge = value.is_number_unsigned() && value.get<uint64_t>() > uint64_t{INT32_MAX};
  if (tooLarge || value.get<int64_t>() < INT32_MIN) fail(place, "does not fit 32 bits");
  return static_cast<int32_t>(value.get<int64_t>());
}

int32_t idFrom(const std::string& key, const std::string& place) {
  int32_t id = 0;
  const auto [end, error] = std::from_chars(key.data(), key.data() + key.size(), id);
  const bool whole = error == std::errc{} && end == key.data() + key.size();
  if (!whole || std::to_string(id) != key)
    fail(place, "has the key " + excerpt(key) + ", which is no decimal id");
  return id;
}

Setting settingFrom(const std::string& key, const json& value, const std::string& place) {
  Setting setting;
  setting.id = idFrom(key, place);
  if (value.is_boolean()) {
    setting.value = value.get<bool>();
  } else if (value.is_number_integer()) {
    setting.value = int32From(value, place + " " + key);
  } else if (value.is_number_float()) {
    setting.value = value.get<double>();
  } else {
    fail(place + " " + key, "must be a number or true or false");
  }
  return setting;
}

std::vector<Setting> settingsFrom(const json* object, const std::string& place) {
  std::vector<Setting> settings;
  if (object == nullptr) return settings;
  if (!object->is_object()) fail(place, "must be an object");
  for (auto member = object->begin(); member != object->end(); ++member) {
    settings.push_back(settingFrom(member.key(), member.value(), place));
  }
  std::sort(settings.begin(), settings.end(), [](const Setting& a, const Setting& b) { return a.id < b.id; });
  return settings;
}

VideoPostRecord videoPostFrom(const json& object, const std::string& place) {
  expectMembers(object, place, {"type", "bits", "settings"});
  VideoPostRecord record;
  const json* type = find(object, "type");
  if (type == nullptr) fail(place, "has no type");
  record.type = int32From(*type, place + ".type");
  if (const json* bits = find(object, "bits")) record.bits = int32From(*bits, place + ".bits");
  record.settings = settingsFrom(find(object, "settings"), place + ".settings");
  return record;
}

std::vector<VideoPostRecord> videoPostsFrom(const json& array) {
  if (!array.is_array() || array.size() > kMaxVideoPosts)
    fail("videoPosts", "must be an array of at most 1000");
  std::vector<VideoPostRecord> records;
  for (const json& element : array) {
    records.push_back(videoPostFrom(element, "videoPosts[" + std::to_string(records.size()) + "]"));
  }
  return records;
}

}  // namespace

DocumentRecord readDocumentRecord(const json& root) {
  DocumentRecord record;
  const json* extensions = find(root, "extensions");
  const json* document = extensions == nullptr ? nullptr : find(*extensions, kExtension);
  if (document == nullptr) return record;
  expectMembers(*document, "the extension", {"fps", "startFrame", "renderSettings", "videoPosts"});
  if (const json* fps = find(*document, "fps")) {
    if (!fps->is_number() || !(fps->get<double>() > 0)) fail("fps", "must be a positive number");
    record.fps = fps->get<double>();
  }
  if (const json* frame = find(*document, "startFrame")) record.startFrame = int32From(*frame, "startFrame");
  record.renderSettings = settingsFrom(find(*document, "renderSettings"), "renderSettings");
  if (const json* posts = find(*document, "videoPosts")) record.videoPosts = videoPostsFrom(*posts);
  return record;
}

}  // namespace host
