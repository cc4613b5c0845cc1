#include "host/services/tokenizer.h"

#include <algorithm>
#include <limits>

#include "host/services/source_characters.h"

namespace host {
namespace {

using namespace source_character;

constexpr std::ptrdiff_t kLongestToken = 65536;
// More is no source text: whoever searches for the end of each would take quadratic time.
constexpr int kMostRawMisses = 16;

bool isSign(char c) { return c == '+' || c == '-'; }

bool isExponent(char c) { return c == 'e' || c == 'E' || c == 'p' || c == 'P'; }

bool isOctalDigit(char c) { return c >= '0' && c <= '7'; }

bool isHexDigit(char c) { return is(kHexDigit, c); }

bool isDelimiter(char c) { return !is(kBlank | kLineEnd, c) && c != '(' && c != ')' && c != '\\'; }

template <class Belongs>
const char* skipAtMost(int count, const char* from, Belongs belongs) {
  while (count-- > 0 && belongs(*from)) ++from;
  return from;
}

const char* wordEnd(const char* from) {
  while (is(kWord, *from)) ++from;
  return from;
}

const char* numberEnd(const char* from, bool insideComment) {
  for (;;) {
    const bool signedExponent = isExponent(from[0]) && isSign(from[1]);
    const bool separator = from[0] == '\'' && is(kWord, from[1]) && !insideComment;
    if (signedExponent || separator) {
      from += 2;
    } else if (is(kWord, *from) || *from == '.') {
      ++from;
    } else {
      return from;
    }
  }
}

/// Behind the escape that the backslash at `from` begins.
const char* escapeEnd(const char* from) {
  const char* const letter = from + 1;
  if (is(kLineEnd, *letter)) return letter;
  if (*letter == 'x' || *letter == 'U') return skipAtMost(8, letter + 1, isHexDigit);
  if (*letter == 'u') return skipAtMost(4, letter + 1, isHexDigit);
  if (isOctalDigit(*letter)) return skipAtMost(3, letter, isOctalDigit);
  return letter + 1;
}

/// Behind the character constant that begins at `quote`; null if it is none.
const char* characterEnd(const char* quote) {
  const char* const first = quote + 1;
  const char* p = first;
  for (int count = 0; count < 4 && *p != '\'' && !is(kLineEnd, *p); ++count)
    p = *p == '\\' ? escapeEnd(p) : p + 1;
  return p > first && *p == '\'' ? p + 1 : nullptr;
}

std::string_view textBetween(const char* from, const char* to) {
  return {from, static_cast<size_t>(to - from)};
}

}  // namespace

Tokenizer::Tokenizer(const std::string& file) : window_(file), cursor_(window_.begin()) {}

bool Tokenizer::next(bool insideComment, Token& token) {
  const bool skipped = skipBlanks();
  line_ += window_.joinsBefore(cursor_);
  token.line = static_cast<int32_t>(std::min<int64_t>(line_, std::numeric_limits<int32_t>::max()));
  token.glued = glued_ && !skipped;
  token.startsLine = !lineOpen_;
  if (is(kLineEnd, *cursor_)) return endLine(token);
  const char* const end = scan(insideComment, token.kind);
  token.text = textBetween(cursor_, end);
  cursor_ = end;
  glued_ = true;
  lineOpen_ = true;
  return true;
}

bool Tokenizer::skipBlanks() {
  bool skipped = false;
  for (;;) {
    while (is(kBlank, *cursor_)) {
      ++cursor_;
      skipped = true;
    }
    if (cursor_ < window_.slideFrom()) return skipped;
    cursor_ = window_.slideTo(cursor_);
  }
}

bool Tokenizer::endLine(Token& token) {
  const bool atEnd = cursor_ == window_.end();
  if (atEnd && !lineOpen_) return false;
  token.kind = TokenKind::LineEnd;
  token.text = textBetween(cursor_, cursor_);
  if (!atEnd) {
    cursor_ += lengthOfLineEnd(cursor_);
    ++line_;
  }
  glued_ = false;
  lineOpen_ = false;
  return true;
}

/// A line feed behind a join is a line end of its own. The joins before `lineEnd` have been counted.
std::ptrdiff_t Tokenizer::lengthOfLineEnd(const char* lineEnd) const {
  const bool isPair = lineEnd[0] == '\r' && lineEnd[1] == '\n' && lineEnd + 1 < window_.end();
  return isPair && !window_.hasJoinAt(lineEnd + 1) ? 2 : 1;
}

/// Counts the lines that end inside a token.
void Tokenizer::passLines(std::string_view text) {
  for (const char* p = text.data(); p < text.data() + text.size();) {
    if (!is(kLineEnd, *p)) {
      ++p;
      continue;
    }
    line_ += window_.joinsBefore(p) + 1;
    p += lengthOfLineEnd(p);
  }
}

/// The end and the kind of the token at the cursor, where neither a blank nor a line end stands.
const char* Tokenizer::scan(bool insideComment, TokenKind& kind) {
  const char first = *cursor_;
  if (wasCut_) {
    kind = cutKind_;
    return cut(kind == TokenKind::Number ? numberEnd(cursor_, insideComment) : wordEnd(cursor_), kind);
  }
  if (is(kDigit, first) || (first == '.' && is(kDigit, cursor_[1]))) {
    kind = TokenKind::Number;
    return cut(numberEnd(cursor_, insideComment), kind);
  }
  if (is(kWord, first)) return scanIdentifier(insideComment, kind);
  const char* end = nullptr;
  if (first == '"' && !insideComment) {
    kind = TokenKind::String;
    end = stringEnd();
  } else if (first == '\'' && !insideComment) {
    kind = TokenKind::Character;
    end = characterEnd(cursor_);
  }
  if (end != nullptr) return end;
  kind = TokenKind::Punctuation;
  return cursor_ + 1;
}

const char* Tokenizer::scanIdentifier(bool insideComment, TokenKind& kind) {
  const char* const end = wordEnd(cursor_);
  if (mayBeRawString(end, insideComment)) {
    if (const char* const closed = rawStringEnd(end)) {
      kind = TokenKind::String;
      passLines(textBetween(cursor_, closed));
      return closed;
    }
  }
  kind = TokenKind::Identifier;
  return cut(end, kind);
}

/// Ends the token at the cursor where it becomes too long, so that the rest could be a token of its own.
const char* Tokenizer::cut(const char* end, TokenKind kind) {
  wasCut_ = end - cursor_ > kLongestToken;
  if (!wasCut_) return end;
  cutKind_ = kind;
  const char* piece = cursor_ + kLongestToken;
  while (!is(kWord, *piece) && *piece != '.') --piece;
  return piece;
}

/// Behind the string that begins at the cursor; null if it is not closed. A search that found nothing is not
/// made again: what looks like a quote in its text was escaped, so from there on all would be the same.
const char* Tokenizer::stringEnd() {
  const uint64_t here = window_.offsetOf(cursor_);
  const char* const limit = cursor_ + std::min(kLongestToken, window_.end() - cursor_);
  const char* p = quoteSought_ > here ? cursor_ + (quoteSought_ - here) : cursor_ + 1;
  while (p < limit && *p != '"' && !is(kLineEnd, *p)) p += *p == '\\' && !is(kLineEnd, p[1]) ? 2 : 1;
  if (p < limit && *p == '"') return p + 1;
  quoteSought_ = window_.offsetOf(p);
  return nullptr;
}

bool Tokenizer::mayBeRawString(const char* end, bool insideComment) const {
  if (*end != '"' || end[-1] != 'R' || insideComment) return false;
  const std::string_view prefix = textBetween(cursor_, end);
  return prefix == "R" || prefix == "LR" || prefix == "uR" || prefix == "UR" || prefix == "u8R";
}

/// Behind the raw string at the cursor whose opening quote is given; null if it is none or not closed.
const char* Tokenizer::rawStringEnd(const char* quote) {
  const char* const open = skipAtMost(16, quote + 1, isDelimiter);
  if (*open != '(') return nullptr;
  const uint64_t stretch = window_.offsetOf(cursor_) / static_cast<uint64_t>(kLongestToken);
  if (stretch != rawStretch_) rawMisses_ = 0;
  rawStretch_ = stretch;
  if (rawMisses_ == kMostRawMisses) return nullptr;
  std::string closer(1, ')');
  closer.append(quote + 1, open).append(1, '"');
  const char* const limit = cursor_ + std::min(kLongestToken, window_.end() - cursor_);
  const size_t found = textBetween(open, limit).find(closer);
  if (found != std::string_view::npos) return open + found + closer.size();
  ++rawMisses_;
  return nullptr;
}

}  // namespace host
