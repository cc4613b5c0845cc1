#include "vesta.framework/thread.h"

namespace vesta {
namespace {

VestaThread& Self(void* self) { return *static_cast<VestaThread*>(self); }

const HostThreadCallbacks kCallbacks = {
    sizeof(HostThreadCallbacks),
    [](void* self) noexcept { GuardedVoid([&] { Self(self).Main(); }); },
    [](void* self) noexcept { return GuardedTruth([&] { return Self(self).TestBreakExtra(); }); },
    [](void* self) noexcept {
      return Guarded(static_cast<const char*>(nullptr), [&] { return Self(self).GetThreadName(); });
    },
};

}  // namespace

VestaThread::VestaThread() : thread_(Host().threads.ThreadCreate(&kCallbacks, this)) {}

VestaThread::~VestaThread() = default;

bool VestaThread::Start() { return Host().threads.ThreadStart(Get(), 0, 0) != 0; }

void VestaThread::End() {
  // Where the host could not end the thread, freeing it does: it must not outlive this object's own part.
  if (Host().threads.ThreadEnd(Get(), 1) == 0) thread_.Reset();
}

bool VestaThread::TestBreak() const { return Host().threads.ThreadTestBreak(Get()) != 0; }

}  // namespace vesta
