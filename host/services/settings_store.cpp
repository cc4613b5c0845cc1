#include "host/services/settings_store.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <filesystem>

#include "host/services/container_json.h"
#include "host/services/files.h"
#include "host/services/json.h"
#include "host/services/paths.h"

namespace host {

using Json = nlohmann::json;

namespace {

/// Holds the lock file for the length of a scope; without one, writes are not kept apart, but go on.
class FileLock {
 public:
  explicit FileLock(const std::string& name)
      : descriptor_(::open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666)) {
    if (descriptor_ >= 0) flock(descriptor_, LOCK_EX);
  }
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;
  ~FileLock() {
    if (descriptor_ >= 0) ::close(descriptor_);
  }

 private:
  int descriptor_;
};

/// What the file says; an empty object when there is none. Throws when it is damaged.
Json readStore(const std::string& file) {
  if (!fileExists(file)) return Json::object();
  Json json = parseJsonText(readWholeFile(file));
  if (!json.is_object()) throw std::runtime_error("not an object");
  return json;
}

/// Renames a damaged file to the first free name of its kind; answers that name.
std::string keepAside(const std::string& file) {
  std::string name = file + ".damaged";
  for (int i = 2; std::filesystem::exists(name); ++i) name = file + ".damaged" + std::to_string(i);
  std::filesystem::rename(file, name);
  return name;
}

}  // namespace

SettingsStore::SettingsStore(std::string preferencesFolder, std::function<void(const std::string&)> warn)
    : folder_(std::move(preferencesFolder)),
      file_(joinPath(folder_, "settings.json")),
      warn_(std::move(warn)) {}

std::optional<Container> SettingsStore::load(int32_t pluginId) const {
  if (const auto unsaved = unsaved_.find(pluginId); unsaved != unsaved_.end()) return unsaved->second;
  try {
    const Json json = readStore(file_);
    const auto found = json.find(std::to_string(pluginId));
    if (found == json.end()) return std::nullopt;
    return containerFromJson(*found);
  } catch (const std::exception& error) {
    warn_("the settings in '" + file_ + "' cannot be read: " + error.what());
    return std::nullopt;
  }
}

bool SettingsStore::store(int32_t pluginId, const Container& settings) {
  try {
    std::filesystem::create_directories(folder_);
    const FileLock lock(file_ + ".lock");
    Json json = Json::object();
    try {
      json = readStore(file_);
    } catch (const std::exception&) {
      warn_("the settings file was damaged and is kept as '" + keepAside(file_) + "'");
    }
    json[std::to_string(pluginId)] = containerToJson(settings);
    writeWholeFile(file_, json.dump(2) + "\n");
    unsaved_.erase(pluginId);
    return true;
  } catch (const std::exception& error) {
    unsaved_.insert_or_assign(pluginId, settings);
    warn_("the settings cannot be saved to '" + file_ + "': " + error.what());
    return false;
  }
}

}  // namespace host
