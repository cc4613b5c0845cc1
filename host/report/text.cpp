#include "host/report/text.h"

#include <locale.h>

#include <cstdarg>
#include <cstdint>
#include <cstdio>

namespace host {

namespace {

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

std::string shellEscaped(std::string_view text) {
  constexpr std::string_view kPlain =
      "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_./-+:,@%=";
  std::string escaped;
  for (const char c : text) {
    const bool beyondAscii = (static_cast<unsigned char>(c) & 0x80U) != 0;
    if (!beyondAscii && kPlain.find(c) == std::string_view::npos) escaped += '\\';
    escaped += c;
  }
  return escaped;
}

std::string formatted(const char* format, ...) {
  const CLocale plain;
  std::string text(255, '\0');
  while (true) {
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(text.data(), text.size() + 1, format, arguments);
    va_end(arguments);
    if (length < 0) return {};
    const bool fits = static_cast<std::size_t>(length) <= text.size();
    text.resize(static_cast<std::size_t>(length));
    if (fits) return text;
  }
}

std::string counted(std::size_t count, std::string_view noun) {
  std::string text = std::to_string(count) + ' ' + std::string(noun);
  if (count != 1) text += 's';
  return text;
}

}  // namespace host
