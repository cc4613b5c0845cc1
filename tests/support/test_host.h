#pragma once
// The real headless host with the real module, in a temporary folder, with everything the user would read.

#include <algorithm>

#include "host/headless/headless_host.h"
#include "host/tables/areas.h"
#include "tests/support/temp_folder.h"

namespace test {

/// Keeps what the user would read.
class RecordingView : public host::ConsoleView {
 public:
  void line(const std::string& text) override { lines.push_back(text); }
  void errorLine(const std::string& text) override { errors.push_back(text); }
  void messageBox(const std::string& text, int times) override {
    boxes.push_back(text);
    boxTimes.push_back(times);
  }
  void statusBar(int percent) override { percents.push_back(percent); }
  void statusText(const std::string& text) override { statusTexts.push_back(text); }
  void statusClear() override { ++clears; }
  void renderProgress(int percent) override { rendered.push_back(percent); }

  bool hasLine(const std::string& text) const { return std::count(lines.begin(), lines.end(), text) > 0; }
  bool hasBox(const std::string& text) const { return std::count(boxes.begin(), boxes.end(), text) > 0; }

  std::vector<std::string> lines, errors, boxes, statusTexts;
  std::vector<int> boxTimes, percents, rendered;
  int clears = 0;
};

struct TestHostOptions {
  bool interactive = false;
  bool toolsOn = true;                     ///< g_ostrakOutfitterTools
  const HostTables* tables = nullptr;      ///< decorated ones; null: the host's own
  std::filesystem::path preferences = {};  ///< empty: a folder of the test's own
  std::filesystem::path app = VESTA_TEST_APP_DIR;
};

class TestHost {
 public:
  explicit TestHost(const TestHostOptions& options = {})
      : host_({options.app.string(),
               (options.preferences.empty() ? folder_ / "prefs" : options.preferences).string(),
               options.interactive},
              view_),
        ownTables_(host::hostTables()) {
    host_.services().configuration.setFromCommandLine(std::string("g_ostrakOutfitterTools=") +
                                                      (options.toolsOn ? "true" : "false"));
    host_.loadModule(VESTA_TEST_MODULE, options.tables != nullptr ? *options.tables : ownTables_);
  }

  /// Sends a command line; answers the arguments that the module left, "" for consumed ones.
  std::vector<std::string> commandLine(const std::vector<std::string>& arguments) {
    std::vector<const char*> pointers;
    for (const std::string& argument : arguments) pointers.push_back(argument.c_str());
    host_.handleCommandLine(pointers);
    host_.services().console.flush();
    std::vector<std::string> left;
    for (const char* pointer : pointers) left.emplace_back(pointer != nullptr ? pointer : "");
    return left;
  }

  /// Runs a command with the user's answers.
  bool execute(int32_t id, host::DialogScript script = {}) {
    host_.dialogs().setScript(std::move(script));
    host::Command* command = host_.services().commands.find(id);
    const bool good = command != nullptr && command->execute();
    host_.services().console.flush();
    return good;
  }

  RecordingView& view() { return view_; }
  host::HeadlessHost& host() { return host_; }
  host::HostServices& services() { return host_.services(); }
  const TempFolder& folder() const { return folder_; }

 private:
  TempFolder folder_;
  RecordingView view_;
  host::HeadlessHost host_;
  HostTables ownTables_;
};

}  // namespace test
