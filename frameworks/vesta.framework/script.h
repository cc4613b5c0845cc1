// The host's scripts. Thread: main.
#pragma once

#include "vesta.framework/container.h"

namespace vesta {

/// A script of the host, lent until the last detach; may be none.
class ScriptView {
 public:
  explicit ScriptView(HostScript* script) : script_(script) {}
  explicit operator bool() const { return script_ != nullptr; }

  /// Sets `name` to the name that the script is found by.
  bool GetName(String& name) const { return Host().scripts.ScriptGetName(script_, name.Get()) != 0; }
  /// The script's data; may be none.
  ContainerView GetData() const { return ContainerView(Host().scripts.ScriptGetData(script_)); }
  /// Writes the script as an object file. The host tells the user of what it cannot write.
  bool Save(const FileName& name) const {
    constexpr int32_t kNoFlags = 0;
    return Host().scripts.SaveScriptFile(kNoFlags, script_, name.Get(), HOST_SCRIPT_TYPE) != 0;
  }
  /// The next script of the same list, or none.
  ScriptView Next() const { return ScriptView(Host().scripts.ListNext(script_)); }

 private:
  HostScript* script_;
};
VESTA_HOLDS_ONLY_ITS_HANDLE(ScriptView);

/// The first script of the list of a kind, HOST_SCRIPT_USER or HOST_SCRIPT_SHIPPED, or none.
inline ScriptView FirstScript(int32_t kind) {
  HostScriptList* list = Host().scripts.GetScriptList(kind);
  return ScriptView(list != nullptr ? Host().scripts.ListFirst(list) : nullptr);
}

}  // namespace vesta
