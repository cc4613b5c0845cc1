#include "host/services/console.h"

namespace host {

constexpr char kStatusLineMark = 1;

void Console::send(Event event) {
  if (std::this_thread::get_id() != mainThread_) {
    queue_.push(std::move(event));
    return;
  }
  // What other threads said before comes first.
  flush();
  show(event);
}

void Console::flush() {
  while (const auto event = queue_.takeOutput()) show(*event);
}

void Console::show(const Event& event) {
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
    case Event::Kind::MessageBox:
      showBox(event);
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
    case Event::Kind::CoreMessage:
      break;
  }
}

void Console::showBox(const Event& event) {
  int times = 1;
  // A failure that repeats with every scene must not cost the user a box a scene.
  std::vector<Event> others;
  while (auto waiting = queue_.takeOutput()) {
    if (waiting->kind == Event::Kind::MessageBox && waiting->text == event.text) {
      ++times;
    } else {
      others.push_back(std::move(*waiting));
    }
  }
  boxes_.push_back(event.text);
  view_.messageBox(event.text, times);
  for (const Event& other : others) show(other);
}

}  // namespace host
