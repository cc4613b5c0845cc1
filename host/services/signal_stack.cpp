#include "host/services/signal_stack.h"

#include <sys/mman.h>

namespace host {

SignalStack::SignalStack() {
  if (sigaltstack(nullptr, &before_) != 0 || (before_.ss_flags & SS_DISABLE) == 0) return;
  void* memory =
      mmap(nullptr, kSignalStackSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0);
  if (memory == MAP_FAILED) return;
  memory_ = memory;
  const stack_t own{memory, 0, kSignalStackSize};
  sigaltstack(&own, nullptr);
}

SignalStack::~SignalStack() {
  if (memory_ == nullptr) return;
  sigaltstack(&before_, nullptr);
  munmap(memory_, kSignalStackSize);
}

}  // namespace host
