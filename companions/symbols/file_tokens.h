#pragma once
// The host's tokenizer and evaluator, as the readers of headers want them.

#include "host/services/expression.h"
#include "host/services/tokenizer.h"
#include "makedistri/makedistri_tokens.h"
#include "makedistri/makedistri_values.h"

namespace companion {

/// The tokens of one file. Throws std::system_error when it cannot be read.
class FileTokens : public outfitter::HeaderTokens {
 public:
  explicit FileTokens(const std::string& file) : tokenizer_(file) {}

  bool Next(bool insideComment, outfitter::HeaderToken& token) override {
    if (!tokenizer_.next(insideComment, last_)) return false;
    token.kind = last_.kind == host::TokenKind::Identifier ? outfitter::TokenKind::Identifier
                 : last_.kind == host::TokenKind::LineEnd  ? outfitter::TokenKind::LineEnd
                                                           : outfitter::TokenKind::Other;
    token.glued = last_.glued;
    token.text = last_.text;
    token.line = last_.line;
    return true;
  }
  /// The token that was read last.
  const host::Token& last() const { return last_; }

 private:
  host::Tokenizer tokenizer_;
  host::Token last_;
};

inline outfitter::Evaluation evaluateWithHost(const std::string& text, bool real) {
  const host::Evaluation found =
      host::evaluateExpression(text, real ? host::EvaluationMode::Real : host::EvaluationMode::Integer);
  return {found.success, (found.status & host::evaluation_status::kWrapped) != 0, found.status, found.integer,
          found.real};
}

}  // namespace companion
