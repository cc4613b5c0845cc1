#pragma once
// Everything a host has, in one place: what the tables reach when the module calls.

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/services/commands.h"
#include "host/services/configuration.h"
#include "host/services/console.h"
#include "host/services/dialog.h"
#include "host/services/events.h"
#include "host/services/image.h"
#include "host/services/run_log.h"
#include "host/services/settings_store.h"
#include "host/services/threads.h"

namespace host {

/// The folders and the manner in which a host runs.
struct HostOptions {
  std::string appFolder;
  std::string preferencesFolder;
  bool interactive = false;  ///< worker threads and progress dialogs run
};

/// Made and ended on the main thread. The views must outlive it.
struct HostServices {
  HostServices(HostOptions hostOptions, ConsoleView& consoleView, DialogView& dialogView)
      : options(std::move(hostOptions)),
        console(events, consoleView),
        dialogs(dialogView),
        settings(options.preferencesFolder, [this](const std::string& text) { console.printError(text); }) {
    configuration.declareChoice("g_vestaTiffCompression", "compression of the TIFF files that are written",
                                &tiffCompressionName, {"none", "lzw", "zip"});
    configuration.declareNumber("g_vestaThreads", "threads that render; 0: one for each core", &renderThreads,
                                0, 1024);
    configuration.declareSwitch("g_vestaOutsideFiles", "scenes may name files outside their folder",
                                &outsideFiles);
  }
  HostServices(const HostServices&) = delete;
  HostServices& operator=(const HostServices&) = delete;

  TiffCompression tiffCompression() const {
    if (tiffCompressionName == "none") return TiffCompression::None;
    return tiffCompressionName == "zip" ? TiffCompression::Zip : TiffCompression::Lzw;
  }

  const HostOptions options;
  EventQueue events;
  Console console;
  DialogView& dialogs;
  SettingsStore settings;
  Configuration configuration;
  CommandRegistry commands;
  RunLog runLog;
  std::vector<WorkerThread*> threads;  ///< that modules hold
  std::vector<Dialog*> openDialogs;    ///< they receive core messages; the last one is on top

  /// The names of all scripts that the host keeps, in UTF-8; reads them when it is asked first.
  std::function<std::vector<std::string>()> scriptNames = [] { return std::vector<std::string>(); };

  std::string tiffCompressionName = "lzw";
  int32_t renderThreads = 0;
  unsigned char outsideFiles = 0;
};

}  // namespace host
