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
  int32_t integer = 0;  ///< modulo 2^32; of a real value its whole part where that fits, else 0
  double real = 0;      ///< both are the value where there is one or it only wrapped
};

/// Evaluates a C expression of constants, as the contract describes it. An int that leaves the range of ints
/// goes on as C's compilers wrap it, and counts as wrapped only where an unsigned int could not hold it
/// either. Thread: any. Takes time in the length of the text and bounded stack, whatever the text.
Evaluation evaluateExpression(std::string_view text, EvaluationMode mode);

}  // namespace host
