#include "host/services/utf8.h"

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

std::string escape(const char* format, char32_t value) {
  char text[16];
  std::snprintf(text, sizeof text, format, static_cast<unsigned>(value));
  return text;
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

std::string visible(std::string_view text, std::string_view kept) {
  std::string shown;
  shown.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    const CodePoint c = decodeUtf8(text, i);
    if (kept.find(text[i]) != kept.npos) {
      shown += text[i];
    } else if (!c.valid || c.value < 0x20 || c.value == 0x7F) {
      shown += escape("\\x%02x", c.value);
    } else if (steersTerminal(c.value)) {
      shown += escape("\\u{%x}", c.value);
    } else {
      shown += text.substr(i, c.length);
    }
    i += c.length;
  }
  return shown;
}

}  // namespace host
