#include "host/report/runrecord.h"

#include <nlohmann/json.hpp>
#include <unordered_set>

#include "host/services/json.h"
#include "host/services/jsonbytes.h"

namespace host {

namespace fs = std::filesystem;
using nlohmann::json;  // for reading: its lookup stays fast in an object with a million names
using nlohmann::ordered_json;

namespace {

constexpr std::size_t kLargestRecord = std::size_t{1} << 26;

ordered_json toJson(const SceneTimes& times) {
  ordered_json json = {{"scene", bytesToJson(times.scene)},
                       {"loadMs", times.loadMs},
                       {"renderMs", times.renderMs},
                       {"saveMs", times.saveMs}};
  if (!times.failure.empty()) json["failure"] = bytesToJson(times.failure);
  return json;
}

/// Takes named fields out of a JSON object; `place` begins the name of a field in errors.
class ObjectReader {
 public:
  ObjectReader(const json& object, std::string place) : object_(object), place_(std::move(place)) {
    if (!object.is_object())
      throw ReportError((place_.empty() ? "the record" : place_) + " is not an object");
  }

  void take(const char* name, std::string& value) const {
    if (const json* field = find(name)) value = bytes(*field, name);
  }
  void take(const char* name, double& value) const {
    if (const json* field = find(name)) value = number(*field, name);
  }
  void take(const char* name, int& value) const {
    const json* field = find(name);
    if (!field) return;
    const double wide = number(*field, name);
    if (!(wide >= -1e9 && wide <= 1e9)) fail(name, "out of range");
    value = static_cast<int>(wide);
  }
  void take(const char* name, std::vector<std::string>& values) const {
    for (const json& element : list(name)) values.push_back(bytes(element, name));
  }

  /// The elements of a list; none when it is missing.
  const json& list(const char* name) const {
    static const json none = json::array();
    const json* field = find(name);
    if (!field) return none;
    if (!field->is_array()) fail(name, "not a list");
    return *field;
  }

 private:
  [[noreturn]] void fail(const char* name, const std::string& reason) const {
    throw ReportError((place_.empty() ? "" : place_ + ", ") + "field \"" + name + "\": " + reason);
  }

  const json* find(const char* name) const {
    const auto field = object_.find(name);
    return field == object_.end() ? nullptr : &*field;
  }

  std::string bytes(const json& value, const char* name) const {
    try {
      return bytesFromJson(value);
    } catch (const std::runtime_error& error) {
      fail(name, error.what());
    }
  }

  double number(const json& value, const char* name) const {
    if (!value.is_number()) fail(name, "not a number");
    return value.get<double>();
  }

  const json& object_;
  std::string place_;
};

json parseJson(const std::string& text) {
  try {
    return parseJsonText(text);
  } catch (const std::runtime_error& error) {
    throw ReportError(error.what());
  }
}

}  // namespace

RunRecord continued(const RunRecord& earlier, RunRecord now) {
  std::unordered_set<std::string> again;
  for (const SceneTimes& times : now.scenes) again.insert(times.scene);
  std::vector<SceneTimes> scenes;
  for (const SceneTimes& times : earlier.scenes) {
    if (again.count(times.scene) == 0) scenes.push_back(times);
  }
  scenes.insert(scenes.end(), now.scenes.begin(), now.scenes.end());
  now.scenes = std::move(scenes);
  now.started = earlier.started;
  now.referenceFolder = earlier.referenceFolder;
  now.totalMs += earlier.totalMs;
  return now;
}

std::string runRecordText(const RunRecord& record) {
  ordered_json text = {{"scenesFolder", bytesToJson(record.scenesFolder)},
                       {"referenceFolder", bytesToJson(record.referenceFolder)},
                       {"hostVersion", record.hostVersion},
                       {"programVersion", record.programVersion},
                       {"facts", record.facts},
                       {"threads", record.threads},
                       {"started", record.started},
                       {"totalMs", record.totalMs},
                       {"scenes", ordered_json::array()}};
  for (const SceneTimes& times : record.scenes) text["scenes"].push_back(toJson(times));
  return jsonText(text);
}

RunRecord parseRunRecord(const std::string& text) {
  const json root = parseJson(text);
  const ObjectReader reader(root, "");
  RunRecord record;
  reader.take("scenesFolder", record.scenesFolder);
  reader.take("referenceFolder", record.referenceFolder);
  reader.take("hostVersion", record.hostVersion);
  reader.take("programVersion", record.programVersion);
  reader.take("facts", record.facts);
  reader.take("threads", record.threads);
  reader.take("started", record.started);
  reader.take("totalMs", record.totalMs);
  for (const json& element : reader.list("scenes")) {
    const ObjectReader scene(element, "scene " + std::to_string(record.scenes.size() + 1));
    SceneTimes& times = record.scenes.emplace_back();
    scene.take("scene", times.scene);
    scene.take("loadMs", times.loadMs);
    scene.take("renderMs", times.renderMs);
    scene.take("saveMs", times.saveMs);
    scene.take("failure", times.failure);
  }
  return record;
}

void writeRunRecord(const fs::path& folder, const RunRecord& record) {
  writeTextFile(folder / kRunRecordName, runRecordText(record));
}

std::optional<RunRecord> readRunRecord(const fs::path& folder) {
  const fs::path file = folder / kRunRecordName;
  std::error_code error;
  if (fs::status(file, error).type() == fs::file_type::not_found) return std::nullopt;
  const std::string text = readTextFile(file, kLargestRecord);
  try {
    return parseRunRecord(text);
  } catch (const ReportError& problem) {
    throw ReportError(file.string() + ": " + problem.what());
  }
}

}  // namespace host
