#pragma once
// A whole host without windows: services, tables, modules, from start to end.

#include <memory>
#include <string>
#include <vector>

#include "host/headless/scripted_dialogs.h"
#include "host/script/script_lists.h"
#include "host/tables/module.h"

namespace host {

/// One at a time in a process, on the main thread.
class HeadlessHost {
 public:
  /// `view` must outlive the host.
  HeadlessHost(HostOptions options, ConsoleView& view);
  HeadlessHost(const HeadlessHost&) = delete;
  HeadlessHost& operator=(const HeadlessHost&) = delete;
  /// Releases commands, detaches modules, and names on standard error what a module forgot to free.
  ~HeadlessHost();

  HostServices& services() { return services_; }
  ScriptedDialogs& dialogs() { return dialogs_; }
  ScriptLists& scripts() { return scripts_; }

  /// Loads and starts one module; `tables` are the host's own, or a decorated copy that outlives the host.
  /// Throws ModuleError.
  void loadModule(const std::filesystem::path& file, const HostTables& tables);
  /// Reads the configuration files and starts every module of the application folder. Throws ModuleError.
  /// Answers what is wrong with the configuration.
  std::vector<std::string> start();
  /// Hands the arguments to the modules; what they consumed is null afterwards.
  void handleCommandLine(std::vector<const char*>& arguments);

 private:
  void attach(const std::filesystem::path& file, const HostTables& tables);
  std::vector<std::string> configure();

  ScriptedDialogs dialogs_;
  HostServices services_;
  ScriptLists scripts_;
  HostTables tables_;
  std::vector<std::unique_ptr<Module>> modules_;
};

}  // namespace host
