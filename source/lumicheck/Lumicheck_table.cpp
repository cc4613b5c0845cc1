#include "lumicheck/Lumicheck_table.h"

#include <charconv>
#include <cmath>

namespace outfitter {
namespace {

constexpr size_t kFieldWidth = 10;

bool IsSeparator(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

// A pending row is no row to the reader, so that a reference that stopped early gives times to its first
// scenes only.
bool StartsRow(std::string_view token) {
  return token == "OK" || token == "ERROR" || token == "CREATED" || token == "SKIPPED";
}

}  // namespace

void AppendField(std::string& line, std::string_view field) {
  line += field;
  if (field.size() < kFieldWidth) line.append(kFieldWidth - field.size(), ' ');
}

std::string_view StatusWord(int32_t status) {
  constexpr std::string_view kWords[] = {"PENDING", "OK", "ERROR", "CREATED", "SKIPPED"};
  return status >= 0 && status < 5 ? kWords[status] : kWords[0];
}

double NumberOf(std::string_view text) {
  double value = 0;
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  std::from_chars(text.data(), text.data() + text.size(), value);
  return std::isfinite(value) ? value : 0;
}

bool ReferenceTimeReader::Feed(std::string_view block) {
  for (const char c : block) {
    if (IsSeparator(c)) {
      if (!EndToken()) return false;
    } else if (token_.size() < kLongestToken) {
      token_ += c;
    }
  }
  return true;
}

bool ReferenceTimeReader::EndToken() {
  if (token_.empty()) return true;
  if (timeFollows_) {
    timeFollows_ = false;
    sink_.endRow(NumberOf(token_));
  } else if (StartsRow(token_)) {
    if (!sink_.beginRow()) return false;
    timeFollows_ = true;
  }
  token_.clear();
  return true;
}

bool ReferenceTimeReader::Finish() {
  if (!EndToken()) return false;
  if (timeFollows_) sink_.endRow(0);
  timeFollows_ = false;
  return true;
}

}  // namespace outfitter
