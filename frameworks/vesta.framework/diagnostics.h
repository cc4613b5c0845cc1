// Diagnostics of the module: messages that go through the host's debug print, and what all messages share.
#pragma once

#include <cstdint>

namespace vesta {

/// Flags of a message, bit values. Without one of the first three it is never printed.
inline constexpr uint32_t kMessageOrdinary = 1U << 0;
inline constexpr uint32_t kMessageWarning = 1U << 1;     ///< "WARNING: " stands before the text
inline constexpr uint32_t kMessageCritical = 1U << 2;    ///< "CRITICAL: " does, unless it is a warning
inline constexpr uint32_t kMessageNoLineEnd = 1U << 29;  ///< the next message goes on in the same line
inline constexpr uint32_t kMessageLocation = 1U << 30;   ///< with time and source location

/// The flags that say how grave a message is.
inline constexpr uint32_t kMessageLevels = kMessageOrdinary | kMessageWarning | kMessageCritical;
/// With what output masks begin. A message is printed when it shares a level with the mask.
inline constexpr uint32_t kInitialOutputMask = kMessageLevels | kMessageNoLineEnd;

/// Bytes of a text's buffer, and of a source location's; both with the terminating zero.
inline constexpr int32_t kTextSize = 2048;
inline constexpr int32_t kLocationSize = 1024;

inline constexpr bool IsPrinted(uint32_t flags, uint32_t mask) {
  return (flags & mask & kMessageLevels) != 0;
}

/// What stands before the text of a message; empty for ordinary ones.
const char* LevelPrefix(uint32_t flags) noexcept;

/// A text that may be missing, as printf shows it.
inline const char* OrNullWord(const char* text) { return text != nullptr ? text : "(null)"; }

/// The output mask and the debug-break switch of the messages that go through the host. Written by nobody
/// while threads run.
extern uint32_t g_outputMask;
extern bool g_debugBreak;

/// Formats into `buffer`, `size` bytes with the terminating zero; answers the number of bytes before that
/// zero. A text that does not fit is reported as critical and cut; answers size - 1 then, also when the
/// formatter itself fails. A size below 1 writes nothing and answers 0. Thread: any.
[[gnu::format(printf, 3, 4)]] int32_t FormatBounded(char* buffer, int32_t size, const char* format,
                                                    ...) noexcept;

/// Hands a formatted text to the host's debug print and answers what that answers; 0 while there is no host.
/// A text of more than 2048 bytes is reported as critical; no more than its first 2047 are printed.
/// Thread: any.
[[gnu::format(printf, 1, 2)]] int32_t HostPrintf(const char* format, ...) noexcept;

/// Prints one message in pieces: prefix, text, time and location, line end. `file` and `line` are shown for
/// kMessageLocation only. Thread: any.
void DebugOutput(uint32_t flags, const char* text, int32_t line, const char* file) noexcept;

/// Reports what must not happen, then "Stop", both as critical and with the location; breaks into the
/// debugger when the switch is on and one was attached at load. Returns always: the caller goes on.
/// Thread: any.
void CriticalStop(const char* message, const char* file, int32_t line) noexcept;

}  // namespace vesta
