#pragma once
// What the user reads: console lines, message boxes, the status bar. Threads other than the main one only
// queue; the main thread shows.

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "host/services/events.h"

namespace host {

/// Stands before a console line that is a status line; never shown.
inline constexpr char kStatusLineMark = 1;

/// In bytes: the pieces of an error line that are collected at most.
inline constexpr std::size_t kLongestErrorLine = 65536;

/// Where the user reads it: a terminal, a window, a test. Main thread only.
class ConsoleView {
 public:
  virtual ~ConsoleView() = default;
  virtual void line(const std::string& text) = 0;
  virtual void errorLine(const std::string& text) = 0;
  /// A box; `times`: how often the same text was waiting.
  virtual void messageBox(const std::string& text, int times) = 0;
  virtual void statusBar(int percent) = 0;
  virtual void statusText(const std::string& text) = 0;
  virtual void statusClear() = 0;
  /// Of the render that goes on; 100: it has ended.
  virtual void renderProgress(int percent) = 0;
};

/// Thread: any, but for flush, finish, show and the getters.
class Console {
 public:
  /// Made on the main thread. `view` must outlive it.
  Console(EventQueue& queue, ConsoleView& view) : queue_(queue), view_(view) {}

  void print(std::string text) { send({Event::Kind::ConsoleLine, 0, std::move(text), {}}); }
  void printError(std::string text) { send({Event::Kind::ErrorLine, 0, std::move(text), {}}); }
  /// A piece of an error line, which a line feed ends. The pieces of a thread are collected until then, so
  /// that no other thread's stand between them; a line of more than kLongestErrorLine bytes is shown in
  /// parts.
  void printErrorPiece(std::string_view piece);
  /// Shows what a thread that has ended left without a line feed.
  void endErrorLine(std::thread::id thread);
  void showMessage(std::string text) { send({Event::Kind::MessageBox, 0, std::move(text), {}}); }
  void statusBar(int percent) { send({Event::Kind::StatusBar, percent, {}, {}}); }
  void statusText(std::string text) { send({Event::Kind::StatusText, 0, std::move(text), {}}); }
  void statusClear() { send({Event::Kind::StatusClear, 0, {}, {}}); }
  /// `part` is 0..1, and 1 at the end of every render that told of less.
  void renderProgress(double part) {
    send({Event::Kind::RenderProgress, static_cast<int>(part * 100), {}, {}});
  }

  /// Shows everything that waits. Main thread.
  void flush();
  /// The same, with the error lines that no line feed ended: nothing more will come. Main thread.
  void finish();
  /// Shows one event that came out of the queue; a box together with what waits. Main thread.
  void show(const Event& event);

  /// Every box that was shown. Main thread.
  const std::vector<std::string>& boxes() const { return boxes_; }
  /// Every console line with the control byte of a status line, without that byte. Main thread.
  const std::vector<std::string>& statusLines() const { return statusLines_; }

 private:
  using OpenLines = std::map<std::thread::id, std::string>;

  void send(Event event);
  /// In their order, equal boxes once.
  void showAll(const std::vector<Event>& events);
  void showOne(const Event& event);

  EventQueue& queue_;
  ConsoleView& view_;
  const std::thread::id mainThread_ = std::this_thread::get_id();
  std::mutex openLinesMutex_;
  OpenLines openLines_;  ///< pieces of error lines, none of them empty
  std::vector<std::string> boxes_;
  std::vector<std::string> statusLines_;
};

}  // namespace host
