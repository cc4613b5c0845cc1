#include "host/script/diagnostics.h"

namespace host {
namespace {

constexpr int kMostOfAKind = 20;

std::string more(int count, const char* noun) {
  return std::to_string(count) + " more " + noun + (count == 1 ? "" : "s");
}

}  // namespace

std::string describe(const Diagnostic& diagnostic) {
  std::string line = diagnostic.file + ":";
  if (diagnostic.row > 0) {
    line += std::to_string(diagnostic.row);
    line += ":";
    line += std::to_string(diagnostic.column);
    line += ":";
  }
  line += diagnostic.kind == Diagnostic::Kind::Error ? " error: " : " warning: ";
  return line + diagnostic.text;
}

void Diagnostics::add(Diagnostic diagnostic) {
  int& count = diagnostic.kind == Diagnostic::Kind::Error ? errors_ : warnings_;
  if (++count <= kMostOfAKind) kept_.push_back(std::move(diagnostic));
}

std::vector<std::string> Diagnostics::lines() const {
  std::vector<std::string> all;
  all.reserve(kept_.size() + 2);
  for (const Diagnostic& diagnostic : kept_) all.push_back(describe(diagnostic));
  if (errors_ > kMostOfAKind) all.push_back(more(errors_ - kMostOfAKind, "error"));
  if (warnings_ > kMostOfAKind) all.push_back(more(warnings_ - kMostOfAKind, "warning"));
  return all;
}

}  // namespace host
