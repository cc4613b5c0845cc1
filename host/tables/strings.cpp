// Host strings.
#include "host/services/text.h"
#include "host/tables/areas.h"
#include "host/tables/door.h"
#include "host/tables/handles.h"

namespace host {
namespace {

static_assert(static_cast<int32_t>(Encoding::Latin1Escaped) == HOST_ENCODING_LATIN1_ESCAPED);
static_assert(static_cast<int32_t>(Encoding::Utf8) == HOST_ENCODING_UTF8);
static_assert(static_cast<int32_t>(Encoding::Bytes) == HOST_ENCODING_BYTES);
static_assert(static_cast<int32_t>(Encoding::AsciiEscaped) == HOST_ENCODING_ASCII_ESCAPED);

/// Cuts a range to what is there. False when `start` lies outside.
bool cutRange(size_t length, int32_t start, uint32_t& count) {
  if (start < 0 || static_cast<size_t>(start) > length) return false;
  count = static_cast<uint32_t>(std::min<size_t>(count, length - static_cast<size_t>(start)));
  return true;
}

HostBool setDigits(HostString* destination, const std::string& digits) {
  destination->text.assign(digits.begin(), digits.end());
  return 1;
}

HostString* StringInit() { return new HostString; }

void StringFree(HostString* string) { delete string; }

HostBool StringFromCString(HostString* string, const char* text, uint32_t length, int32_t encoding) {
  const auto known = encodingOf(encoding);
  if (!known) return 0;
  string->text =
      decodeText(length == HOST_ALL ? std::string_view(text) : std::string_view(text, length), *known);
  return 1;
}

HostBool StringFromChars(HostString* string, int32_t count, uint16_t code) {
  if (count < 0) return 0;
  string->text.assign(static_cast<size_t>(count), static_cast<char16_t>(code));
  return 1;
}

HostBool StringCopy(const HostString* source, HostString* destination) {
  destination->text = source->text;
  return 1;
}

int32_t StringLength(const HostString* string) { return static_cast<int32_t>(string->text.size()); }

uint16_t StringCharAt(const HostString* string, int32_t position) {
  if (position < 0 || static_cast<size_t>(position) >= string->text.size()) return 0;
  return string->text[static_cast<size_t>(position)];
}

HostBool StringSub(const HostString* string, HostString* destination, int32_t start, uint32_t count) {
  if (!cutRange(string->text.size(), start, count)) return 0;
  destination->text = string->text.substr(static_cast<size_t>(start), count);
  return 1;
}

HostBool StringInsert(HostString* string, int32_t position, const HostString* insert, int32_t start,
                      uint32_t count) {
  if (position < 0 || static_cast<size_t>(position) > string->text.size()) return 0;
  if (!cutRange(insert->text.size(), start, count)) return 0;
  string->text.insert(static_cast<size_t>(position),
                      std::u16string(insert->text, static_cast<size_t>(start), count));
  return 1;
}

HostBool StringDelete(HostString* string, int32_t start, uint32_t count) {
  if (!cutRange(string->text.size(), start, count)) return 0;
  string->text.erase(static_cast<size_t>(start), count);
  return 1;
}

int32_t StringCompare(const HostString* first, const HostString* second) {
  return first->text.compare(second->text);
}

int32_t StringFind(const HostString* string, const HostString* part, int32_t start) {
  const size_t found =
      start < 0 ? std::u16string::npos : string->text.find(part->text, static_cast<size_t>(start));
  return found == std::u16string::npos ? -1 : static_cast<int32_t>(found);
}

int32_t StringFindChar(const HostString* string, uint16_t code, int32_t start) {
  const size_t found = start < 0 ? std::u16string::npos
                                 : string->text.find(static_cast<char16_t>(code), static_cast<size_t>(start));
  return found == std::u16string::npos ? -1 : static_cast<int32_t>(found);
}

HostBool StringFromInt(HostString* destination, int32_t value) {
  return setDigits(destination, std::to_string(value));
}

HostBool StringFromReal(HostString* destination, double value, int32_t before, int32_t after) {
  return setDigits(destination, formatReal(value, before, after));
}

int32_t StringToCStringLength(const HostString* string, int32_t encoding) {
  const auto known = encodingOf(encoding);
  return known ? static_cast<int32_t>(encodeText(string->text, *known).size()) : 0;
}

int32_t StringToCString(const HostString* string, char* buffer, int32_t size, int32_t encoding) {
  const auto known = encodingOf(encoding);
  if (!known || size < 1) return -1;
  const std::string bytes = encodeText(string->text, *known);
  const size_t count = std::min(bytes.size(), static_cast<size_t>(size) - 1);
  bytes.copy(buffer, count);
  buffer[count] = '\0';
  return static_cast<int32_t>(count);
}

}  // namespace

const HostStringsTable& stringsTable() {
#include "vesta.framework/contract/tagged_words.h"
#define HOST_SLOT VESTA_DOOR
  static constexpr HostStringsTable kTable = {
      sizeof(HostStringsTable),
#include "vesta.framework/contract/string_slots.inc"
  };
#undef HOST_SLOT
#include "vesta.framework/contract/no_words.h"
  return kTable;
}

}  // namespace host
