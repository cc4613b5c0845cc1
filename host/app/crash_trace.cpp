#include "host/app/crash_trace.h"

#include <unwind.h>

#include <algorithm>

#include "host/app/crash_place.h"

namespace host {
namespace {

// A damaged stack may go round in circles.
constexpr std::size_t kMostFrames = 2'000'000;

_Unwind_Reason_Code stopAtOnce(_Unwind_Context*, void*) { return _URC_END_OF_STACK; }

#if defined(__x86_64__)

/// While it lives, the thread seems to be back in the function that called a function which is not there:
/// from nowhere no unwinder finds its way.
class ReturnFromNowhere {
 public:
  explicit ReturnFromNowhere(ucontext_t& context) : registers_(context.uc_mcontext.gregs) {
    if (findCode(static_cast<uintptr_t>(programCounter_))) return;
    registers_[REG_RIP] = wordAt(static_cast<uintptr_t>(stackPointer_));
    registers_[REG_RSP] += static_cast<greg_t>(sizeof(greg_t));
  }
  ReturnFromNowhere(const ReturnFromNowhere&) = delete;
  ReturnFromNowhere& operator=(const ReturnFromNowhere&) = delete;
  ~ReturnFromNowhere() {
    registers_[REG_RIP] = programCounter_;
    registers_[REG_RSP] = stackPointer_;
  }

 private:
  /// Of a stack that may be none: the fault is handled, and sanitizers need not look for it.
  __attribute__((no_sanitize("undefined"), no_sanitize("address"), no_sanitize("thread"))) static greg_t
  wordAt(uintptr_t address) {
    return *addressed<const volatile greg_t>(address);
  }

  greg_t* registers_;
  const greg_t programCounter_ = registers_[REG_RIP];
  const greg_t stackPointer_ = registers_[REG_RSP];
};

#else

class ReturnFromNowhere {
 public:
  explicit ReturnFromNowhere(ucontext_t&) {}
};

#endif

}  // namespace

uintptr_t programCounterOf([[maybe_unused]] const ucontext_t& context) {
#if defined(__x86_64__)
  return static_cast<uintptr_t>(context.uc_mcontext.gregs[REG_RIP]);
#elif defined(__aarch64__)
  return context.uc_mcontext.pc;
#else
  return 0;
#endif
}

uintptr_t stackPointerOf([[maybe_unused]] const ucontext_t& context) {
#if defined(__x86_64__)
  return static_cast<uintptr_t>(context.uc_mcontext.gregs[REG_RSP]);
#elif defined(__aarch64__)
  return context.uc_mcontext.sp;
#else
  return 0;
#endif
}

struct CrashTrace::Unwinding {
  CrashTrace& trace;
  uintptr_t start;  ///< frames before this one are the handler's
  bool isStarted = false;
  std::size_t frames = 0;

  static _Unwind_Reason_Code onFrame(_Unwind_Context* context, void* self) {
    return static_cast<Unwinding*>(self)->onFrame(context);
  }

  _Unwind_Reason_Code onFrame(_Unwind_Context* context) {
    if (++frames > kMostFrames) return _URC_END_OF_STACK;
    int isInstruction = 0;
    const uintptr_t address = _Unwind_GetIPInfo(context, &isInstruction);
    if (address == 0) return _URC_END_OF_STACK;
    if (address == start) isStarted = true;
    // A return address stands behind its call, which may be the last instruction of its line or function.
    if (isStarted) trace.add(isInstruction != 0 ? address : address - 1);
    return _URC_NO_REASON;
  }
};

void CrashTrace::collect(ucontext_t& context) {
  const uintptr_t crashed = programCounterOf(context);
  const ReturnFromNowhere atCaller(context);
  const uintptr_t start = programCounterOf(context);
  if (start != crashed) add(crashed);
  Unwinding unwinding{*this, start};
  _Unwind_Backtrace(&Unwinding::onFrame, &unwinding);
  if (count_ == 0) add(crashed);
}

void CrashTrace::add(uintptr_t address) {
  std::size_t number = 0;
  if (count_ > 0) {
    TracedCall& last = at(count_ - 1);
    if (last.address == address) {
      ++last.times;
      return;
    }
    number = last.number + last.times;
  }
  at(count_++) = {address, number, 1};
}

TracedCall& CrashTrace::at(std::size_t count) {
  return count < kNewest ? newest_[count] : oldest_[(count - kNewest) % kOldest];
}

std::size_t CrashTrace::size() const { return std::min(count_, kNewest + kOldest); }

const TracedCall& CrashTrace::operator[](std::size_t index) const {
  return index < kNewest ? newest_[index] : oldest_[(index - kNewest + count_ - size()) % kOldest];
}

void prepareUnwinding() { _Unwind_Backtrace(stopAtOnce, nullptr); }

}  // namespace host
