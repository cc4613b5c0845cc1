#pragma once
// The calls that led to a crash. Everything here is safe in a signal handler, as far as unwinding can be: it
// reads the memory of a program that went wrong.

#include <ucontext.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace host {

/// Where the thread was when the signal came; 0 on processors that are not known here.
uintptr_t programCounterOf(const ucontext_t& context);
uintptr_t stackPointerOf(const ucontext_t& context);

/// Calls at the same place, one right below the other.
struct TracedCall {
  uintptr_t address = 0;   ///< of the call; of the newest one the instruction where the thread was
  std::size_t number = 0;  ///< of the newest of them: 0 is the newest of all
  std::size_t times = 0;
};

/// The newest calls and the oldest ones: an endless recursion has too many to tell them all.
class CrashTrace {
 public:
  static constexpr std::size_t kNewest = 60;
  static constexpr std::size_t kOldest = 20;

  /// Finds the calls from where `context` was. To be called in the handler that was given it, which may be on
  /// another stack.
  void collect(ucontext_t& context);

  /// How many are kept, the newest first.
  std::size_t size() const;
  const TracedCall& operator[](std::size_t index) const;

 private:
  struct Unwinding;
  void add(uintptr_t address);
  TracedCall& at(std::size_t count);

  std::array<TracedCall, kNewest> newest_{};
  std::array<TracedCall, kOldest> oldest_{};  ///< a ring
  std::size_t count_ = 0;                     ///< kept or not
};

/// To be called once before anything crashes: what the unwinder does at its first use only.
void prepareUnwinding();

}  // namespace host
