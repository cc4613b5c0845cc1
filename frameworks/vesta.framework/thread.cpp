#include "vesta.framework/thread.h"

namespace vesta {
namespace {

VestaThread& Self(void* self) { return *static_cast<VestaThread*>(self); }

const HostThreadCallbacks kCallbacks = {
    sizeof(HostThreadCallbacks),
    [](void* self) noexcept {
      Guarded(0, [&] {
        Self(self).Main();
        return 1;
      });
    },
    [](void* self) noexcept {
      return Guarded(HostBool{0}, [&] { return HostBool{Self(self).TestBreakExtra()}; });
    },
    [](void* self) noexcept {
      return Guarded(static_cast<const char*>(nullptr), [&] { return Self(self).GetThreadName(); });
    },
};

}  // namespace

VestaThread::VestaThread() : thread_(Host().threads.ThreadCreate(&kCallbacks, this)) {}

VestaThread::~VestaThread() {
  if (thread_ != nullptr) Host().threads.ThreadFree(thread_);
}

bool VestaThread::Start() { return Host().threads.ThreadStart(thread_, 0, 0) != 0; }

void VestaThread::End() { Host().threads.ThreadEnd(thread_, 1); }

bool VestaThread::TestBreak() const { return Host().threads.ThreadTestBreak(thread_) != 0; }

}  // namespace vesta
