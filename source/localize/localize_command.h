// What the import and the export of script strings share.
#pragma once

#include <new>

#include "vesta.framework/messages.h"
#include "vesta.framework/script.h"

namespace outfitter {

/// A host call that fails here has no memory left: the command ends, as where the module itself has none.
inline void Require(bool done) {
  if (!done) throw std::bad_alloc();
}

/// A file name of the host's, which must not be empty: one that lost its text names something else.
inline vesta::FileName Named(vesta::FileName name) {
  Require(!name.IsEmpty());
  return name;
}

/// Runs the work of a command, which answers whether it came to its end. Where memory does not suffice the
/// user is told, and the answer is false.
template <class Work>
bool TellingOfMemory(const char* command, Work work) {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    vesta::ShowMessage(vesta::String(command) + ": not enough memory");
    return false;
  }
}

/// Calls `visit(kind, script)` for the user's scripts, then for the shipped ones, each list in its order.
template <class Visit>
void ForEachScript(Visit visit) {
  for (const int32_t kind : {HOST_SCRIPT_USER, HOST_SCRIPT_SHIPPED}) {
    for (vesta::ScriptView script = vesta::FirstScript(kind); script; script = script.Next()) {
      visit(kind, script);
    }
  }
}

}  // namespace outfitter
