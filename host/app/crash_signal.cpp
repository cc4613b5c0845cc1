#include "host/app/crash_signal.h"

#include <array>

#include "host/app/crash_place.h"
#include "host/app/crash_trace.h"

namespace host {
namespace {

struct SignalCode {
  int signal;
  int code;
  std::string_view reason;
};

constexpr SignalCode kCodes[] = {
    {SIGSEGV, SEGV_MAPERR, "no memory is there"},
    {SIGSEGV, SEGV_ACCERR, "the memory there does not allow it"},
    {SIGSEGV, SI_KERNEL, "the address is none that a program can have"},
    {SIGBUS, BUS_ADRALN, "the address is not aligned"},
    {SIGBUS, BUS_ADRERR, "no memory is behind the address, as in a file that became shorter"},
    {SIGBUS, BUS_OBJERR, "the memory or device failed"},
    {SIGILL, ILL_ILLOPC, "no instruction of this processor"},
    {SIGILL, ILL_ILLOPN, "no instruction of this processor, or a trap of the compiler"},
    {SIGILL, ILL_PRVOPC, "an instruction that only the system may use"},
    {SIGFPE, FPE_INTDIV, "whole numbers divided by zero"},
    {SIGFPE, FPE_INTOVF, "a whole number became too large"},
    {SIGFPE, FPE_FLTDIV, "a number divided by zero"},
    {SIGFPE, FPE_FLTINV, "arithmetic without a result"},
};

constexpr uintptr_t kFirstPage = 4096;
// What a function may need of the stack before it touches it.
constexpr uintptr_t kNearStack = uintptr_t{128} << 10;

#if defined(__x86_64__)
constexpr greg_t kPageFault = 14;
constexpr greg_t kWritten = 2;
constexpr greg_t kFetched = 16;
#endif

std::string_view accessOf([[maybe_unused]] const siginfo_t& info,
                          [[maybe_unused]] const ucontext_t& context) {
#if defined(__x86_64__)
  const auto& registers = context.uc_mcontext.gregs;
  if (info.si_signo == SIGSEGV && registers[REG_TRAPNO] == kPageFault) {
    if ((registers[REG_ERR] & kFetched) != 0) return "call of";
    return (registers[REG_ERR] & kWritten) != 0 ? "write to" : "read from";
  }
#endif
  return "access to";
}

bool isNear(uintptr_t address, uintptr_t stackPointer) {
  return stackPointer != 0 && address - stackPointer + kNearStack < 2 * kNearStack;
}

void writeMeaning(CrashWriter& out, uintptr_t address, uintptr_t stackPointer) {
  if (address == 0) {
    out << ", a null pointer";
  } else if (address < kFirstPage) {
    out << ", close to a null pointer: a member or an element of nothing";
  } else if (isNear(address, stackPointer)) {
    out << ", at the stack pointer: the stack of the thread is full (a recursion without end?)";
  } else if (const CodePlace place = findCode(address)) {
    out << ", in " << OneLine{place.module} << "+" << Hex{address - place.base};
  }
}

}  // namespace

std::string_view signalName(int signal) {
  switch (signal) {
    case SIGSEGV:
      return "SIGSEGV";
    case SIGBUS:
      return "SIGBUS";
    case SIGILL:
      return "SIGILL";
    case SIGFPE:
      return "SIGFPE";
    case SIGABRT:
      return "SIGABRT";
    case SIGSYS:
      return "SIGSYS";
    default:
      return "signal";
  }
}

bool isSent(const siginfo_t& info) { return info.si_code <= 0; }

std::string_view signalReason(const siginfo_t& info) {
  for (const SignalCode& known : kCodes) {
    if (known.signal == info.si_signo && known.code == info.si_code) return known.reason;
  }
  if (info.si_signo == SIGABRT) return "the program ended itself, because something was wrong";
  return {};
}

void writeAccess(CrashWriter& out, const siginfo_t& info, const ucontext_t& context) {
  const bool hasAddress = info.si_signo == SIGSEGV || info.si_signo == SIGBUS;
  if (!hasAddress || isSent(info)) return;
  out << "Access:    ";
  if (info.si_code == SI_KERNEL) {
    out << "to an address that the processor does not tell; see the registers\n";
    return;
  }
  const auto address = reinterpret_cast<uintptr_t>(info.si_addr);
  out << accessOf(info, context) << " " << Hex{address};
  writeMeaning(out, address, stackPointerOf(context));
  out << "\n";
}

void writeRegisters([[maybe_unused]] CrashWriter& out, [[maybe_unused]] const ucontext_t& context) {
#if defined(__x86_64__)
  struct Register {
    std::string_view name;
    int index;
  };
  constexpr std::array kRegisters = {
      Register{"rax", REG_RAX}, Register{"rbx", REG_RBX}, Register{"rcx", REG_RCX}, Register{"rdx", REG_RDX},
      Register{"rsi", REG_RSI}, Register{"rdi", REG_RDI}, Register{"rbp", REG_RBP}, Register{"rsp", REG_RSP},
      Register{"r8", REG_R8},   Register{"r9", REG_R9},   Register{"r10", REG_R10}, Register{"r11", REG_R11},
      Register{"r12", REG_R12}, Register{"r13", REG_R13}, Register{"r14", REG_R14}, Register{"r15", REG_R15}};
  out << "Registers:\n";
  for (std::size_t i = 0; i < kRegisters.size(); ++i) {
    out << "  " << kRegisters[i].name << " "
        << Hex{static_cast<uint64_t>(context.uc_mcontext.gregs[kRegisters[i].index])};
    if (i % 4 == 3) out << "\n";
  }
  out << "\n";
#endif
}

}  // namespace host
