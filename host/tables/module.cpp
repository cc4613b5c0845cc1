#include "host/tables/module.h"

#include <dlfcn.h>

#include <algorithm>

namespace host {

namespace fs = std::filesystem;

Module::Module(const fs::path& file, const HostTables& tables) : file_(file.string()), tables_(&tables) {
  void* library = dlopen(file_.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) throw ModuleError(dlerror());
  entry_ = reinterpret_cast<HostModuleEntry>(dlsym(library, "vesta_main"));
  if (entry_ == nullptr) throw ModuleError(file_ + ": exports no vesta_main");
  const int32_t answer = call(HOST_MODULE_ATTACH);
  if (answer != 1) throw ModuleError(file_ + ": refuses this host (" + std::to_string(answer) + ")");
}

Module::~Module() { call(HOST_MODULE_DETACH); }

void Module::start() {
  if (call(HOST_MODULE_START) == 0) throw ModuleError(file_ + ": could not start");
  HostMessageVersion version{};
  call(HOST_MODULE_MESSAGE, HOST_MESSAGE_VERSION, &version);
  HostMessageResources resources{};
  if (call(HOST_MODULE_MESSAGE, HOST_MESSAGE_RESOURCES, &resources) != 1) {
    throw ModuleError(file_ + ": its resources are missing");
  }
}

void Module::handleCommandLine(std::vector<const char*>& arguments) {
  HostCommandLine line{static_cast<int32_t>(arguments.size()), arguments.data()};
  call(HOST_MODULE_MESSAGE, HOST_MESSAGE_COMMAND_LINE, &line);
}

std::vector<fs::path> findModules(const fs::path& appFolder) {
  std::vector<fs::path> files;
  std::error_code error;
  for (const auto& folder : fs::directory_iterator(appFolder / "modules", error)) {
    std::error_code ignored;
    for (const auto& file : fs::directory_iterator(folder.path(), ignored)) {
      if (file.path().extension() == ".so" && file.is_regular_file(ignored)) files.push_back(file.path());
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace host
