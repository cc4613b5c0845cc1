#pragma once
// What the system says of a fatal signal, in words. Everything here is safe in a signal handler.

#include <ucontext.h>

#include <csignal>
#include <string_view>

#include "host/app/crash_writer.h"

namespace host {

/// "SIGSEGV" and the like.
std::string_view signalName(int signal);
/// Why it came: "no memory is there" and the like; empty when nothing is known.
std::string_view signalReason(const siginfo_t& info);
/// Whether a process, this one or another, sent it; otherwise an instruction is to blame.
bool isSent(const siginfo_t& info);

/// Writes what was done to which address, and what that address means: "write to 0x0, a null pointer".
void writeAccess(CrashWriter& out, const siginfo_t& info, const ucontext_t& context);

/// Writes the registers, four a line, where their names are known here.
void writeRegisters(CrashWriter& out, const ucontext_t& context);

}  // namespace host
