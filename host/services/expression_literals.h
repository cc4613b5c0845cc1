#pragma once
// The numbers and character constants of C.

#include <cstddef>
#include <string_view>

#include "host/services/expression_numbers.h"

namespace host::expression {

struct Literal {
  Result result;
  size_t length = 0;  ///< in the text; means nothing when the result is a fault of syntax
};

/// The number that begins `text` with a digit, or with a point and a digit.
Literal readNumber(std::string_view text);

/// The character constant whose quote begins `text`. At the end of the text its closing quote may lack.
Literal readCharacter(std::string_view text);

}  // namespace host::expression
