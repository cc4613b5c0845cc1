#include "localize/localize_entry.h"

namespace outfitter {
namespace {

constexpr std::size_t kTagLength = 5;

bool IsBlank(char16_t c) { return c == u' ' || c == u'\t'; }

}  // namespace

bool EntryLine::Add(char byte) {
  if (byte == '\n' || byte == '\r') {
    afterBackslash_ = false;
    return !bytes_.empty();
  }
  if (afterBackslash_ && byte == 'U') byte = 'u';
  afterBackslash_ = byte == '\\';
  if (bytes_.size() < kLongest) {
    bytes_ += byte;
  } else {
    isTooLong_ = true;
  }
  return false;
}

void EntryLine::Clear() {
  bytes_.clear();
  afterBackslash_ = false;
  isTooLong_ = false;
}

ParsedEntry ParseEntry(std::u16string_view line) {
  ParsedEntry entry;
  const std::u16string_view tag = line.substr(0, kTagLength);
  if (tag != u"Name:" && tag != u"Help:") return entry;
  entry.kind = tag == u"Name:" ? EntryKind::Name : EntryKind::Help;
  for (std::size_t i = kTagLength; i < line.size(); ++i) {
    if (line[i] == u'"') {
      ++entry.quotes;
      if (entry.quotes == 1) entry.identifierStart = i + 1;
      if (entry.quotes == 3) entry.textStart = i + 1;
    } else if (entry.quotes == 1) {
      entry.identifier += line[i];
    } else if (entry.quotes == 3) {
      entry.text += line[i];
    } else if (!IsBlank(line[i])) {
      entry.column = i;
      return entry;
    }
  }
  entry.good = true;
  return entry;
}

}  // namespace outfitter
