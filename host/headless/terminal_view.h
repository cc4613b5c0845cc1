#pragma once
// The console of a host without windows: lines to standard output, boxes and errors to standard error, the
// status bar as one line that is drawn over and over when standard error is a terminal.

#include <chrono>
#include <string>

#include "host/services/console.h"

namespace host {

/// Main thread only.
class TerminalView : public ConsoleView {
 public:
  TerminalView();
  ~TerminalView() override { statusClear(); }

  void line(const std::string& text) override;
  void errorLine(const std::string& text) override;
  void messageBox(const std::string& text, int times) override;
  /// Shown with the text that follows.
  void statusBar(int percent) override;
  void statusText(const std::string& text) override;
  void statusClear() override;
  void renderProgress(int percent) override;

 private:
  using Clock = std::chrono::steady_clock;
  void wipe();
  void draw();

  const bool showsProgress_;
  bool drawn_ = false;
  int percent_ = -1;     ///< what the bar says: the work that goes on is counted as done
  int percentDone_ = 0;  ///< what it said before
  int rendered_ = 100;   ///< percent of the render that goes on
  std::string text_;
  Clock::time_point start_;
};

/// "1:05" or "1:02:03", for the time that is left.
std::string formatDuration(double seconds);

}  // namespace host
