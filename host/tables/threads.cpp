// Threads and the global lock.
#include "host/tables/areas.h"
#include "host/tables/door.h"
#include "host/tables/handles.h"

namespace host {
namespace {

void forgetMessages(const HostThread* thread) {
  services().events.dropCoreMessages(thread->worker.id());
  services().console.endErrorLine(thread->worker.id());
  services().console.flush();
}

HostThread* ThreadCreate(const HostThreadCallbacks* callbacks, void* self) {
  auto* thread =
      new HostThread({[=] { callbacks->Main(self); }, [=] { return callbacks->TestBreak(self) != 0; },
                      [=] { return callbacks->GetThreadName(self); }});
  services().threads.push_back(&thread->worker);
  return thread;
}

void ThreadFree(HostThread* thread) {
  thread->worker.end(true);
  forgetMessages(thread);
  std::erase(services().threads, &thread->worker);
  delete thread;
}

HostBool ThreadStart(HostThread* thread, int32_t, int32_t) { return thread->worker.start() ? 1 : 0; }

HostBool ThreadEnd(HostThread* thread, HostBool wait) {
  thread->worker.end(wait != 0);
  if (wait != 0) forgetMessages(thread);
  return 1;
}

HostBool ThreadTestBreak(HostThread* thread) { return thread->worker.testBreak() ? 1 : 0; }

void GlobalThreadLock() { globalLock().lock(); }

void GlobalThreadUnlock() { globalLock().unlock(); }

}  // namespace

const HostThreadsTable& threadsTable() {
#include "vesta.framework/contract/tagged_words.h"
#define HOST_SLOT VESTA_DOOR
  static constexpr HostThreadsTable kTable = {
      sizeof(HostThreadsTable),
#include "vesta.framework/contract/thread_slots.inc"
  };
#undef HOST_SLOT
#include "vesta.framework/contract/no_words.h"
  return kTable;
}

}  // namespace host
