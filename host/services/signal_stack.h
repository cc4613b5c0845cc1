#pragma once
// Room for signal handlers, so that a thread whose own stack is full can still say so.

#include <csignal>
#include <cstddef>

namespace host {

/// In bytes: enough to unwind the stack of the thread in it.
inline constexpr std::size_t kSignalStackSize = std::size_t{128} << 10;

/// Gives the calling thread a stack for signal handlers, until its end there. A thread that has one keeps it;
/// where memory is short it goes without.
class SignalStack {
 public:
  SignalStack();
  SignalStack(const SignalStack&) = delete;
  SignalStack& operator=(const SignalStack&) = delete;
  ~SignalStack();

 private:
  stack_t before_{};
  void* memory_ = nullptr;
};

}  // namespace host
