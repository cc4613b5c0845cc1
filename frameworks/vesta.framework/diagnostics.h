// Diagnostics of the host path: a message is formatted in the module and handed to the host's debug print,
// piece by piece. Nothing here throws; every function may be called from any thread.
#pragma once

#include <cstdarg>
#include <cstdint>

#if defined(__GNUC__) && !defined(__MINGW32__)
#define VESTA_PRINTF(text, first) __attribute__((format(printf, text, first)))
#else
#define VESTA_PRINTF(text, first)
#endif

namespace vesta {

/// What a message is, and how it is printed: given with every message.
enum DiagnosticFlags : uint32_t {
  kDiagnostic = 1,
  kWarning = 2,
  kCritical = 4,  ///< counts only where kWarning does not
  kNoLineEnd = 0x20000000,
  kLocation = 0x40000000,  ///< time and source stand behind the message
};

/// The bits that say how grave a message is; it is printed when its flags and the output mask share one.
inline constexpr uint32_t kLevels = kDiagnostic | kWarning | kCritical;
/// An output mask before anybody has set one.
inline constexpr uint32_t kFirstOutputMask = kLevels | kNoLineEnd;

/// Which messages the host path prints, and whether it stops in a debugger when something goes badly wrong.
/// Written once, then read.
extern uint32_t g_outputMask;
extern bool g_debugBreak;
/// Whether a debugger was attached when the module was loaded.
extern const bool g_debuggerAttached;

/// Formats like snprintf into `buffer` of `size` bytes, and answers the number of bytes without the
/// terminating zero, which is always there. A text that does not fit is cut, and reported as critical; one
/// that would fit without its zero is cut only. A size below 1 writes nothing and answers 0.
int32_t FormatBounded(char* buffer, int32_t size, const char* format, ...) VESTA_PRINTF(3, 4);

/// Formats at most 2047 bytes and prints them; a longer text is cut, and one of more than 2048 reported as
/// critical. Answers what the host's debug print answers, 0 where there is no host.
int32_t HostPrintf(const char* format, ...) VESTA_PRINTF(1, 2);

/// Prints one message. `file` is the source file as compiled in.
void DebugOutput(uint32_t flags, const char* text, int32_t line, const char* file);

/// Reports `message` and "Stop" as critical, with their source, and breaks into an attached debugger when
/// g_debugBreak is on. Execution goes on.
void CriticalStop(const char* message, const char* file, int32_t line);

// ---- shared with the core path ----

/// "WARNING: ", "CRITICAL: " or nothing.
const char* LevelPrefix(uint32_t flags);
/// Whether a debugger traces this process now.
bool IsDebuggerAttached();
/// Stops in the debugger. Without one the process would end, so the caller asks first.
void BreakIntoDebugger();

}  // namespace vesta
