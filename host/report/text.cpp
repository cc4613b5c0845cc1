#include "host/report/text.h"

#include <locale.h>

#include <array>
#include <cstdarg>
#include <cstdint>
#include <cstdio>

namespace host {

namespace {

struct LeadByte {
  std::size_t length;  // of the whole character; 0: cannot start one
  char32_t bits;       // of the lead byte itself
  char32_t smallest;   // below it the same character has a shorter form
};

LeadByte leadByte(uint8_t byte) {
  if (byte < 0x80) return {1, byte, 0};
  if (byte >= 0xC0 && byte < 0xE0) return {2, byte & 0x1FU, 0x80};
  if (byte >= 0xE0 && byte < 0xF0) return {3, byte & 0x0FU, 0x800};
  if (byte >= 0xF0 && byte < 0xF8) return {4, byte & 0x07U, 0x10000};
  return {0, 0, 0};
}

bool isCharacter(char32_t value) { return value <= 0x10FFFF && (value < 0xD800 || value > 0xDFFF); }

bool steersTerminal(char32_t value) {
  return value < 0x20 || (value >= 0x7F && value <= 0x9F) ||  // C0, delete, C1
         value == 0x200E || value == 0x200F || value == 0x061C ||
         (value >= 0x2028 && value <= 0x202E) ||  // separators, embeddings, overrides
         (value >= 0x2066 && value <= 0x2069);    // isolates
}

bool xmlCarries(const CodePoint& c) {
  return c.valid && (c.value >= 0x20 || c.value == '\t' || c.value == '\n' || c.value == '\r') &&
         c.value != 0xFFFE && c.value != 0xFFFF;
}

/// The C locale for this thread while it lives: a desktop toolkit may have set one with decimal commas.
class CLocale {
 public:
  CLocale() : before_(uselocale(plain())) {}
  ~CLocale() { uselocale(before_); }
  CLocale(const CLocale&) = delete;
  CLocale& operator=(const CLocale&) = delete;

 private:
  static locale_t plain() {
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
    return locale;
  }
  locale_t before_;
};

/// What stands for a character in XML text; nullptr: the character itself.
const char* xmlReference(char32_t value) {
  switch (value) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '"':
      return "&quot;";
    case '\'':
      return "&apos;";
    case '\t':
      return "&#9;";
    case '\n':
      return "&#10;";
    case '\r':
      return "&#13;";
    default:
      return nullptr;
  }
}

}  // namespace

CodePoint decodeUtf8(std::string_view text, std::size_t position) {
  const auto byteAt = [&](std::size_t i) { return static_cast<uint8_t>(text[i]); };
  const CodePoint invalid{byteAt(position), 1, false};
  const LeadByte lead = leadByte(byteAt(position));
  if (lead.length == 0 || lead.length > text.size() - position) return invalid;
  char32_t value = lead.bits;
  for (std::size_t i = 1; i < lead.length; ++i) {
    const uint8_t byte = byteAt(position + i);
    if ((byte & 0xC0) != 0x80) return invalid;
    value = value << 6 | (byte & 0x3FU);
  }
  if (value < lead.smallest || !isCharacter(value)) return invalid;
  return {value, lead.length, true};
}

bool isUtf8(std::string_view text) {
  for (std::size_t i = 0; i < text.size();) {
    const CodePoint c = decodeUtf8(text, i);
    if (!c.valid) return false;
    i += c.length;
  }
  return true;
}

std::string visible(std::string_view text) {
  std::string shown;
  for (std::size_t i = 0; i < text.size();) {
    const CodePoint c = decodeUtf8(text, i);
    if (!c.valid || c.value < 0x20 || c.value == 0x7F) {
      shown += formatted("\\x%02x", static_cast<unsigned>(c.value));
    } else if (steersTerminal(c.value)) {
      shown += formatted("\\u{%x}", static_cast<unsigned>(c.value));
    } else {
      shown += text.substr(i, c.length);
    }
    i += c.length;
  }
  return shown;
}

std::string xmlEscaped(std::string_view text) {
  std::string escaped;
  for (std::size_t i = 0; i < text.size();) {
    const CodePoint c = decodeUtf8(text, i);
    if (!xmlCarries(c)) {
      escaped += "\xEF\xBF\xBD";
    } else if (const char* reference = xmlReference(c.value)) {
      escaped += reference;
    } else {
      escaped += text.substr(i, c.length);
    }
    i += c.length;
  }
  return escaped;
}

std::string formatted(const char* format, ...) {
  const CLocale plain;
  std::array<char, 512> buffer;
  va_list arguments;
  va_start(arguments, format);
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(buffer.data(), buffer.size(), format, arguments);
  va_end(arguments);
  std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
  if (!text.empty()) std::vsnprintf(text.data(), text.size() + 1, format, again);
  va_end(again);
  return text;
}

std::string counted(std::size_t count, std::string_view noun) {
  std::string text = std::to_string(count) + ' ' + std::string(noun);
  if (count != 1) text += 's';
  return text;
}

}  // namespace host
