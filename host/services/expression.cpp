#include "host/services/expression.h"

#include <algorithm>
#include <cmath>

#include "host/services/expression_literals.h"
#include "host/services/expression_numbers.h"
#include "host/services/source_characters.h"

namespace host {
namespace {

using namespace evaluation_status;
using namespace expression;
using namespace source_character;

constexpr int kDeepestNesting = 256;

struct OperatorSpelling {
  std::string_view text;
  BinaryOperator op;
  int precedence;
};

// Longer spellings before those that begin them.
constexpr OperatorSpelling kOperators[] = {
    {"||", BinaryOperator::LogicalOr, 1}, {"&&", BinaryOperator::LogicalAnd, 2},
    {"==", BinaryOperator::Equal, 6},     {"!=", BinaryOperator::NotEqual, 6},
    {"<<", BinaryOperator::ShiftLeft, 8}, {">>", BinaryOperator::ShiftRight, 8},
    {"<=", BinaryOperator::LessEqual, 7}, {">=", BinaryOperator::GreaterEqual, 7},
    {"<", BinaryOperator::Less, 7},       {">", BinaryOperator::Greater, 7},
    {"|", BinaryOperator::BitOr, 3},      {"^", BinaryOperator::BitXor, 4},
    {"&", BinaryOperator::BitAnd, 5},     {"+", BinaryOperator::Add, 9},
    {"-", BinaryOperator::Subtract, 9},   {"*", BinaryOperator::Multiply, 10},
    {"/", BinaryOperator::Divide, 10},    {"%", BinaryOperator::Remainder, 10},
};

/// Counts something for as long as it lives.
class Counting {
 public:
  Counting(int& counter, int by) : counter_(counter), by_(by) { counter_ += by_; }
  Counting(const Counting&) = delete;
  Counting& operator=(const Counting&) = delete;
  ~Counting() { counter_ -= by_; }

 private:
  int& counter_;
  int by_;
};

/// Goes through the text once. What C would not evaluate is evaluated as well, and its faults forgotten.
class Evaluator {
 public:
  explicit Evaluator(std::string_view text) : rest_(text) {}

  Evaluation evaluate(EvaluationMode mode) {
    const Number number = conditional();
    skipBlanks();
    if (!rest_.empty()) stop(kSyntax);
    if (mode == EvaluationMode::Integer) requireInteger(number);
    // A text that has no value has none that could be too large.
    if ((status_ & ~kWrapped) != 0) status_ &= ~kWrapped;
    Evaluation evaluation;
    evaluation.success = status_ == 0;
    evaluation.status = status_;
    if ((status_ & ~kWrapped) == 0) {
      evaluation.real = toReal(number);
      evaluation.integer = integerPart(number, mode);
    }
    return evaluation;
  }

 private:
  /// The rest of the text cannot be understood any more. Only the first reason counts.
  void stop(uint32_t reason) {
    if (!stopped_) status_ |= reason;
    stopped_ = true;
    rest_ = {};
  }

  void requireInteger(const Number& number) {
    if (number.type == NumberType::Real) {
      stop(kSyntax);
    } else if (!fits32Bits(number)) {
      status_ |= kWrapped;
    }
  }

  static int32_t integerPart(const Number& number, EvaluationMode mode) {
    if (number.type == NumberType::Real) {
      const double whole = std::trunc(number.real);
      return whole >= -0x1p31 && whole < 0x1p32 ? static_cast<int32_t>(static_cast<int64_t>(whole)) : 0;
    }
    return mode == EvaluationMode::Integer || fits32Bits(number) ? static_cast<int32_t>(number.bits) : 0;
  }

  /// Notes what went wrong on the way to a number.
  Number keep(const Result& result) {
    status_ |= unevaluated_ > 0 ? result.faults & kSyntax : result.faults;
    return result.number;
  }

  void skipBlanks() {
    while (!rest_.empty() && is(kBlank | kLineEnd, rest_.front())) rest_.remove_prefix(1);
  }

  /// The next character but blanks; zero at the end.
  char peek() {
    skipBlanks();
    return rest_.empty() ? '\0' : rest_.front();
  }

  bool take(char c) {
    if (peek() != c) return false;
    rest_.remove_prefix(1);
    return true;
  }

  void expect(char c) {
    if (!take(c)) stop(kSyntax);
  }

  /// One level deeper; false when that is too deep.
  bool mayNest() {
    if (depth_ > kDeepestNesting) stop(kDepth);
    return !stopped_;
  }

