// Tokens of files, and the values of expressions.
#include <system_error>

#include "host/services/expression.h"
#include "host/tables/areas.h"
#include "host/tables/door.h"
#include "host/tables/handles.h"

namespace host {
namespace {

void reportNotRead(const std::string& file, const std::system_error& error) {
  services().runLog.fileFailed();
  services().console.printError(file + ": cannot be read: " + reasonOf(error));
}

HostTokenizer* TokenizeFile(const HostFileName* name) {
  try {
    return new HostTokenizer(name->path);
  } catch (const std::system_error& error) {
    reportNotRead(name->path, error);
    return nullptr;
  }
}

void TokenizerFree(HostTokenizer* tokenizer) { delete tokenizer; }

HostBool TokenizerNext(HostTokenizer* tokenizer, HostBool insideComment, HostToken* token) {
  Token next;
  try {
    if (tokenizer->failed || !tokenizer->tokenizer.next(insideComment != 0, next)) return 0;
  } catch (const std::system_error& error) {
    tokenizer->failed = true;
    reportNotRead(tokenizer->file, error);
    return 0;
  }
  token->kind = static_cast<int32_t>(next.kind);
  token->flags = (next.glued ? HOST_TOKEN_GLUED : 0) | (next.startsLine ? HOST_TOKEN_STARTS_LINE : 0);
  token->text = next.text.data();
  token->length = static_cast<int32_t>(next.text.size());
  token->line = next.line;
  return 1;
}

HostBool EvaluateExpression(const char* text, int32_t mode, HostEvaluation* result) {
  const Evaluation found = evaluateExpression(text, static_cast<EvaluationMode>(mode));
  *result = {static_cast<int32_t>(found.status), found.integer, found.real};
  return found.success ? 1 : 0;
}

}  // namespace

const HostTextTable& textTable() {
#include "vesta.framework/contract/tagged_words.h"
#define HOST_SLOT VESTA_DOOR
  static constexpr HostTextTable kTable = {
      sizeof(HostTextTable),
#include "vesta.framework/contract/text_slots.inc"
  };
#undef HOST_SLOT
#include "vesta.framework/contract/no_words.h"
  return kTable;
}

}  // namespace host
