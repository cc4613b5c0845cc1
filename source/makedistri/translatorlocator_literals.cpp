#include "makedistri/translatorlocator_literals.h"

#include <algorithm>
#include <string>

namespace outfitter {
namespace {

constexpr bool IsLineEnd(char c) { return c == '\n' || c == '\r'; }
constexpr char Lowered(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }

/// A letter, and no escape that makes the bytes other than what a translator would search for.
bool LooksLikeText(std::string_view literal) {
  bool hasLetter = false;
  for (size_t i = 0; i < literal.size(); ++i) {
    const char c = Lowered(literal[i]);
    hasLetter = hasLetter || (c >= 'a' && c <= 'z');
    if (c != '\\' || i + 1 == literal.size()) continue;
    const char next = Lowered(literal[i + 1]);
    if (next == '"' || next == 'x') return false;
  }
  return hasLetter;
}

/// Goes from quote to quote, since most bytes of source files are far from any, and looks at what stands
/// before a quote only when it is there. Every byte is looked at a fixed number of times.
class LiteralFinder {
 public:
  LiteralFinder(std::string_view file, const HeaderNameTest& isHeaderName, const LiteralTaker& take)
      : file_(file), isHeaderName_(isHeaderName), take_(take) {}

  void Find() {
    bool goesOn = true;
    while (goesOn) {
      const size_t quote = file_.find('"', position_);
      if (quote == std::string_view::npos) return;
      if (IsInComment(quote)) {
        position_ = LineEndBehind(quote);
      } else {
        goesOn = TakeLiteral(quote);
      }
    }
  }

 private:
  /// Whether a comment begins in the line of the quote before it. Notes where that line starts.
  bool IsInComment(size_t quote) {
    size_t start = quote;
    bool comment = false;
    while (start > position_ && !IsLineEnd(file_[start - 1])) {
      --start;
      comment = comment || (file_[start] == '/' && file_[start + 1] == '/');
    }
    if (start > position_) lineStart_ = start;
    return comment;
  }

  size_t LineEndBehind(size_t place) const {
    while (place < file_.size() && !IsLineEnd(file_[place])) ++place;
    return place;
  }

  /// The quote or line end that closes the literal, or the end of the file. A backslash keeps the quote
  /// behind it from closing, whatever stands before the backslash.
  size_t EndOfLiteral(size_t quote) const {
    size_t end = quote + 1;
    while (end < file_.size() && !IsLineEnd(file_[end]) && (file_[end] != '"' || file_[end - 1] == '\\'))
      ++end;
    return end;
  }

  bool TakeLiteral(size_t quote) {
    const size_t end = EndOfLiteral(quote);
    // A line end is looked at again: it ends the line.
    position_ = end < file_.size() && file_[end] == '"' ? end + 1 : end;
    const std::string_view written = file_.substr(quote + 1, end - quote - 1);
    if (!LooksLikeText(written)) return true;
    lowered_.resize(written.size());
    std::transform(written.begin(), written.end(), lowered_.begin(), Lowered);
    if (isHeaderName_(lowered_)) return true;
    return take_({written, lowered_, file_.substr(lineStart_, end - lineStart_), quote});
  }

  const std::string_view file_;
  const HeaderNameTest& isHeaderName_;
  const LiteralTaker& take_;
  std::string lowered_;
  size_t position_ = 0;   ///< what stands before it is done
  size_t lineStart_ = 0;  ///< of the line that holds the last quote
};

}  // namespace

void FindLiterals(std::string_view file, const HeaderNameTest& isHeaderName, const LiteralTaker& take) {
  LiteralFinder(file, isHeaderName, take).Find();
}

bool IsHeaderName(std::string_view name) {
  return name.size() >= 2 && name[name.size() - 2] == '.' && Lowered(name.back()) == 'h';
}

void WriteListLine(const FoundLiteral& literal, std::string_view lineEnd, const PieceTaker& write) {
  constexpr std::string_view kPadding = "                              ";
  static_assert(kPadding.size() == 30);
  write(literal.lowered);
  write(kPadding.substr(std::min(literal.lowered.size(), kPadding.size())));
  for (std::string_view rest = literal.line; !rest.empty();) {
    const size_t tab = std::min(rest.find('\t'), rest.size());
    write(rest.substr(0, tab));
    rest.remove_prefix(std::min(tab + 1, rest.size()));
  }
  write(lineEnd);
}

int64_t LineCounter::LineAt(size_t offset) {
  for (; counted_ < offset; ++counted_) {
    const char c = file_[counted_];
    const bool isFirstOfTwo = c == '\r' && counted_ + 1 < file_.size() && file_[counted_ + 1] == '\n';
    if (IsLineEnd(c) && !isFirstOfTwo) ++line_;
  }
  return line_;
}

}  // namespace outfitter
