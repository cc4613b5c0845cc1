// Any bytes as a script string file: what was read and can be written is read again.
#include <cstdlib>
#include <string>

#include "host/services/text.h"
#include "localize/localize_entry.h"

namespace {

using namespace outfitter;
using host::Encoding;

void require(bool holds) {
  if (!holds) std::abort();
}

std::string written(const ParsedEntry& entry) {
  const auto quoted = [](const std::u16string& text) {
    return "\"" + host::encodeText(text, Encoding::AsciiEscaped) + "\"";
  };
  return (entry.kind == EntryKind::Name ? "Name:" : "Help:") + quoted(entry.identifier) + " " +
         quoted(entry.text);
}

/// An escape may stand for a quote, which the format cannot carry as itself.
bool canBeWritten(const ParsedEntry& entry) { return entry.good && entry.quotes == 4; }

void check(const EntryLine& line) {
  require(!line.IsEmpty() && line.Bytes().size() <= EntryLine::kLongest);
  const ParsedEntry entry = ParseEntry(host::decodeText(line.Bytes(), Encoding::Latin1Escaped));
  if (!canBeWritten(entry)) return;
  EntryLine again;
  const std::string bytes = written(entry);
  for (const char byte : bytes) require(!again.Add(byte));
  require(again.Add('\r'));
  if (again.IsTooLong()) return;
  const ParsedEntry read = ParseEntry(host::decodeText(again.Bytes(), Encoding::Latin1Escaped));
  require(read.good && read.kind == entry.kind && read.identifier == entry.identifier &&
          read.text == entry.text);
  require(written(read) == bytes);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  EntryLine line;
  for (size_t i = 0; i < size; ++i) {
    if (!line.Add(static_cast<char>(data[i]))) continue;
    check(line);
    line.Clear();
  }
  if (!line.IsEmpty()) check(line);
  return 0;
}
