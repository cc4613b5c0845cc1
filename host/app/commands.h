#pragma once
// What the program can be told to do, a function each. All answer the exit status.

#include <string>
#include <vector>

#include "host/app/judge.h"
#include "host/headless/headless_host.h"

namespace host {

struct ExecuteRequest {
  int32_t id = 0;
  DialogScript script;
  JudgeOptions judge;
};

/// Lists the registered commands: id, tab, name.
int listCommands(HostServices& services);
/// Lists the configuration values by name, each with what it is, its default, where it comes from and what it
/// is for; names the values in the files that nobody knows.
int listConfiguration(HostServices& services);
/// Runs one command as a user would.
int executeCommand(HeadlessHost& host, const ExecuteRequest& request);
/// Links glTF files as scenes.
int adopt(HostServices& services, const std::string& folder, const std::string& links);

}  // namespace host
