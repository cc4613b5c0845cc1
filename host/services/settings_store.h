#pragma once
// Settings that survive: one JSON file in the preferences folder, a container a plug-in.

#include <functional>
#include <map>
#include <optional>
#include <string>

#include "host/services/values.h"

namespace host {

/// Thread: main. Several processes may use one file: a write takes a lock, reads the file again and replaces
/// its own container only.
class SettingsStore {
 public:
  /// `warn` is told of a file that could not be used.
  SettingsStore(std::string preferencesFolder, std::function<void(const std::string&)> warn);

  /// A copy of what is stored under a plug-in's identifier.
  std::optional<Container> load(int32_t pluginId) const;
  /// False when the file cannot be written; the settings then hold until the program ends.
  bool store(int32_t pluginId, const Container& settings);

 private:
  std::string folder_;
  std::string file_;
  std::function<void(const std::string&)> warn_;
  std::map<int32_t, Container> unsaved_;
};

}  // namespace host
