// What the text of a define or of an enumerator is worth.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "makedistri/makedistri_symbols.h"

namespace outfitter {

/// What the host makes of an expression.
struct Evaluation {
  bool success = false;
  bool wrapped = false;  ///< an integer that does not fit 32 bits and was taken modulo 2^32; no success
  uint32_t status = 0;   ///< the host's reasons, for those who explain
  int32_t integer = 0;
  double real = 0;
};

/// Evaluates a text as a real expression, else as an integer one.
using Evaluator = std::function<Evaluation(const std::string& text, bool real)>;

struct Value {
  bool known = false;
  bool isReal = false;  ///< evaluated as a real expression
  Evaluation found;
  std::string text;           ///< after four-byte ids and symbols were put in
  std::vector<int32_t> used;  ///< the symbols that were put in, by index
};

/// The value of a define. A wrapped value counts; where the text alone has none, symbols are put in.
Value ValueOfDefine(std::string_view text, const SymbolTable& symbols, const Evaluator& evaluate);

/// The value of an enumerator, an integer; a wrapped value does not count.
Value ValueOfEnumerator(std::string_view text, const SymbolTable& symbols, const Evaluator& evaluate);

/// The decimal text of the id that four comma-separated parts make, the first in the highest byte. The first
/// three lose their last character, which closes a quoted one. Empty when there are fewer parts, or one has
/// no value.
std::string FourByteId(std::string_view parts, const Evaluator& evaluate);

/// The shortest decimal text that reads back as the same number.
std::string ShortestReal(double value);

}  // namespace outfitter
