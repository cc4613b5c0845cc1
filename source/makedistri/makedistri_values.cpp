#include "makedistri/makedistri_values.h"

#include <charconv>

namespace outfitter {
namespace {

constexpr std::string_view kFourByte = "VESTA_FOUR_BYTE";

/// A define that is an id of four bytes becomes its number.
void ResolveFourByteId(std::string& text, const Evaluator& evaluate) {
  const size_t open = kFourByte.size();
  if (text.compare(0, open, kFourByte) != 0 || text.size() <= open + 1 || text[open] != '(') return;
  text = FourByteId(std::string_view(text).substr(open + 1, text.size() - open - 2), evaluate);
}

/// In C a character above 127 is negative; the id holds its code.
uint32_t CodeOfPart(std::string_view part, int32_t value) {
  const bool isCharacter = part.starts_with('\'') && value >= -128 && value < 0;
  return static_cast<uint32_t>(isCharacter ? value + 256 : value);
}

bool IsReal(std::string_view text) {
  return text.find('.') != std::string_view::npos && text.find('\'') == std::string_view::npos;
}

void Evaluate(Value& value, const SymbolTable& symbols, const Evaluator& evaluate, bool wrappedCounts) {
  const auto counts = [&] {
    value.found = evaluate(value.text, value.isReal);
    return value.found.success || (wrappedCounts && value.found.wrapped);
  };
  value.known = counts() || (symbols.Substitute(value.text, &value.used) && counts());
}

}  // namespace

Value ValueOfDefine(std::string_view text, const SymbolTable& symbols, const Evaluator& evaluate) {
  Value value;
  value.text = text;
  ResolveFourByteId(value.text, evaluate);
  value.isReal = IsReal(value.text);
  Evaluate(value, symbols, evaluate, true);
  return value;
}

Value ValueOfEnumerator(std::string_view text, const SymbolTable& symbols, const Evaluator& evaluate) {
  Value value;
  value.text = text;
  Evaluate(value, symbols, evaluate, false);
  return value;
}

std::string FourByteId(std::string_view parts, const Evaluator& evaluate) {
  uint32_t id = 0;
  for (int i = 0; i < 4; ++i) {
    std::string_view part = parts;
    if (i < 3) {
      const size_t comma = parts.find(',');
      if (comma == std::string_view::npos) return {};
      part = parts.substr(0, comma == 0 ? 0 : comma - 1);
      parts.remove_prefix(comma + 1);
    }
    const Evaluation found = evaluate(std::string(part), false);
    if (!found.success) return {};
    id = id * 256 + CodeOfPart(part, found.integer);
  }
  return std::to_string(static_cast<int32_t>(id));
}

std::string ShortestReal(double value) {
  char text[32];
  const auto end = std::to_chars(text, text + sizeof text, value);
  return {text, end.ptr};
}

}  // namespace outfitter
