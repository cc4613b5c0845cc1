#pragma once
// The values of C expressions made of constants.

#include <cstdint>
#include <string_view>

namespace host {

/// The values are those of the contract.
enum class EvaluationMode : int32_t { Integer = 0, Real = 1 };

/// Why an expression has no value: bits of Evaluation::status, those of the contract.
namespace evaluation_status {
inline constexpr uint32_t kSyntax = 1;
inline constexpr uint32_t kName = 2;
inline constexpr uint32_t kArithmetic = 4;
inline constexpr uint32_t kWrapped = 8;
inline constexpr uint32_t kDepth = 16;
}  // namespace evaluation_status

struct Evaluation {
  bool success = false;
  uint32_t status = 0;
  int32_t integer = 0;  ///< modulo 2^32
  double real = 0;
};

/// Evaluates `text`. Thread: any. Takes time in the length of the text and bounded stack, whatever the text.
Evaluation evaluateExpression(std::string_view text, EvaluationMode mode);

}  // namespace host
