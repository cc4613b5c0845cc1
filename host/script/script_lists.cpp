#include "host/script/script_lists.h"

#include "host/services/paths.h"

namespace host {

std::string ScriptLists::folder(ScriptKind kind) const {
  return kind == ScriptKind::User ? joinPath(places_.preferencesFolder, "scripts")
                                  : joinPath(places_.appFolder, "resource/modules/vestaplugin/scripts");
}

ScriptList& ScriptLists::list(ScriptKind kind) {
  auto& list = lists_.at(static_cast<std::size_t>(kind));
  if (!list) list.emplace();
  return *list;
}

bool ScriptLists::save(const Script& script, const std::string& file) {
  places_.tell(file + ": not written: " + script.name);
  return false;
}

}  // namespace host
