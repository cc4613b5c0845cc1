#pragma once
// What the user reads: console lines, message boxes, the status bar. Threads other than the main one only
// queue; the main thread shows.

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "host/services/events.h"

namespace host {

/// Stands before a console line that is a status line; never shown.
inline constexpr char kStatusLineMark = 1;

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
};

/// Thread: any, but for flush, show and the getters.
class Console {
 public:
  /// Made on the main thread. `view` must outlive it.
  Console(EventQueue& queue, ConsoleView& view) : queue_(queue), view_(view) {}

  void print(std::string text) { send({Event::Kind::ConsoleLine, 0, std::move(text), {}}); }
  void printError(std::string text) { send({Event::Kind::ErrorLine, 0, std::move(text), {}}); }
  /// A piece of an error line, which ends with a line feed. Pieces of one thread make its lines; lines of
  /// many threads do not mix. One of more than 64 KiB is shown in parts.
  void printErrorPiece(std::string_view piece);
  void showMessage(std::string text) { send({Event::Kind::MessageBox, 0, std::move(text), {}}); }
  void statusBar(int percent) { send({Event::Kind::StatusBar, percent, {}, {}}); }
  void statusText(std::string text) { send({Event::Kind::StatusText, 0, std::move(text), {}}); }
  void statusClear() { send({Event::Kind::StatusClear, 0, {}, {}}); }

  /// Shows everything that waits. Main thread.
  void flush();
  /// Shows the lines that nobody has ended, when nobody will any more. Main thread.
  void endErrorPieces();
  /// Shows one event that came out of the queue; a box together with what waits. Main thread.
  void show(const Event& event);

  /// Every box that was shown. Main thread.
  const std::vector<std::string>& boxes() const { return boxes_; }
  /// Every console line with the control byte of a status line, without that byte. Main thread.
  const std::vector<std::string>& statusLines() const { return statusLines_; }

 private:
  void send(Event event);
  /// In their order, equal boxes once.
  void showAll(const std::vector<Event>& events);
  void showOne(const Event& event);

  EventQueue& queue_;
  ConsoleView& view_;
  const std::thread::id mainThread_ = std::this_thread::get_id();
  std::vector<std::string> boxes_;
  std::vector<std::string> statusLines_;
  std::mutex pieceMutex_;
  std::map<std::thread::id, std::string> pieces_;  ///< of each thread, its line that has not ended
};

}  // namespace host
