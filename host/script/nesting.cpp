#include "host/script/nesting.h"

#include <algorithm>
#include <array>

namespace host {
namespace {

template <std::size_t size>
bool isOneOf(const std::array<std::string_view, size>& words, std::string_view token) {
  return std::find(words.begin(), words.end(), token) != words.end();
}

constexpr std::array<std::string_view, 6> kStatements = {"if", "else", "for", "while", "do", "switch"};
constexpr std::array<std::string_view, 3> kOpening = {"(", "[", "{"};
constexpr std::array<std::string_view, 3> kClosing = {")", "]", "}"};

/// The condition operator, the one between the parts of a name, and all assignments: what ends in "=" and
/// compares nothing.
bool isChained(std::string_view token) {
  constexpr std::array<std::string_view, 4> kComparisons = {"==", "!=", "<=", ">="};
  return token == "?" || token == "::" || (token.back() == '=' && !isOneOf(kComparisons, token));
}

}  // namespace

void Nesting::next(std::string_view token) {
  if (levels_.back().statementEnded && token != "else") endStatements();
  levels_.back().statementEnded = false;
  if (isOneOf(kOpening, token)) {
    openLevel(kBracket);
  } else if (isOneOf(kClosing, token)) {
    closeLevel();
    // The body of a nameless function ends no statement: it stands inside an expression.
    levels_.back().statementEnded = token == "}" && levels_.back().operators == 0;
  } else if (token == ";") {
    endOperators();
    levels_.back().statementEnded = true;
  } else if (token == ",") {
    endOperators();
  } else if (isOneOf(kStatements, token)) {
    ++levels_.back().statements;
    ++open_;
  } else if (isChained(token)) {
    ++levels_.back().operators;
    ++open_;
  } else if (token == "function") {
    levels_.back().operators += kInnerFunction;
    open_ += kInnerFunction;
  }
}

void Nesting::openLevel(int cost) {
  levels_.push_back({cost, 0, 0, false});
  open_ += cost;
}

void Nesting::closeLevel() {
  if (levels_.size() == 1) return;
  endStatements();
  endOperators();
  open_ -= levels_.back().bracket;
  levels_.pop_back();
}

void Nesting::endStatements() {
  open_ -= levels_.back().statements;
  levels_.back().statements = 0;
}

void Nesting::endOperators() {
  open_ -= levels_.back().operators;
  levels_.back().operators = 0;
}

}  // namespace host
