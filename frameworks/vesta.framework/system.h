// The host itself.
#pragma once

#include "vesta.framework/host_access.h"

namespace vesta {

/// The host's interface version in thousands, also where the host lacks the slot.
inline int32_t GetHostVersion() {
  const int32_t version = Host().system.GetHostVersion();
  return version != 0 ? version : Host().interfaceVersion;
}
inline bool HasUserInterface() { return (Host().system.GetRunMode() & HOST_RUN_MODE_NO_USER_INTERFACE) == 0; }
/// Milliseconds since some moment before.
inline int64_t GetTimer() { return Host().system.GetTimer(); }

}  // namespace vesta
