// How the module reaches the host: its own copy of the host's tables, whole and without a null slot.
#pragma once

#include "vesta.framework/contract/host_tables.h"

namespace vesta {

/// Every area by value. Where the host lacks an area or a slot stands a function that answers the slot's
/// failure, so that nothing behind the door tests for null.
struct KeptTables {
  int32_t interfaceVersion = 0;
#define HOST_AREA_BEGIN(Area, member) Host##Area##Table member{};
#define HOST_SLOT(result, Name, arguments, failure)
#define HOST_AREA_END(Area, member)
#include "vesta.framework/contract/all_areas.inc"
#undef HOST_AREA_BEGIN
#undef HOST_SLOT
#undef HOST_AREA_END
};

/// Checks the host's tables and keeps a copy. What the host lacks is named on standard error, a line each.
/// Thread: main. False, with nothing kept, when the version is below HOST_MINIMUM_VERSION, the table is
/// missing, or the strings or registration area is.
bool KeepHostTables(const HostTables* offered);

/// Frees the copy. Thread: main, after the last use of any wrapper.
void FreeHostTables();

/// Set once at the first attach, before any tool runs; null before it and after the last detach.
extern const KeptTables* g_hostTables;

inline const KeptTables& Host() { return *g_hostTables; }

/// Runs a callback's body; an exception ends here, with `failure` for the answer.
template <class Failure, class Body>
Failure Guarded(Failure failure, Body&& body) noexcept {
  try {
    return body();
  } catch (...) {
    return failure;
  }
}

/// The same for callbacks that answer a truth value, and for those that answer nothing.
template <class Body>
HostBool GuardedTruth(Body&& body) noexcept {
  return Guarded(HostBool{0}, [&] { return HostBool{body() ? 1 : 0}; });
}
template <class Body>
void GuardedVoid(Body&& body) noexcept {
  Guarded(0, [&] {
    body();
    return 0;
  });
}

}  // namespace vesta
