#pragma once
// Source text as a stream of tokens, in bounded memory whatever the size of the file.

#include <cstdint>
#include <string>
#include <string_view>

#include "host/services/files.h"

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
  /// one. Throws std::system_error when reading fails.
  bool next(bool insideComment, Token& token);
};

}  // namespace host
