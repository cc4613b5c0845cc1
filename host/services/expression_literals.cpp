#include "host/services/expression_literals.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>

#include "host/services/expression.h"
#include "host/services/source_characters.h"

namespace host::expression {
namespace {

using namespace evaluation_status;

const Literal kNoLiteral = {{{}, kSyntax}, 0};

char at(std::string_view text, size_t position) { return position < text.size() ? text[position] : '\0'; }

/// The value of a digit; 99 of what is none.
int digitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return 99;
}

bool isDigit(char c, int base) { return digitValue(c) < base; }

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

/// Behind digits with separators between them.
size_t skipDigits(std::string_view text, size_t from, int base) {
  size_t i = from;
  while (isDigit(at(text, i), base) || (i > from && at(text, i) == '\'' && isDigit(at(text, i + 1), base)))
    ++i;
  return i;
}

/// The parts of a number.
struct Spelling {
  int base = 10;  // as the prefix says; an octal number has none
  bool isReal = false;
  std::string_view digits;  // behind the prefix, with point and exponent
  std::string_view suffix;
  size_t length = 0;
};

Spelling spell(std::string_view text) {
  Spelling spelling;
  const char prefix = text[0] == '0' ? lower(at(text, 1)) : '\0';
  if (prefix == 'x') spelling.base = 16;
  if (prefix == 'b') spelling.base = 2;
  const size_t begin = spelling.base == 10 ? 0 : 2;
  // A digit that a binary number cannot have must not begin another number behind it.
  const int base = std::max(spelling.base, 10);
  size_t i = skipDigits(text, begin, base);
  if (at(text, i) == '.') {
    spelling.isReal = true;
    i = skipDigits(text, i + 1, base);
  }
  if (lower(at(text, i)) == (base == 16 ? 'p' : 'e')) {
    spelling.isReal = true;
    i += at(text, i + 1) == '+' || at(text, i + 1) == '-' ? 2 : 1;
    i = skipDigits(text, i, 10);
  }
  spelling.digits = text.substr(begin, i - begin);
  spelling.length = i;
  while (source_character::is(source_character::kWord, at(text, spelling.length))) ++spelling.length;
  spelling.suffix = text.substr(i, spelling.length - i);
  return spelling;
}

struct IntegerSuffix {
  bool isUnsigned = false;
  bool isLongLong = false;
};

std::optional<IntegerSuffix> readSuffix(std::string_view suffix) {
  IntegerSuffix found;
  if (!suffix.empty() && lower(suffix.front()) == 'u') {
    found.isUnsigned = true;
    suffix.remove_prefix(1);
  } else if (!suffix.empty() && lower(suffix.back()) == 'u') {
    found.isUnsigned = true;
    suffix.remove_suffix(1);
  }
  found.isLongLong = suffix == "ll" || suffix == "LL";
  if (!found.isLongLong && !suffix.empty() && suffix != "l" && suffix != "L") return std::nullopt;
  return found;
}

/// The first type that holds the value, as C chooses it.
NumberType typeOfLiteral(uint64_t value, bool isDecimal, const IntegerSuffix& suffix) {
  const bool mayBeInt = !suffix.isLongLong;
  const bool mayBeUnsigned = suffix.isUnsigned || !isDecimal;
  if (mayBeInt && !suffix.isUnsigned && value <= std::numeric_limits<int32_t>::max()) return NumberType::Int;
  if (mayBeInt && mayBeUnsigned && value <= std::numeric_limits<uint32_t>::max())
    return NumberType::UnsignedInt;
  if (!suffix.isUnsigned && value <= std::numeric_limits<int64_t>::max()) return NumberType::LongLong;
  return NumberType::UnsignedLongLong;
}

Literal readInteger(const Spelling& spelling) {
  const bool isOctal = spelling.base == 10 && spelling.digits[0] == '0' && spelling.digits.size() > 1;
  const int base = isOctal ? 8 : spelling.base;
  const std::optional<IntegerSuffix> suffix = readSuffix(spelling.suffix);
  if (!suffix || spelling.digits.empty()) return kNoLiteral;
  uint64_t value = 0;
  bool wrapped = false;
  for (const char c : spelling.digits) {
    if (c == '\'') continue;
    if (!isDigit(c, base)) return kNoLiteral;
    wrapped |= __builtin_mul_overflow(value, static_cast<uint64_t>(base), &value);
    wrapped |= __builtin_add_overflow(value, static_cast<uint64_t>(digitValue(c)), &value);
  }
  const bool isDecimal = spelling.base == 10 && !isOctal;
  const NumberType type = typeOfLiteral(value, isDecimal, *suffix);
  return {{integerOf(type, value), wrapped ? kWrapped : 0}, spelling.length};
}

int64_t readExponent(std::string_view text) {
  if (!text.empty() && text[0] == '+') text.remove_prefix(1);
  int64_t exponent = 0;
  const auto parsed = std::from_chars(text.data(), text.data() + text.size(), exponent);
  constexpr int64_t kHuge = std::numeric_limits<int32_t>::max();
  if (parsed.ec != std::errc{}) return text[0] == '-' ? -kHuge : kHuge;
  return std::clamp(exponent, -kHuge, kHuge);
}

/// Whether digits that no real number comes near are too great, not too small.
bool isTooGreat(std::string_view digits, int base) {
  const size_t end = std::min(digits.find_first_of(base == 16 ? "pP" : "eE"), digits.size());
  const std::string_view mantissa = digits.substr(0, end);
  const auto point = static_cast<int64_t>(std::min(mantissa.find('.'), mantissa.size()));
  const auto first = static_cast<int64_t>(std::min(mantissa.find_first_not_of("0."), mantissa.size()));
  const int64_t places = (point - first) * (base == 16 ? 4 : 1);
  return places + (end < digits.size() ? readExponent(digits.substr(end + 1)) : 0) > 0;
}

template <class Real>
double parseReal(std::string_view digits, int base) {
  Real value = 0;
  const auto format = base == 16 ? std::chars_format::hex : std::chars_format::general;
  const auto parsed = std::from_chars(digits.data(), digits.data() + digits.size(), value, format);
  if (parsed.ec != std::errc::result_out_of_range) return value;
  return isTooGreat(digits, base) ? std::numeric_limits<double>::infinity() : 0.0;
}

/// Whether digits stand where a real number needs them.
bool isCompleteReal(const Spelling& spelling) {
  const std::string_view digits = spelling.digits;
  const size_t exponent = std::min(digits.find_first_of(spelling.base == 16 ? "pP" : "eE"), digits.size());
  const bool hasExponent = exponent < digits.size();
  const bool hasMantissa = digits.substr(0, exponent).find_first_not_of('.') != std::string_view::npos;
  return spelling.base != 2 && hasMantissa && (hasExponent || spelling.base == 10) &&
         (!hasExponent || isDigit(digits.back(), 10));
}

Literal readReal(const Spelling& spelling) {
  const bool isFloat = spelling.suffix == "f" || spelling.suffix == "F";
  const bool isKnown = isFloat || spelling.suffix.empty() || spelling.suffix == "l" || spelling.suffix == "L";
  if (!isKnown || !isCompleteReal(spelling)) return kNoLiteral;
  std::string digits(spelling.digits);
  digits.erase(std::remove(digits.begin(), digits.end(), '\''), digits.end());
  const double value =
      isFloat ? parseReal<float>(digits, spelling.base) : parseReal<double>(digits, spelling.base);
  return {{{NumberType::Real, 0, value}, std::isfinite(value) ? 0 : kArithmetic}, spelling.length};
}

/// The value of `count` digits or fewer; nothing if there is none, or it is no character.
std::optional<uint8_t> readCode(std::string_view text, size_t& position, size_t count, int base) {
  const size_t begin = position;
  int code = 0;
  for (; position - begin < count && isDigit(at(text, position), base); ++position) {
    code = code * base + digitValue(text[position]);
    if (code > std::numeric_limits<uint8_t>::max()) return std::nullopt;
  }
  if (position == begin) return std::nullopt;
  return static_cast<uint8_t>(code);
}

/// The character of the escape whose backslash stands at `position`, which moves on.
std::optional<uint8_t> readEscape(std::string_view text, size_t& position) {
  constexpr std::string_view kLetters = "ntabfvre\\'\"?";
  constexpr std::string_view kMeanings = "\n\t\a\b\f\v\r\x1B\\'\"?";
  const char letter = at(text, ++position);
  if (isDigit(letter, 8)) return readCode(text, position, 3, 8);
  ++position;
  if (letter == 'x') return readCode(text, position, text.size(), 16);
  const size_t meaning = kLetters.find(letter);
  if (meaning == std::string_view::npos) return std::nullopt;
  return static_cast<uint8_t>(kMeanings[meaning]);
}

}  // namespace

Literal readNumber(std::string_view text) {
  const Spelling spelling = spell(text);
  return spelling.isReal ? readReal(spelling) : readInteger(spelling);
}

Literal readCharacter(std::string_view text) {
  constexpr int kMostCharacters = 4;
  size_t position = 1;
  uint32_t value = 0;
  int count = 0;
  for (; position < text.size() && text[position] != '\''; ++count) {
    std::optional<uint8_t> code;
    if (text[position] == '\\') {
      code = readEscape(text, position);
    } else if (text[position] != '\n' && text[position] != '\r') {
      code = static_cast<uint8_t>(text[position++]);
    }
    if (!code || count == kMostCharacters) return kNoLiteral;
    value = value << 8 | *code;
  }
  if (count == 0) return kNoLiteral;
  const int32_t number = count == 1 ? static_cast<int8_t>(value) : static_cast<int32_t>(value);
  return {{numberOf(number), 0}, std::min(position + 1, text.size())};
}

}  // namespace host::expression
