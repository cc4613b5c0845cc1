#include "host/headless/headless_host.h"

#include "host/services/paths.h"
#include "host/tables/areas.h"
#include "host/tables/door.h"
#include "host/tables/handles.h"

namespace host {

HeadlessHost::HeadlessHost(HostOptions options, ConsoleView& view)
    : services_(std::move(options), view, dialogs_),
      scripts_({services_.options.appFolder, services_.options.preferencesFolder,
                [this](const std::string& text) {
                  services_.runLog.fileFailed();
                  services_.console.printError(text);
                }}),
      tables_(hostTables()) {
  setServices(&services_);
  setScriptLists(&scripts_);
  dialogs_.attach(&services_);
  services_.scriptNames = [this] { return scripts_.names(); };
}

HeadlessHost::~HeadlessHost() {
  // Nothing of a module may run or be told anything once it is detached.
  for (WorkerThread* thread : services_.threads) thread->end(true);
  while (!services_.openDialogs.empty()) {
    Dialog* dialog = services_.openDialogs.back();
    services_.openDialogs.pop_back();
    dialog->close(false);
    dialog->finish();
  }
  services_.commands.clear();
  while (!modules_.empty()) modules_.pop_back();
  services_.console.finish();
  const std::string alive = describeLiveHandles();
  if (!alive.empty()) services_.console.printError("a module left behind: " + alive);
  setScriptLists(nullptr);
  setServices(nullptr);
}

void HeadlessHost::attach(const std::filesystem::path& file, const HostTables& tables) {
  modules_.push_back(std::make_unique<Module>(file, tables));
}

std::vector<std::string> HeadlessHost::configure() {
  const auto warn = [this](const std::string& text) { services_.console.printError(text); };
  services_.configuration.readFile(joinPath(services_.options.appFolder, "resource/config.json"), warn);
  services_.configuration.readFile(joinPath(services_.options.preferencesFolder, "config.json"), warn);
  return services_.configuration.apply();
}

void HeadlessHost::loadModule(const std::filesystem::path& file, const HostTables& tables) {
  attach(file, tables);
  services_.configuration.apply();
  modules_.back()->start();
}

std::vector<std::string> HeadlessHost::start() {
  const std::string& appFolder = services_.options.appFolder;
  const auto files = findModules(appFolder);
  if (files.empty()) throw ModuleError("no module in " + joinPath(appFolder, "modules"));
  for (const auto& file : files) attach(file, tables_);
  std::vector<std::string> problems = configure();
  for (const auto& module : modules_) module->start();
  return problems;
}

void HeadlessHost::handleCommandLine(std::vector<const char*>& arguments) {
  for (const auto& module : modules_) module->handleCommandLine(arguments);
}

}  // namespace host