  Number conditional() {
    const Number condition = binary(0);
    if (!take('?')) return condition;
    const Counting nesting(depth_, 1);
    if (!mayNest()) return {};
    const bool chosen = isTrue(condition);
    const Number first = conditionalIf(chosen);
    expect(':');
    const Number second = conditionalIf(!chosen);
    return convert(chosen ? first : second, std::max(first.type, second.type));
  }

  Number conditionalIf(bool evaluated) {
    const Counting skipping(unevaluated_, evaluated ? 0 : 1);
    return conditional();
  }

  const OperatorSpelling* operatorAhead() {
    skipBlanks();
    for (const OperatorSpelling& spelling : kOperators) {
      if (rest_.substr(0, spelling.text.size()) == spelling.text) return &spelling;
    }
    return nullptr;
  }

  /// Operators that bind at least so strongly.
  Number binary(int lowest) {
    Number left = unary();
    for (;;) {
      const OperatorSpelling* const ahead = operatorAhead();
      if (ahead == nullptr || ahead->precedence < lowest) return left;
      rest_.remove_prefix(ahead->text.size());
      const bool isLogical = ahead->op <= BinaryOperator::LogicalAnd;
      left = isLogical ? logical(*ahead, left) : keep(apply(ahead->op, left, binary(ahead->precedence + 1)));
    }
  }

  Number logical(const OperatorSpelling& spelling, const Number& left) {
    const bool first = isTrue(left);
    const bool decides = spelling.op == BinaryOperator::LogicalOr ? first : !first;
    const Counting skipping(unevaluated_, decides ? 1 : 0);
    const bool second = isTrue(binary(spelling.precedence + 1));
    return numberOf(decides ? first : second);
  }

  Number unary() {
    const char first = peek();
    if (first == '(') return parenthesis();
    if (first != '+' && first != '-' && first != '~' && first != '!') return operand(first);
    const Counting nesting(depth_, 1);
    if (!mayNest()) return {};
    rest_.remove_prefix(1);
    return keep(applySign(first, unary()));
  }

  /// A cast, or an expression in parentheses.
  Number parenthesis() {
    const Counting nesting(depth_, 1);
    if (!mayNest()) return {};
    if (const std::optional<ScalarType> type = takeType()) return keep(castTo(*type, unary()));
    rest_.remove_prefix(1);
    const Number number = conditional();
    expect(')');
    return number;
  }

  /// Takes a type in parentheses, if there is one.
  std::optional<ScalarType> takeType() {
    if (peek() != '(') return std::nullopt;
    size_t end = 1;
    while (end < rest_.size() && is(kWord | kBlank | kLineEnd, rest_[end])) ++end;
    if (end == rest_.size() || rest_[end] != ')') return std::nullopt;
    const std::optional<ScalarType> type = typeNamed(rest_.substr(1, end - 1));
    if (type) rest_.remove_prefix(end + 1);
    return type;
  }

  Number operand(char first) {
    if (first == '\'') return literal(readCharacter(rest_));
    if (is(kDigit, first) || (first == '.' && rest_.size() > 1 && is(kDigit, rest_[1])))
      return literal(readNumber(rest_));
    if (is(kWord, first)) return name();
    stop(kSyntax);
    return {};
  }

  Number literal(const Literal& found) {
    if ((found.result.faults & kSyntax) != 0) {
      stop(kSyntax);
      return {};
    }
    rest_.remove_prefix(found.length);
    return keep(found.result);
  }

  Number name() {
    size_t length = 0;
    while (length < rest_.size() && is(kWord, rest_[length])) ++length;
    const std::string_view word = rest_.substr(0, length);
    rest_.remove_prefix(length);
    if (word == "true" || word == "false") return numberOf(word == "true");
    const std::optional<ScalarType> type = word == "sizeof" ? takeType() : std::nullopt;
    if (type && type->size > 0) return integerOf(NumberType::UnsignedInt, static_cast<uint64_t>(type->size));
    stop(kName);
    return {};
  }

  std::string_view rest_;
  uint32_t status_ = 0;
  bool stopped_ = false;
  int depth_ = 0;
  int unevaluated_ = 0;  // so many operands around that C does not evaluate
};

}  // namespace

Evaluation evaluateExpression(std::string_view text, EvaluationMode mode) {
  return Evaluator(text).evaluate(mode);
}

}  // namespace host
