#include "companions/strings/text_checks.h"

#include <locale.h>
#include <wchar.h>

#include <algorithm>

#include "host/services/text.h"
#include "host/services/utf8.h"

namespace companion {
namespace {

bool isBlank(char16_t c) {
  return c == u' ' || c == u'\t' || c == u'\u00a0' || c == u'\u202f' || c == u'\u3000';
}

bool isOneOf(char16_t c, std::u16string_view characters) {
  return characters.find(c) != std::u16string_view::npos;
}

bool isDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

/// Reads printf's conversions and names in braces, from left to right.
class PlaceholderReader {
 public:
  explicit PlaceholderReader(std::u16string_view text) : text_(text) {}

  std::vector<std::string> read() {
    while (at_ < text_.size()) {
      const char16_t c = text_[at_];
      if (c == u'%') {
        readConversion();
      } else if (c == u'{') {
        readBraces();
      } else {
        ++at_;
      }
    }
    std::sort(found_.begin(), found_.end());
    return std::move(found_);
  }

 private:
  void skip(std::u16string_view characters) {
    while (at_ < text_.size() && isOneOf(text_[at_], characters)) ++at_;
  }

  void readConversion() {
    const std::size_t start = ++at_;
    if (at_ < text_.size() && text_[at_] == u'%') {
      ++at_;
      return;
    }
    skip(u"0123456789");
    std::string number;
    std::size_t kept = start;
    if (at_ > start && at_ < text_.size() && text_[at_] == u'$') {
      kept = ++at_;
      number = host::toUtf8(text_.substr(start, kept - start));
    } else {
      at_ = start;
    }
    // A blank is a flag as well, but "100 % done" is no conversion.
    skip(u"-+#0'");
    skip(u"0123456789.*");
    skip(u"hlqjzt");
    if (at_ < text_.size() && isOneOf(text_[at_], u"diouxXeEfFgGaAcspn")) {
      ++at_;
      if (number.empty()) number = std::to_string(++unnumbered_) + "$";
      found_.push_back("%" + number + host::toUtf8(text_.substr(kept, at_ - kept)));
    } else {
      at_ = start;
    }
  }

  void readBraces() {
    const std::size_t start = at_++;
    while (at_ < text_.size() && isNameCharacter(text_[at_])) ++at_;
    if (at_ < text_.size() && text_[at_] == u'}') {
      ++at_;
      found_.push_back(host::toUtf8(text_.substr(start, at_ - start)));
    } else {
      at_ = start + 1;
    }
  }
  static bool isNameCharacter(char16_t c) {
    return isDigit(c) || (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || isOneOf(c, u"_.:-");
  }

  std::u16string_view text_;
  std::size_t at_ = 0;
  std::size_t unnumbered_ = 0;
  std::vector<std::string> found_;
};

/// The C locale with Unicode's characters, whatever the user's is, for as long as this lives.
class UnicodeLocale {
 public:
  UnicodeLocale() {
    static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    if (locale != nullptr) before_ = uselocale(locale);
  }
  UnicodeLocale(const UnicodeLocale&) = delete;
  UnicodeLocale& operator=(const UnicodeLocale&) = delete;
  ~UnicodeLocale() {
    if (before_ != nullptr) uselocale(before_);
  }

 private:
  locale_t before_ = nullptr;
};

}  // namespace

std::vector<std::string> placeholdersOf(std::u16string_view text) { return PlaceholderReader(text).read(); }

bool beginsInBlank(std::u16string_view text) { return !text.empty() && isBlank(text.front()); }
bool endsInBlank(std::u16string_view text) { return !text.empty() && isBlank(text.back()); }

std::string closingSign(std::u16string_view text) {
  while (endsInBlank(text)) text.remove_suffix(1);
  if (text.empty()) return {};
  if (text.ends_with(u"...") || text.back() == u'\u2026') return "...";
  if (isOneOf(text.back(), u".\u3002\uff0e\uff61\u0964")) return ".";
  if (isOneOf(text.back(), u"?\uff1f\u061f\u037e")) return "?";
  if (isOneOf(text.back(), u"!\uff01")) return "!";
  if (isOneOf(text.back(), u":\uff1a")) return ":";
  if (isOneOf(text.back(), u",\uff0c\u3001\u060c")) return ",";
  return {};
}

std::size_t widthOf(std::u16string_view text) {
  const UnicodeLocale locale;
  const std::string bytes = host::toUtf8(text);
  std::size_t width = 0;
  for (std::size_t i = 0; i < bytes.size();) {
    const host::CodePoint next = host::decodeUtf8(bytes, i);
    i += next.length;
    const int columns = next.valid ? wcwidth(static_cast<wchar_t>(next.value)) : 1;
    width += columns < 0 ? 1 : static_cast<std::size_t>(columns);
  }
  return width;
}

}  // namespace companion
