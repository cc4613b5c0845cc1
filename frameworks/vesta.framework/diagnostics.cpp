#include "vesta.framework/diagnostics.h"

#include <cstdio>
#include <cstring>
#include <ctime>

#include "vesta.framework/host_access.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <csignal>
#include <cstdlib>
#endif

namespace vesta {

uint32_t g_outputMask = kFirstOutputMask;
bool g_debugBreak = true;
const bool g_debuggerAttached = IsDebuggerAttached();

namespace {

constexpr int32_t kPrintBuffer = 2048;

// Where the reports of the two formatters come from. People search logs for these marks, so they stay what
// they are when lines move.
struct Source {
  const char* file;
  int32_t line;
};
constexpr Source kFormatBoundedSource{"frameworks/vesta.framework/diagnostics.cpp", 43};
constexpr Source kHostPrintfSource{"frameworks/vesta.framework/contract/host_tables.h", 1352};

struct Suffix {
  char text[1024];
};

/// " [time file Lline]".
Suffix LocationSuffix(const char* file, int32_t line) {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
#ifdef _WIN32
  localtime_s(&parts, &now);
#else
  localtime_r(&now, &parts);
#endif
  char time[64];
  if (std::strftime(time, sizeof time, "%H:%M:%S", &parts) == 0) time[0] = '\0';
  Suffix suffix;
  std::snprintf(suffix.text, sizeof suffix.text, " [%s %s L%d]", time, file, static_cast<int>(line));
  return suffix;
}

void BreakIfWanted() {
  if (g_debugBreak && g_debuggerAttached) BreakIntoDebugger();
}

/// Formats; the text ends with a zero whatever happens. Answers the number of bytes, `size` when only the
/// zero has no room, and a negative number when the text does not fit or cannot be formatted.
int32_t Format(char* buffer, int32_t size, const char* format, va_list arguments) {
  buffer[0] = '\0';
  const int length = std::vsnprintf(buffer, static_cast<size_t>(size), format, arguments);
  buffer[size - 1] = '\0';
  return length <= size ? length : -1;
}

int32_t Print(const char* text) {
  return g_hostTables != nullptr ? Host().messages.HostDebugPrint("%s", text) : 0;
}

}  // namespace

int32_t FormatBounded(char* buffer, int32_t size, const char* format, ...) {
  if (size < 1) return 0;
  va_list arguments;
  va_start(arguments, format);
  const int32_t length = Format(buffer, size, format, arguments);
  va_end(arguments);
  if (length < 0) {
    if ((g_outputMask & kCritical) != 0) {
      HostPrintf("%s", LevelPrefix(kCritical));
      HostPrintf("%s", "Stop");
      HostPrintf("%s", LocationSuffix(kFormatBoundedSource.file, kFormatBoundedSource.line).text);
      HostPrintf("%s", "\n");
    }
    BreakIfWanted();
  }
  if (length >= 0 && length < size) return length;
  return size - 1;
}

int32_t HostPrintf(const char* format, ...) {
  char buffer[kPrintBuffer];
  va_list arguments;
  va_start(arguments, format);
  const int32_t length = Format(buffer, kPrintBuffer, format, arguments);
  va_end(arguments);
  if (length < 0) {
    DebugOutput(kCritical | kLocation, "Stop", kHostPrintfSource.line, kHostPrintfSource.file);
    BreakIfWanted();
  }
  return Print(buffer);
}

void DebugOutput(uint32_t flags, const char* text, int32_t line, const char* file) {
  if ((flags & g_outputMask & kLevels) == 0) return;
  const char* prefix = LevelPrefix(flags);
  if (prefix[0] != '\0') HostPrintf("%s", prefix);
  HostPrintf("%s", text);
  if ((flags & kLocation) != 0) HostPrintf("%s", LocationSuffix(file, line).text);
  if ((flags & kNoLineEnd) == 0) HostPrintf("%s", "\n");
}

void CriticalStop(const char* message, const char* file, int32_t line) {
  DebugOutput(kCritical | kLocation, message, line, file);
  DebugOutput(kCritical | kLocation, "Stop", line, file);
  BreakIfWanted();
}

const char* LevelPrefix(uint32_t flags) {
  if ((flags & kWarning) != 0) return "WARNING: ";
  return (flags & kCritical) != 0 ? "CRITICAL: " : "";
}

#ifdef _WIN32

bool IsDebuggerAttached() { return IsDebuggerPresent() != 0; }

void BreakIntoDebugger() { DebugBreak(); }

#else

bool IsDebuggerAttached() {
  constexpr const char* kTracer = "TracerPid:";
  std::FILE* status = std::fopen("/proc/self/status", "r");
  if (status == nullptr) return false;
  bool attached = false;
  char line[256];
  while (std::fgets(line, sizeof line, status) != nullptr) {
    if (std::strncmp(line, kTracer, std::strlen(kTracer)) == 0)
      attached = std::strtol(line + std::strlen(kTracer), nullptr, 10) != 0;
  }
  std::fclose(status);
  return attached;
}

void BreakIntoDebugger() { std::raise(SIGTRAP); }

#endif

}  // namespace vesta
