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

/// The newest calls and the oldest ones: an endless recursion has too many to tell them all.
class CrashTrace {
 public:
  static constexpr std::size_t kNewest = 60;
  static constexpr std::size_t kOldest = 20;

  /// Finds the calls from where `context` was. To be called in the handler that was given it, which may be on
  /// another stack.
  void collect(ucontext_t& context);

  /// Those that are kept, the newest first.
  std::size_t size() const;
  /// The address of an instruction: the first one is where the thread was, the others are calls.
  uintptr_t operator[](std::size_t index) const;
  /// The number of calls between the newest and the oldest ones that are kept.
  std::size_t leftOut() const;
  /// How many calls there are in all before `index`.
  std::size_t numberOf(std::size_t index) const { return index < kNewest ? index : index + leftOut(); }

 private:
  struct Unwinding;
  void add(uintptr_t address);
  void unwind(uintptr_t programCounter);

  std::array<uintptr_t, kNewest> newest_{};
  std::array<uintptr_t, kOldest> oldest_{};  ///< a ring
  std::size_t count_ = 0;
};

/// To be called once before anything crashes: what the unwinder does at its first use only.
void prepareUnwinding();

}  // namespace host
