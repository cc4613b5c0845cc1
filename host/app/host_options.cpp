#include "host/app/host_options.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

#include "host/services/paths.h"

namespace host {
namespace {

std::string defaultPreferencesFolder() {
  if (const char* config = std::getenv("XDG_CONFIG_HOME"); config != nullptr && config[0] == '/') {
    return joinPath(normalPath(config), "vesta");
  }
  const char* home = std::getenv("HOME");
  const passwd* user = home == nullptr || home[0] == '\0' ? getpwuid(getuid()) : nullptr;
  if (user != nullptr) home = user->pw_dir;
  if (home == nullptr || home[0] != '/') throw UsageError("no home folder is known: please give --prefs-dir");
  return joinPath(normalPath(home), ".config/vesta");
}

}  // namespace

HostInvocation readHostOptions(const std::vector<std::string>& arguments) {
  HostInvocation invocation;
  size_t next = 0;
  const auto valueOf = [&](const std::string& option) {
    if (next + 1 >= arguments.size()) throw UsageError("missing value for " + option);
    return arguments[++next];
  };
  for (; next < arguments.size(); ++next) {
    const std::string& option = arguments[next];
    if (option == "--app-dir") {
      invocation.options.appFolder = normalPath(valueOf(option));
    } else if (option == "--prefs-dir") {
      invocation.options.preferencesFolder = normalPath(valueOf(option));
    } else if (option == "-g") {
      invocation.configuration.push_back(valueOf(option));
    } else if (option == "--interactive") {
      invocation.options.interactive = true;
    } else if (option == "--version") {
      invocation.showVersion = true;
    } else {
      break;
    }
  }
  invocation.rest.assign(arguments.begin() + static_cast<std::ptrdiff_t>(next), arguments.end());
  if (!invocation.options.appFolder.empty() && !folderExists(invocation.options.appFolder)) {
    throw UsageError("there is no application folder '" + invocation.options.appFolder + "'");
  }
  if (invocation.options.appFolder.empty()) invocation.options.appFolder = installedAppFolder().string();
  if (invocation.options.preferencesFolder.empty())
    invocation.options.preferencesFolder = defaultPreferencesFolder();
  return invocation;
}

}  // namespace host
