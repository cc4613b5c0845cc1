#include "host/services/expression.h"

namespace host {

Evaluation evaluateExpression(std::string_view, EvaluationMode) {
  return {false, evaluation_status::kSyntax, 0, 0};
}

}  // namespace host
