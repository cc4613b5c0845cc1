#include "host/services/console.h"

#include <utility>

namespace host {

void Console::send(Event event) {
  if (std::this_thread::get_id() != mainThread_) {
    queue_.push(std::move(event));
    return;
  }
  // What other threads said before comes first.
  flush();
  show(event);
}

void Console::printErrorPiece(std::string_view piece) {
  constexpr size_t kLongestPart = 65536;
  std::vector<std::string> lines;
  {
    const std::lock_guard lock(pieceMutex_);
    std::string& line = pieces_[std::this_thread::get_id()];
    for (const char letter : piece) {
      if (letter != '\n') line += letter;
      if (letter == '\n' || line.size() >= kLongestPart) lines.push_back(std::exchange(line, {}));
    }
    if (line.empty()) pieces_.erase(std::this_thread::get_id());
  }
  for (std::string& line : lines) printError(std::move(line));
}

void Console::endErrorPieces() {
  flush();
  for (const auto& [thread, line] : std::exchange(pieces_, {})) view_.errorLine(line);
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
    case Event::Kind::MessageBox:
    case Event::Kind::CoreMessage:
      break;
  }
}

}  // namespace host
