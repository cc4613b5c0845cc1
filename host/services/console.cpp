#include "host/services/console.h"

#include <algorithm>
#include <utility>

#include "host/services/work_notes.h"

namespace host {
namespace {

/// More threads than that do not work at once; they are such that ended in the middle of a line.
constexpr std::size_t kMostOpenLines = 64;

/// Appends a piece to the open line; answers the lines that it ended or that became too long.
std::vector<std::string> takeLines(std::string& open, std::string_view piece) {
  std::vector<std::string> lines;
  while (!piece.empty()) {
    const std::size_t room = kLongestErrorLine - open.size();
    const std::size_t count = std::min({piece.find('\n'), piece.size(), room});
    open += piece.substr(0, count);
    piece.remove_prefix(count);
    if (piece.empty()) break;
    if (piece.front() == '\n') piece.remove_prefix(1);
    lines.push_back(std::exchange(open, {}));
  }
  return lines;
}

/// What waits for the main thread would otherwise be missing when a worker crashes.
void noteEvent(const Event& event) {
  const bool marked = !event.text.empty() && event.text[0] == kStatusLineMark;
  switch (event.kind) {
    case Event::Kind::ConsoleLine:
    case Event::Kind::ErrorLine:
    case Event::Kind::MessageBox:
      noteLine(std::string_view(event.text).substr(marked ? 1 : 0));
      break;
    case Event::Kind::StatusBar:
    case Event::Kind::StatusText:
    case Event::Kind::StatusClear:
    case Event::Kind::RenderProgress:
    case Event::Kind::CoreMessage:
      break;
  }
}

}  // namespace

void Console::send(Event event) {
  noteEvent(event);
  if (std::this_thread::get_id() != mainThread_) {
    queue_.push(std::move(event));
    return;
  }
  // What other threads said before comes first.
  flush();
  show(event);
}

void Console::printErrorPiece(std::string_view piece) {
  const std::thread::id self = std::this_thread::get_id();
  OpenLines abandoned;
  std::vector<std::string> lines;
  {
    const std::lock_guard lock(openLinesMutex_);
    if (openLines_.size() >= kMostOpenLines && openLines_.count(self) == 0) abandoned.swap(openLines_);
    std::string& open = openLines_[self];
    lines = takeLines(open, piece);
    if (open.empty()) openLines_.erase(self);
  }
  for (auto& [thread, line] : abandoned) printError(std::move(line));
  for (std::string& line : lines) printError(std::move(line));
}

void Console::endErrorLine(std::thread::id thread) {
  OpenLines::node_type open;
  {
    const std::lock_guard lock(openLinesMutex_);
    open = openLines_.extract(thread);
  }
  if (open) printError(std::move(open.mapped()));
}

void Console::finish() {
  flush();
  OpenLines open;
  {
    const std::lock_guard lock(openLinesMutex_);
    open.swap(openLines_);
  }
  for (auto& [thread, line] : open) printError(std::move(line));
}

void Console::flush() {
  std::vector<Event> waiting;
  while (auto event = queue_.takeOutput()) waiting.push_back(std::move(*event));
  showAll(waiting);
}

void Console::show(const Event& event) {
  std::vector<Event> waiting = {event};
  // A failure that repeats with every scene must not cost the user a box a scene.
  if (event.kind == Event::Kind::MessageBox) {
    while (auto other = queue_.takeOutput()) waiting.push_back(std::move(*other));
  }
  showAll(waiting);
}

void Console::showAll(const std::vector<Event>& events) {
  std::map<std::string, int> boxes;
  for (const Event& event : events) {
    if (event.kind == Event::Kind::MessageBox) ++boxes[event.text];
  }
  for (const Event& event : events) {
    if (event.kind != Event::Kind::MessageBox) {
      showOne(event);
    } else if (const auto box = boxes.extract(event.text)) {
      boxes_.push_back(event.text);
      view_.messageBox(event.text, box.mapped());
    }
  }
}

void Console::showOne(const Event& event) {
  switch (event.kind) {
    case Event::Kind::ConsoleLine:
      if (!event.text.empty() && event.text[0] == kStatusLineMark) {
        statusLines_.push_back(event.text.substr(1));
        view_.line(statusLines_.back());
      } else {
        view_.line(event.text);
      }
      break;
    case Event::Kind::ErrorLine:
      view_.errorLine(event.text);
      break;
    case Event::Kind::StatusBar:
      view_.statusBar(event.number);
      break;
    case Event::Kind::StatusText:
      view_.statusText(event.text);
      break;
    case Event::Kind::StatusClear:
      view_.statusClear();
      break;
    case Event::Kind::RenderProgress:
      view_.renderProgress(event.number);
      break;
    case Event::Kind::MessageBox:
    case Event::Kind::CoreMessage:
      break;
  }
}

}  // namespace host
