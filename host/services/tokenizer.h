#pragma once
// Source text as a stream of tokens, in bounded memory whatever the size of the file.

#include <cstdint>
#include <string>
#include <string_view>

#include "host/services/source_window.h"

namespace host {

/// The values are those of the contract.
enum class TokenKind : int32_t {
  Identifier = 1,
  Number = 2,
  String = 3,
  Character = 4,
  Punctuation = 5,
  LineEnd = 6
};

struct Token {
  TokenKind kind = TokenKind::LineEnd;
  bool glued = false;       ///< follows the token before it directly
  bool startsLine = false;  ///< the first token of its line
  std::string_view text;    ///< valid until the next call of next()
  int32_t line = 1;         ///< in which it begins
};

/// Reads one file. One thread at a time.
class Tokenizer {
 public:
  /// Throws std::system_error when the file cannot be opened or read.
  explicit Tokenizer(const std::string& file);

  /// Sets `token` to the next token; inside a comment quotes are plain punctuation. False behind the last
  /// one. Throws std::system_error when reading fails; the tokenizer is of no use then.
  bool next(bool insideComment, Token& token);

 private:
  bool skipBlanks();
  const char* scan(bool insideComment, TokenKind& kind);
  const char* scanIdentifier(bool insideComment, TokenKind& kind);
  const char* cut(const char* end, TokenKind kind);
  const char* stringEnd();
  const char* rawStringEnd(const char* quote);
  bool mayBeRawString(const char* end, bool insideComment) const;
  bool endLine(Token& token);
  std::ptrdiff_t lengthOfLineEnd(const char* lineEnd) const;
  void passLines(std::string_view text);

  SourceWindow window_;
  const char* cursor_;
  int64_t line_ = 1;
  bool glued_ = false;     // the next token, if it stands at the cursor
  bool lineOpen_ = false;  // a token of the line was delivered
  bool wasCut_ = false;    // the token at the cursor is the rest of one of kind cutKind_
  TokenKind cutKind_ = TokenKind::Identifier;
  uint64_t quoteSought_ = 0;  // no quote closes a string before this offset
  uint64_t rawStretch_ = 0;
  int rawMisses_ = 0;  // raw strings of that stretch that are not closed
};

}  // namespace host
