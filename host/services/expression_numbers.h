#pragma once
// Numbers with the types of C, and what its operators make of them.

#include <cstdint>
#include <optional>
#include <string_view>

namespace host::expression {

/// In the order of the usual arithmetic conversions: the common type of two is the later one. `long` is 32
/// bits wide and so has no place of its own.
enum class NumberType { Int, UnsignedInt, LongLong, UnsignedLongLong, Real };

struct Number {
  NumberType type = NumberType::Int;
  uint64_t bits = 0;  ///< of an integer; 32-bit ones are widened as C widens them
  double real = 0;    ///< of a real number
};

/// A number, and what went wrong on the way to it: bits of evaluation_status.
struct Result {
  Number number;
  uint32_t faults = 0;
};

/// A type that casts name.
struct ScalarType {
  bool isReal = false;
  bool isSigned = true;
  int bits = 32;  ///< 1: a truth value
  int size = 0;   ///< in bytes; 0: not the same on every system
};

enum class BinaryOperator {
  LogicalOr,
  LogicalAnd,
  BitOr,
  BitXor,
  BitAnd,
  Equal,
  NotEqual,
  Less,
  LessEqual,
  Greater,
  GreaterEqual,
  ShiftLeft,
  ShiftRight,
  Add,
  Subtract,
  Multiply,
  Divide,
  Remainder
};

Number numberOf(int32_t value);
inline Number numberOf(bool value) { return numberOf(static_cast<int32_t>(value)); }
/// The low bits of `bits` that the type has. Not for Real.
Number integerOf(NumberType type, uint64_t bits);

bool isTrue(const Number& number);
double toReal(const Number& number);
/// Whether an integer lies between the least int and the greatest unsigned int.
bool fits32Bits(const Number& integer);

/// The usual conversion to a type that is not before the number's own.
Number convert(const Number& number, NumberType type);
/// Every operator but the logical ones, which do not always evaluate their right operand.
Result apply(BinaryOperator op, const Number& left, const Number& right);
/// `sign` is one of + - ~ !
Result applySign(char sign, const Number& operand);
Result castTo(const ScalarType& type, const Number& operand);

/// The type of that name: words with or without blanks between them.
std::optional<ScalarType> typeNamed(std::string_view name);

}  // namespace host::expression
