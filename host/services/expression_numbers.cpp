#include "host/services/expression_numbers.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "host/services/expression.h"
#include "host/services/source_characters.h"

namespace host::expression {
namespace {

using namespace evaluation_status;

constexpr int64_t kLeast = std::numeric_limits<int32_t>::min();
constexpr int64_t kGreatest = std::numeric_limits<uint32_t>::max();
constexpr uint64_t kGreatestShift = 31;

Number realOf(double value) { return {NumberType::Real, 0, value}; }

Result realResult(double value) { return {realOf(value), std::isfinite(value) ? 0 : kArithmetic}; }

int64_t asSigned(uint64_t bits) { return static_cast<int64_t>(bits); }

bool isUnsigned(NumberType type) {
  return type == NumberType::UnsignedInt || type == NumberType::UnsignedLongLong;
}

/// A value of 32 bits that was computed with 64 and may stand outside.
Result wrapToInt(int64_t value) {
  const bool wrapped = value < kLeast || value > kGreatest;
  return {integerOf(NumberType::Int, static_cast<uint64_t>(value)), wrapped ? kWrapped : 0};
}

Result signedResult(NumberType type, int64_t value, bool overflowed) {
  if (type == NumberType::Int) return wrapToInt(value);
  return {integerOf(type, static_cast<uint64_t>(value)), overflowed ? kWrapped : 0};
}

template <class Value>
bool compare(BinaryOperator op, Value left, Value right) {
  switch (op) {
    case BinaryOperator::Equal:
      return left == right;
    case BinaryOperator::NotEqual:
      return left != right;
    case BinaryOperator::Less:
      return left < right;
    case BinaryOperator::LessEqual:
      return left <= right;
    case BinaryOperator::Greater:
      return left > right;
    default:
      return left >= right;
  }
}

bool isComparison(BinaryOperator op) {
  return op >= BinaryOperator::Equal && op <= BinaryOperator::GreaterEqual;
}

bool isShift(BinaryOperator op) {
  return op == BinaryOperator::ShiftLeft || op == BinaryOperator::ShiftRight;
}

bool divides(BinaryOperator op) { return op == BinaryOperator::Divide || op == BinaryOperator::Remainder; }

Result applyReal(BinaryOperator op, double left, double right) {
  switch (op) {
    case BinaryOperator::Add:
      return realResult(left + right);
    case BinaryOperator::Subtract:
      return realResult(left - right);
    case BinaryOperator::Multiply:
      return realResult(left * right);
    case BinaryOperator::Divide:
      return right == 0 ? Result{realOf(0), kArithmetic} : realResult(left / right);
    default:
      return {realOf(0), kSyntax};
  }
}

Result applyUnsigned(BinaryOperator op, NumberType type, uint64_t left, uint64_t right) {
  switch (op) {
    case BinaryOperator::Add:
      return {integerOf(type, left + right)};
    case BinaryOperator::Subtract:
      return {integerOf(type, left - right)};
    case BinaryOperator::Multiply:
      return {integerOf(type, left * right)};
    case BinaryOperator::Divide:
      return {integerOf(type, left / right)};
    default:
      return {integerOf(type, left % right)};
  }
}

Result applySigned(BinaryOperator op, NumberType type, int64_t left, int64_t right) {
  int64_t value = 0;
  bool overflowed = false;
  switch (op) {
    case BinaryOperator::Add:
      overflowed = __builtin_add_overflow(left, right, &value);
      break;
    case BinaryOperator::Subtract:
      overflowed = __builtin_sub_overflow(left, right, &value);
      break;
    case BinaryOperator::Multiply:
      overflowed = __builtin_mul_overflow(left, right, &value);
      break;
    case BinaryOperator::Divide:
      // The machine traps when the least number is divided by -1.
      if (right == -1) return applySigned(BinaryOperator::Subtract, type, 0, left);
      value = left / right;
      break;
    default:
      value = right == -1 ? 0 : left % right;
      break;
  }
  return signedResult(type, value, overflowed);
}

Result applyBits(BinaryOperator op, NumberType type, uint64_t left, uint64_t right) {
  if (op == BinaryOperator::BitAnd) return {integerOf(type, left & right)};
  if (op == BinaryOperator::BitOr) return {integerOf(type, left | right)};
  return {integerOf(type, left ^ right)};
}

/// The result has the left operand's type.
Result shift(BinaryOperator op, const Number& left, const Number& right) {
  // A negative number of places is a great one as well.
  if (right.bits > kGreatestShift) return {integerOf(left.type, 0), kArithmetic};
  const int places = static_cast<int>(right.bits);
  if (op == BinaryOperator::ShiftRight) {
    const uint64_t bits =
        isUnsigned(left.type) ? left.bits >> places : static_cast<uint64_t>(asSigned(left.bits) >> places);
    return {integerOf(left.type, bits)};
  }
  const uint64_t bits = left.bits << places;
  if (isUnsigned(left.type)) return {integerOf(left.type, bits)};
  return signedResult(left.type, asSigned(bits), asSigned(bits) >> places != asSigned(left.bits));
}

/// Cut to `width` bits and widened again.
uint64_t narrow(uint64_t bits, int width, bool isSigned) {
  const int spare = 64 - width;
  return isSigned ? static_cast<uint64_t>(asSigned(bits << spare) >> spare) : bits << spare >> spare;
}

NumberType promoted(const ScalarType& type) {
  if (type.bits == 64) return type.isSigned ? NumberType::LongLong : NumberType::UnsignedLongLong;
  return type.bits == 32 && !type.isSigned ? NumberType::UnsignedInt : NumberType::Int;
}

/// The whole part of a real number, in the bits of the type.
Result wholePart(const ScalarType& type, double value) {
  const double whole = std::trunc(value);
  const double least = type.isSigned ? -std::ldexp(1.0, type.bits - 1) : 0.0;
  const double beyond = std::ldexp(1.0, type.isSigned ? type.bits - 1 : type.bits);
  if (!(whole >= least && whole < beyond)) return {integerOf(promoted(type), 0), kArithmetic};
  const uint64_t bits =
      type.isSigned ? static_cast<uint64_t>(static_cast<int64_t>(whole)) : static_cast<uint64_t>(whole);
  return {integerOf(promoted(type), bits)};
}

struct NamedType {
  std::string_view name;
  ScalarType type;
};

constexpr ScalarType integerType(bool isSigned, int bits, int size) { return {false, isSigned, bits, size}; }
constexpr ScalarType realType(int bits, int size) { return {true, true, bits, size}; }

constexpr NamedType kNamedTypes[] = {
    {"bool", integerType(false, 1, 1)},
    {"_Bool", integerType(false, 1, 1)},
    {"Bool", integerType(false, 1, 1)},
    {"int8_t", integerType(true, 8, 1)},
    {"int16_t", integerType(true, 16, 2)},
    {"int32_t", integerType(true, 32, 4)},
    {"int64_t", integerType(true, 64, 8)},
    {"uint8_t", integerType(false, 8, 1)},
    {"uint16_t", integerType(false, 16, 2)},
    {"uint32_t", integerType(false, 32, 4)},
    {"uint64_t", integerType(false, 64, 8)},
    {"Int8", integerType(true, 8, 1)},
    {"Int16", integerType(true, 16, 2)},
    {"Int32", integerType(true, 32, 4)},
    {"Int64", integerType(true, 64, 8)},
    {"UInt8", integerType(false, 8, 1)},
    {"UInt16", integerType(false, 16, 2)},
    {"UInt32", integerType(false, 32, 4)},
    {"UInt64", integerType(false, 64, 8)},
    {"__s8", integerType(true, 8, 1)},
    {"__s16", integerType(true, 16, 2)},
    {"__s32", integerType(true, 32, 4)},
    {"__s64", integerType(true, 64, 8)},
    {"__u8", integerType(false, 8, 1)},
    {"__u16", integerType(false, 16, 2)},
    {"__u32", integerType(false, 32, 4)},
    {"__u64", integerType(false, 64, 8)},
    {"Char", integerType(true, 8, 1)},
    {"UChar", integerType(false, 8, 1)},
    {"uchar", integerType(false, 8, 1)},
    {"ushort", integerType(false, 16, 2)},
    {"uint", integerType(false, 32, 4)},
    {"ulong", integerType(false, 32, 0)},
    {"Int", integerType(true, 32, 0)},
    {"UInt", integerType(false, 32, 0)},
    {"size_t", integerType(false, 32, 0)},
    {"ptrdiff_t", integerType(true, 32, 0)},
    {"intptr_t", integerType(true, 32, 0)},
    {"uintptr_t", integerType(false, 32, 0)},
    {"float", realType(32, 4)},
    {"Float", realType(64, 0)},
};

enum Keyword : size_t { kUnsigned, kSigned, kChar, kShort, kInt, kLong, kDouble, kKeywordCount };
constexpr std::string_view kKeywords[kKeywordCount] = {"unsigned", "signed", "char",  "short",
                                                       "int",      "long",   "double"};

std::string_view trimmed(std::string_view text) {
  constexpr uint8_t kSpace = source_character::kBlank | source_character::kLineEnd;
  while (!text.empty() && source_character::is(kSpace, text.front())) text.remove_prefix(1);
  while (!text.empty() && source_character::is(kSpace, text.back())) text.remove_suffix(1);
  return text;
}

using KeywordCounts = std::array<int, kKeywordCount>;

/// How often each keyword stands in a name that is made of keywords; nothing if it is not.
std::optional<KeywordCounts> countKeywords(std::string_view name) {
  KeywordCounts counts{};
  while (!(name = trimmed(name)).empty()) {
    size_t keyword = 0;
    while (keyword < kKeywordCount && name.substr(0, kKeywords[keyword].size()) != kKeywords[keyword])
      ++keyword;
    if (keyword == kKeywordCount || ++counts[keyword] > 2) return std::nullopt;
    name.remove_prefix(kKeywords[keyword].size());
  }
  return counts;
}

std::optional<ScalarType> typeOfKeywords(const KeywordCounts& counts) {
  for (const Keyword once : {kUnsigned, kSigned, kChar, kShort, kInt, kDouble}) {
    if (counts[once] > 1) return std::nullopt;
  }
  const int signs = counts[kUnsigned] + counts[kSigned];
  const int sizes = counts[kChar] + counts[kShort] + (counts[kLong] > 0 ? 1 : 0);
  if (counts[kDouble] > 0) {
    const bool isReal = signs + counts[kChar] + counts[kShort] + counts[kInt] == 0 && counts[kLong] < 2;
    return isReal ? std::optional(realType(64, counts[kLong] == 0 ? 8 : 0)) : std::nullopt;
  }
  const bool isNamed = signs + sizes + counts[kInt] > 0;
  if (!isNamed || signs > 1 || sizes > 1 || (counts[kChar] > 0 && counts[kInt] > 0)) return std::nullopt;
  const bool isSigned = counts[kUnsigned] == 0;
  if (counts[kChar] > 0) return integerType(isSigned, 8, 1);
  if (counts[kShort] > 0) return integerType(isSigned, 16, 2);
  if (counts[kLong] == 2) return integerType(isSigned, 64, 8);
  return integerType(isSigned, 32, counts[kLong] == 1 ? 0 : 4);
}

}  // namespace

Number numberOf(int32_t value) {
  return integerOf(NumberType::Int, static_cast<uint64_t>(static_cast<int64_t>(value)));
}

Number integerOf(NumberType type, uint64_t bits) {
  if (type == NumberType::Int) bits = narrow(bits, 32, true);
  if (type == NumberType::UnsignedInt) bits = narrow(bits, 32, false);
  return {type, bits, 0};
}

bool isTrue(const Number& number) {
  return number.type == NumberType::Real ? number.real != 0 : number.bits != 0;
}

double toReal(const Number& number) {
  if (number.type == NumberType::Real) return number.real;
  return isUnsigned(number.type) ? static_cast<double>(number.bits)
                                 : static_cast<double>(asSigned(number.bits));
}

bool fits32Bits(const Number& integer) {
  if (isUnsigned(integer.type)) return integer.bits <= static_cast<uint64_t>(kGreatest);
  return asSigned(integer.bits) >= kLeast && asSigned(integer.bits) <= kGreatest;
}

Number convert(const Number& number, NumberType type) {
  return type == NumberType::Real ? realOf(toReal(number)) : integerOf(type, number.bits);
}

Result apply(BinaryOperator op, const Number& left, const Number& right) {
  const NumberType type = std::max(left.type, right.type);
  if (isShift(op) && type != NumberType::Real) return shift(op, left, right);
  const Number a = convert(left, type);
  const Number b = convert(right, type);
  if (type == NumberType::Real) {
    if (isComparison(op)) return {numberOf(compare(op, a.real, b.real))};
    return applyReal(op, a.real, b.real);
  }
  if (isComparison(op)) {
    return {numberOf(isUnsigned(type) ? compare(op, a.bits, b.bits)
                                      : compare(op, asSigned(a.bits), asSigned(b.bits)))};
  }
  if (op < BinaryOperator::Equal) return applyBits(op, type, a.bits, b.bits);
  if (divides(op) && b.bits == 0) return {integerOf(type, 0), kArithmetic};
  if (isUnsigned(type)) return applyUnsigned(op, type, a.bits, b.bits);
  return applySigned(op, type, asSigned(a.bits), asSigned(b.bits));
}

Result applySign(char sign, const Number& operand) {
  const bool isReal = operand.type == NumberType::Real;
  if (sign == '!') return {numberOf(!isTrue(operand))};
  if (sign == '+') return {operand};
  if (sign == '-') {
    if (isReal) return {realOf(-operand.real)};
    return apply(BinaryOperator::Subtract, integerOf(operand.type, 0), operand);
  }
  if (isReal) return {operand, kSyntax};
  return {integerOf(operand.type, ~operand.bits)};
}

Result castTo(const ScalarType& type, const Number& operand) {
  if (type.isReal) {
    const double value = toReal(operand);
    return realResult(type.bits == 32 ? static_cast<double>(static_cast<float>(value)) : value);
  }
  if (type.bits == 1) return {numberOf(isTrue(operand))};
  if (operand.type == NumberType::Real) return wholePart(type, operand.real);
  return {integerOf(promoted(type), narrow(operand.bits, type.bits, type.isSigned))};
}

std::optional<ScalarType> typeNamed(std::string_view name) {
  name = trimmed(name);
  for (const NamedType& named : kNamedTypes) {
    if (named.name == name) return named.type;
  }
  const std::optional<KeywordCounts> counts = countKeywords(name);
  return counts ? typeOfKeywords(*counts) : std::nullopt;
}

}  // namespace host::expression
