// The host's scripts.
#include "host/script/script_lists.h"
#include "host/services/text.h"
#include "host/tables/areas.h"
#include "host/tables/door.h"
#include "host/tables/handles.h"

namespace host {
namespace {

ScriptLists* g_scriptLists = nullptr;

HostScript* handleOf(const Script* script) {
  return reinterpret_cast<HostScript*>(const_cast<Script*>(script));
}
const Script& behind(const HostScript* handle) { return *reinterpret_cast<const Script*>(handle); }

HostScriptList* GetScriptList(int32_t kind) {
  if (kind != HOST_SCRIPT_USER && kind != HOST_SCRIPT_SHIPPED) return nullptr;
  return reinterpret_cast<HostScriptList*>(&g_scriptLists->list(static_cast<ScriptKind>(kind)));
}

HostScript* ListFirst(const HostScriptList* list) {
  const auto& scripts = reinterpret_cast<const ScriptList*>(list)->scripts;
  return scripts.empty() ? nullptr : handleOf(&scripts.front());
}

HostScript* ListNext(const HostScript* script) { return handleOf(behind(script).next); }

HostBool ScriptGetName(const HostScript* script, HostString* destination) {
  destination->text = fromUtf8(behind(script).name);
  return 1;
}

HostContainer* ScriptGetData(HostScript* script) {
  return handleOf(&reinterpret_cast<Script*>(script)->data);
}

HostBool SaveScriptFile(int32_t, HostScript* script, const HostFileName* name, int32_t typeCode) {
  if (typeCode != HOST_SCRIPT_TYPE) return 0;
  return g_scriptLists->save(behind(script), name->path) ? 1 : 0;
}

}  // namespace

void setScriptLists(ScriptLists* lists) { g_scriptLists = lists; }

const HostScriptsTable& scriptsTable() {
#include "vesta.framework/contract/tagged_words.h"
#define HOST_SLOT VESTA_DOOR
  static constexpr HostScriptsTable kTable = {
      sizeof(HostScriptsTable),
#include "vesta.framework/contract/script_slots.inc"
  };
#undef HOST_SLOT
#include "vesta.framework/contract/no_words.h"
  return kTable;
}

}  // namespace host
