#include "host/headless/terminal_view.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>

#include "host/services/text.h"
#include "host/services/utf8.h"

namespace host {
namespace {

size_t terminalWidth() {
  winsize size{};
  return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

/// Cut to `width` characters, in the middle, where paths are least telling.
std::string fitted(const std::string& text, size_t width) {
  const std::u16string characters = fromUtf8(text);
  if (characters.size() <= width || width < 8) return toUtf8(characters.substr(0, width));
  const size_t head = width / 2 - 2;
  const size_t tail = width - head - 3;
  return toUtf8(characters.substr(0, head)) + "..." + toUtf8(characters.substr(characters.size() - tail));
}

void writeLine(std::FILE* stream, const std::string& text) {
  const std::string shown = visible(text, "\n\t") + "\n";
  std::fwrite(shown.data(), 1, shown.size(), stream);
  std::fflush(stream);
}

}  // namespace

std::string formatDuration(double seconds) {
  const long total = std::lround(seconds);
  char text[48];
  if (total >= 3600) {
    std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", total / 3600, total / 60 % 60, total % 60);
  } else {
    std::snprintf(text, sizeof text, "%ld:%02ld", total / 60, total % 60);
  }
  return text;
}

TerminalView::TerminalView() : showsProgress_(isatty(STDERR_FILENO) == 1) {}

void TerminalView::line(const std::string& text) {
  wipe();
  writeLine(stdout, text);
  draw();
}

void TerminalView::errorLine(const std::string& text) {
  wipe();
  writeLine(stderr, text);
  draw();
}

void TerminalView::messageBox(const std::string& text, int times) {
  std::string lines = text;
  for (char& c : lines) {
    if (c == '|') c = '\n';
  }
  if (times > 1) lines += " (" + std::to_string(times) + " times)";
  errorLine(lines);
}

void TerminalView::statusBar(int percent) {
  if (percent_ < 0) start_ = Clock::now();
  percentDone_ = std::max(percent_, 0);
  percent_ = percent;
}

void TerminalView::statusText(const std::string& text) {
  text_ = text;
  draw();
}

void TerminalView::statusClear() {
  wipe();
  percent_ = -1;
  percentDone_ = 0;
  text_.clear();
}

void TerminalView::renderProgress(int percent) {
  rendered_ = percent;
  wipe();
  draw();
}

void TerminalView::wipe() {
  if (!drawn_) return;
  std::fputs("\r\x1b[K", stderr);
  std::fflush(stderr);
  drawn_ = false;
}

void TerminalView::draw() {
  if (!showsProgress_ || (percent_ < 0 && rendered_ == 100)) return;
  std::string progress = percent_ < 0 ? "" : " " + std::to_string(percent_) + "%";
  if (percentDone_ > 0 && percentDone_ < 100) {
    const std::chrono::duration<double> spent = Clock::now() - start_;
    progress += "  " + formatDuration(spent.count() * (100 - percentDone_) / percentDone_) + " left";
  }
  if (rendered_ < 100) progress += "  rendering " + std::to_string(rendered_) + "%";
  progress += "  " + visible(text_);
  std::fprintf(stderr, "\r\x1b[K%s", fitted(progress, terminalWidth() - 1).c_str());
  std::fflush(stderr);
  drawn_ = true;
}

}  // namespace host
