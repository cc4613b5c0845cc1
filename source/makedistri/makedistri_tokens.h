// The tokens of a header, as its readers see them.
#pragma once

#include <cstdint>
#include <string_view>

namespace outfitter {

enum class TokenKind : uint8_t { Identifier, LineEnd, Other };

struct HeaderToken {
  TokenKind kind = TokenKind::LineEnd;
  bool glued = false;     ///< follows the token before it directly
  std::string_view text;  ///< lent until the next token is asked for; empty at a line end
  int32_t line = 0;       ///< the first is 1

  bool Is(char punctuation) const {
    return kind == TokenKind::Other && text.size() == 1 && text[0] == punctuation;
  }
  bool IsName() const { return kind == TokenKind::Identifier; }
  bool IsLineEnd() const { return kind == TokenKind::LineEnd; }
};

/// Where the tokens of one header come from.
class HeaderTokens {
 public:
  HeaderTokens() = default;
  HeaderTokens(const HeaderTokens&) = delete;
  HeaderTokens& operator=(const HeaderTokens&) = delete;
  virtual ~HeaderTokens() = default;
  /// Sets `token` to the next one; inside a comment quotes are plain punctuation. False behind the last one.
  virtual bool Next(bool insideComment, HeaderToken& token) = 0;
};

}  // namespace outfitter
