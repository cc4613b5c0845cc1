#include "vesta.framework/module_entry.h"

#include "vesta.framework/host_access.h"
#include "vesta_ostrak.framework/core_services.h"

namespace {

constexpr int32_t kRefused = -3;
constexpr int32_t kNotTaken = -1;
constexpr int32_t kEntryVersion = 5;

int32_t g_attachCount = 0;

int32_t Attach(const HostTables* tables) {
  if (g_attachCount == 0) {
    if (!vesta::KeepHostTables(tables)) return kRefused;
    ModuleMakeGlobals();
    vesta::StartCoreServices();
  }
  ++g_attachCount;
  return 1;
}

int32_t Detach() {
  if (g_attachCount == 0) return 1;
  if (--g_attachCount > 0) return 1;
  ModuleEnd();
  vesta::StopCoreServices();
  ModuleReleaseGlobals();
  vesta::FreeHostTables();
  return 1;
}

int32_t Dispatch(int32_t message, intptr_t argument, void* data, const HostTables* tables) {
  if (message == HOST_MODULE_ATTACH) return Attach(tables);
  if (message == HOST_MODULE_DETACH) return Detach();
  if (message == HOST_MODULE_VERSION) return kEntryVersion;
  // What is left talks to the host, and a host that was refused or has gone cannot be talked to.
  if (vesta::g_hostTables == nullptr) return kNotTaken;
  if (message == HOST_MODULE_START) return vesta::GuardedTruth(ModuleStart);
  if (message == HOST_MODULE_MESSAGE)
    return ModuleMessage(static_cast<int32_t>(argument), data) ? 1 : kNotTaken;
  return kNotTaken;
}

}  // namespace

#ifdef _WIN32
#define VESTA_EXPORT __declspec(dllexport)
#else
#define VESTA_EXPORT __attribute__((visibility("default")))
#endif

VESTA_EXPORT int32_t vesta_main(int32_t message, intptr_t argument, void* data, const HostTables* tables) {
  return vesta::Guarded(kNotTaken, [&] { return Dispatch(message, argument, data, tables); });
}
