#pragma once
// Signals that end a program which went wrong.

#include <array>
#include <csignal>

namespace host {

inline constexpr std::array kFatalSignals = {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT, SIGSYS};

/// Lets every one of them end the process as the system does, whatever was installed for them before. Safe in
/// a signal handler.
inline void restoreFatalSignals() {
  for (const int signal : kFatalSignals) std::signal(signal, SIG_DFL);
}

}  // namespace host
