#include "vesta.framework/diagnostics.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "vesta.framework/debugger.h"
#include "vesta.framework/host_access.h"

namespace vesta {

constinit uint32_t g_outputMask = kInitialOutputMask;
constinit bool g_debugBreak = true;

namespace {

/// Recorded when the module is loaded.
const bool g_debuggerAttached = IsDebuggerAttached();

constexpr char kStop[] = "Stop";

/// Where a text that does not fit is reported from: fixed marks, by which people find such reports in logs of
/// any version, and not the lines that these routines happen to stand on.
constexpr char kFormatterFile[] = "frameworks/vesta.framework/diagnostics.cpp";
constexpr int32_t kFormatterLine = 43;
constexpr char kHostPrintFile[] = "frameworks/vesta.framework/contract/host_tables.h";
constexpr int32_t kHostPrintLine = 1352;

/// Formats `size` bytes, of which the last is always zero. Answers the length of the text, `size` when it
/// would fill the buffer exactly, and a negative number when it is longer or cannot be formatted.
int32_t Format(char* buffer, int32_t size, const char* format, va_list arguments) {
  const auto bytes = static_cast<std::size_t>(size);
  va_list again;
  va_copy(again, arguments);
  // The analyzer does not see the callers' va_start. NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized)
  const int count = std::vsnprintf(buffer, bytes, format, arguments);
  if (count < 0) {
    // What a failed formatter leaves behind is undefined; on cleared ground it is text, then zeros.
    std::memset(buffer, 0, bytes);
    static_cast<void>(std::vsnprintf(buffer, bytes, format, again));
    buffer[size - 1] = '\0';
  }
  va_end(again);
  return count > size ? -1 : count;
}

void Print(const char* piece) { HostPrintf("%s", piece); }

void PrintLocation(int32_t line, const char* file) {
  char time[64];
  const std::time_t now = std::time(nullptr);
  std::tm local{};
#ifdef _WIN32
  localtime_s(&local, &now);
#else
  localtime_r(&now, &local);
#endif
  if (std::strftime(time, sizeof time, "%H:%M:%S", &local) == 0) time[0] = '\0';
  char suffix[kLocationSize];
  FormatBounded(suffix, sizeof suffix, " [%s %s L%d]", time, OrNullWord(file), line);
  Print(suffix);
}

void BreakWhenEnabled() {
  if (g_debugBreak && g_debuggerAttached) BreakIntoDebugger();
}

}  // namespace

const char* LevelPrefix(uint32_t flags) noexcept {
  if ((flags & kMessageWarning) != 0) return "WARNING: ";
  return (flags & kMessageCritical) != 0 ? "CRITICAL: " : "";
}

int32_t FormatBounded(char* buffer, int32_t size, const char* format, ...) noexcept {
  if (size < 1) return 0;
  va_list arguments;
  va_start(arguments, format);
  const int32_t count = Format(buffer, size, format, arguments);
  va_end(arguments);
  if (count < 0) {
    DebugOutput(kMessageCritical | kMessageLocation, kStop, kFormatterLine, kFormatterFile);
    BreakWhenEnabled();
  }
  return count >= 0 && count < size ? count : size - 1;
}

int32_t HostPrintf(const char* format, ...) noexcept {
  char text[kTextSize];
  va_list arguments;
  va_start(arguments, format);
  const int32_t count = Format(text, kTextSize, format, arguments);
  va_end(arguments);
  if (count < 0) {
    DebugOutput(kMessageCritical | kMessageLocation, kStop, kHostPrintLine, kHostPrintFile);
    BreakWhenEnabled();
  }
  return g_hostTables != nullptr ? Host().messages.HostDebugPrint("%s", text) : 0;
}

void DebugOutput(uint32_t flags, const char* text, int32_t line, const char* file) noexcept {
  if (!IsPrinted(flags, g_outputMask)) return;
  const char* prefix = LevelPrefix(flags);
  if (*prefix != '\0') Print(prefix);
  Print(OrNullWord(text));
  if ((flags & kMessageLocation) != 0) PrintLocation(line, file);
  if ((flags & kMessageNoLineEnd) == 0) Print("\n");
}

void CriticalStop(const char* message, const char* file, int32_t line) noexcept {
  DebugOutput(kMessageCritical | kMessageLocation, message, line, file);
  DebugOutput(kMessageCritical | kMessageLocation, kStop, line, file);
  BreakWhenEnabled();
}

}  // namespace vesta
