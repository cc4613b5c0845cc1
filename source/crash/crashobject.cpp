#include "crash/crashobject.h"

#include <new>

#include "vesta.framework/contract/command_ids.h"

namespace outfitter {
namespace {

constexpr uint32_t kStored = 0x123445;

// Where it points is read at run time: a store to a null pointer that the compiler knows becomes a trap,
// which is another kind of crash.
volatile uint32_t* volatile g_nowhere = nullptr;

}  // namespace

// Sanitizers would report the store instead of letting it happen.
__attribute__((no_sanitize("undefined"), no_sanitize("address"), no_sanitize("thread"))) bool
CrashObjectDialogCommand::Execute(HostDocument*) {
  *g_nowhere = kStored;
  return false;
}

bool RegisterCrashTest() {
  return vesta::RegisterCommand(HOST_COMMAND_CRASH_TEST, "Crash Vesta", 0, nullptr, "Crash Vesta",
                                new (std::nothrow) CrashObjectDialogCommand);
}

}  // namespace outfitter
