#include "vesta.framework/debugger.h"

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#else
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#endif

namespace vesta {

#ifdef _WIN32

bool IsDebuggerAttached() noexcept { return ::IsDebuggerPresent() != FALSE; }

void BreakIntoDebugger() noexcept {
  if (IsDebuggerAttached()) ::DebugBreak();
}

void PrintToDebugger(const char* text) noexcept { ::OutputDebugStringA(text); }

#else

bool IsDebuggerAttached() noexcept {
  constexpr char kField[] = "TracerPid:";
  constexpr std::size_t kFieldLength = sizeof kField - 1;
  std::FILE* status = std::fopen("/proc/self/status", "re");
  if (status == nullptr) return false;
  bool attached = false;
  char line[256];
  while (std::fgets(line, sizeof line, status) != nullptr) {
    if (std::strncmp(line, kField, kFieldLength) != 0) continue;
    attached = std::strtol(line + kFieldLength, nullptr, 10) != 0;
    break;
  }
  std::fclose(status);
  return attached;
}

void BreakIntoDebugger() noexcept {
  if (IsDebuggerAttached()) std::raise(SIGTRAP);
}

void PrintToDebugger(const char*) noexcept {}

#endif

}  // namespace vesta
