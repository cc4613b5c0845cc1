#include "host/services/text.h"

#include "host/services/utf8.h"

#include <locale.h>
#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cwctype>

namespace host {
namespace {

constexpr char16_t kByteEscape = 0xDC00;  // U+DC80 to U+DCFF: a byte that was not UTF-8

bool isHighSurrogate(char16_t c) { return c >= 0xD800 && c <= 0xDBFF; }
bool isLowSurrogate(char16_t c) { return c >= 0xDC00 && c <= 0xDFFF; }
bool isByteEscape(char16_t c) { return c >= kByteEscape + 0x80 && c <= kByteEscape + 0xFF; }

void appendUtf8(std::string& out, uint32_t code) {
  const auto add = [&](uint32_t byte) { out += static_cast<char>(byte); };
  if (code < 0x80) {
    add(code);
  } else if (code < 0x800) {
    add(0xC0 | code >> 6);
    add(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    add(0xE0 | code >> 12);
    add(0x80 | (code >> 6 & 0x3F));
    add(0x80 | (code & 0x3F));
  } else {
    add(0xF0 | code >> 18);
    add(0x80 | (code >> 12 & 0x3F));
    add(0x80 | (code >> 6 & 0x3F));
    add(0x80 | (code & 0x3F));
  }
}

std::u16string readUtf8(std::string_view bytes) {
  const auto isAscii = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
  if (std::all_of(bytes.begin(), bytes.end(), isAscii)) return {bytes.begin(), bytes.end()};
  std::u16string text;
  text.reserve(bytes.size());
  for (size_t i = 0; i < bytes.size();) {
    const CodePoint next = decodeUtf8(bytes, i);
    i += next.length;
    if (!next.valid) {
      text += static_cast<char16_t>(kByteEscape + next.value);
    } else if (next.value >= 0x10000) {
      text += static_cast<char16_t>(0xD800 + ((next.value - 0x10000) >> 10));
      text += static_cast<char16_t>(0xDC00 + ((next.value - 0x10000) & 0x3FF));
    } else {
      text += static_cast<char16_t>(next.value);
    }
  }
  return text;
}

std::string writeUtf8(std::u16string_view text) {
  // Nearly all text is ASCII.
  if (std::all_of(text.begin(), text.end(), [](char16_t c) { return c < 0x80; }))
    return {text.begin(), text.end()};
  std::string bytes;
  bytes.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    const char16_t c = text[i];
    if (isHighSurrogate(c) && i + 1 < text.size() && isLowSurrogate(text[i + 1])) {
      appendUtf8(bytes, 0x10000U + ((c - 0xD800U) << 10) + (text[++i] - 0xDC00U));
    } else if (isByteEscape(c)) {
      bytes += static_cast<char>(c - kByteEscape);
    } else {
      appendUtf8(bytes, c);
    }
  }
  return bytes;
}

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

bool isEscapeLetter(char16_t c) { return c == u'u' || c == u'U'; }

/// The code of a backslash-u sequence at the beginning of `bytes`, or -1.
int escapedCode(std::string_view bytes) {
  if (bytes.size() < 6 || bytes[0] != '\\' || !isEscapeLetter(static_cast<unsigned char>(bytes[1])))
    return -1;
  int code = 0;
  for (size_t i = 2; i < 6; ++i) {
    const int digit = hexDigit(bytes[i]);
    if (digit < 0) return -1;
    code = code * 16 + digit;
  }
  return code;
}

std::u16string readEscaped(std::string_view bytes) {
  std::u16string text;
  text.reserve(bytes.size());
  while (!bytes.empty()) {
    const int code = escapedCode(bytes);
    text += static_cast<char16_t>(code >= 0 ? code : static_cast<unsigned char>(bytes[0]));
    bytes.remove_prefix(code >= 0 ? 6 : 1);
  }
  return text;
}

std::string writeEscaped(std::u16string_view text) {
  std::string bytes;
  bytes.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    const char16_t c = text[i];
    const bool looksLikeEscape = c == u'\\' && i + 1 < text.size() && isEscapeLetter(text[i + 1]);
    if (c >= 0x20 && c < 0x7F && !looksLikeEscape) {
      bytes += static_cast<char>(c);
    } else {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
      bytes += escape;
    }
  }
  return bytes;
}

// Case rules must not hang on the locale that the process was started in.
locale_t caseLocale() {
  static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  return locale;
}

wint_t foldCase(uint32_t code) {
  const auto c = static_cast<wint_t>(code);
  return caseLocale() != nullptr ? towlower_l(c, caseLocale()) : std::towlower(c);
}

/// Takes one folded character off the front; a byte that is not UTF-8 stands for itself.
wint_t takeFolded(std::string_view& bytes) {
  const CodePoint next = decodeUtf8(bytes, 0);
  bytes.remove_prefix(next.length);
  return next.valid ? foldCase(next.value) : static_cast<wint_t>(0x110000U + next.value);
}

}  // namespace

std::optional<Encoding> encodingOf(int32_t code) {
  if (code < 0 || code > 3) return std::nullopt;
  return static_cast<Encoding>(code);
}

std::u16string decodeText(std::string_view bytes, Encoding encoding) {
  switch (encoding) {
    case Encoding::Utf8:
      return readUtf8(bytes);
    case Encoding::Bytes: {
      std::u16string text;
      text.reserve(bytes.size());
      for (const char c : bytes) text += static_cast<char16_t>(static_cast<unsigned char>(c));
      return text;
    }
    case Encoding::Latin1Escaped:
    case Encoding::AsciiEscaped:
      return readEscaped(bytes);
  }
  return {};
}

std::string encodeText(std::u16string_view text, Encoding encoding) {
  switch (encoding) {
    case Encoding::Utf8:
      return writeUtf8(text);
    case Encoding::Bytes: {
      std::string bytes;
      bytes.reserve(text.size());
      for (const char16_t c : text) bytes += static_cast<char>(c);
      return bytes;
    }
    case Encoding::Latin1Escaped:
    case Encoding::AsciiEscaped:
      return writeEscaped(text);
  }
  return {};
}

std::string formatReal(double value, int before, int after) {
  if (value == 0) value = 0;  // a negative zero loses its sign
  after = after < 0 ? 0 : after > 40 ? 40 : after;
  char digits[400];
  std::snprintf(digits, sizeof digits, "%.*f", after, std::fabs(value));
  std::string text = digits;
  if (std::isfinite(value) && before > 0) {
    const size_t places = text.find('.') == std::string::npos ? text.size() : text.find('.');
    if (places < static_cast<size_t>(before)) text.insert(0, static_cast<size_t>(before) - places, '0');
  }
  return (std::signbit(value) ? "-" : "") + text;
}

bool equalIgnoringCase(std::string_view first, std::string_view second) {
  while (!first.empty() && !second.empty()) {
    if (takeFolded(first) != takeFolded(second)) return false;
  }
  return first.empty() && second.empty();
}

}  // namespace host
