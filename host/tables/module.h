#pragma once
// A plug-in library, and the life it leads in the host.

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "vesta.framework/contract/host_tables.h"

namespace host {

/// A module that cannot be used; what() says why, with its file.
class ModuleError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A loaded and attached module. Main thread only. The destructor detaches it; the library stays in memory,
/// since threads of its libraries may still end in it.
class Module {
 public:
  /// Throws ModuleError when the file is no module, or refuses this host.
  Module(const std::filesystem::path& file, const HostTables& tables);
  Module(const Module&) = delete;
  Module& operator=(const Module&) = delete;
  ~Module();

  /// Registers the module's commands and loads its resources. Throws ModuleError.
  void start();
  /// Hands over the command line; arguments that the module consumed are null afterwards.
  void handleCommandLine(std::vector<const char*>& arguments);

 private:
  int32_t call(int32_t message, intptr_t argument = 0, void* data = nullptr) const {
    return entry_(message, argument, data, tables_);
  }

  std::string file_;
  const HostTables* tables_;
  HostModuleEntry entry_ = nullptr;
};

/// The libraries below APP/modules, sorted by name.
std::vector<std::filesystem::path> findModules(const std::filesystem::path& appFolder);

}  // namespace host
