// Any bytes as an expression: it has one value, whatever blanks and parentheses stand around it.
#include <cstdlib>
#include <cstring>
#include <string>

#include "host/services/expression.h"

namespace {

using namespace host;

void require(bool holds) {
  if (!holds) std::abort();
}

bool isSame(const Evaluation& a, const Evaluation& b) {
  return a.success == b.success && a.status == b.status && a.integer == b.integer &&
         std::memcmp(&a.real, &b.real, sizeof a.real) == 0;
}

void checkIntegers(const Evaluation& found) {
  const bool isWhole = found.real == found.integer || found.real == static_cast<uint32_t>(found.integer);
  require(!found.success || isWhole);
}

void check(const std::string& text, EvaluationMode mode) {
  const Evaluation found = evaluateExpression(text, mode);
  require(found.success == (found.status == 0));
  require(isSame(found, evaluateExpression(text, mode)));
  if (mode == EvaluationMode::Integer) checkIntegers(found);
  // The last constant may lack its quote and would hold what is put behind it.
  if (!found.success || text.find('\'') != std::string::npos) return;
  require(isSame(found, evaluateExpression(" \t" + text + "\n", mode)));
  const Evaluation inside = evaluateExpression("(" + text + ")", mode);
  require(isSame(found, inside) || inside.status == evaluation_status::kDepth);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  check(text, EvaluationMode::Integer);
  check(text, EvaluationMode::Real);
  return 0;
}
