// Tokens of text files, and the values of expressions.
#pragma once

#include "vesta.framework/filename.h"

namespace vesta {

struct TokenizerTraits {
  using Handle = HostTokenizer;
  static void End(HostTokenizer* handle) { Host().text.TokenizerFree(handle); }
};

/// The tokens of one text file. False where the file could not be opened.
class Tokenizer {
 public:
  explicit Tokenizer(const FileName& file) : tokenizer_(Host().text.TokenizeFile(file.Get())) {}
  explicit operator bool() const { return static_cast<bool>(tokenizer_); }
  /// Sets `token` to the next token, whose text is lent until the next call; inside a comment quotes are
  /// plain punctuation. False behind the last one.
  bool Next(bool insideComment, HostToken& token) {
    return Host().text.TokenizerNext(tokenizer_.Get(), insideComment ? 1 : 0, &token) != 0;
  }

 private:
  Owned<TokenizerTraits> tokenizer_;
};
VESTA_HOLDS_ONLY_ITS_HANDLE(Tokenizer);

/// Evaluates a C expression; `mode` HOST_EVALUATE_INTEGER or HOST_EVALUATE_REAL. Answers whether it has a
/// value.
inline bool EvaluateExpression(const char* text, int32_t mode, HostEvaluation& result) {
  return Host().text.EvaluateExpression(text, mode, &result) != 0;
}

}  // namespace vesta
