// Diagnostics of the core objects: each message is one piece of text, written once.
#pragma once

#include <cstdint>

/// Whether critical messages of the core stop in a debugger that was attached at the first message.
extern bool g_enableDebugBreak;
/// Whether loops over many items may run on several threads. No loop of the module does yet.
extern bool g_enableParallelFor;

namespace ostrak {

/// Where the core's messages go, and which of them: both may be called on any thread, many at once.
struct OutputService {
  uint32_t (*GetSetting)();            ///< an output mask; with bit 29 it is asked again at the next message
  void (*Write)(const char* message);  ///< lent for the call
};

/// Installs a service, which must stay valid; null takes it away. Without one messages go to standard output
/// and the debugger. Thread: any.
void SetOutputService(const OutputService* service) noexcept;

/// While true no message is written. Thread: any.
void SuppressOutput(bool suppressed) noexcept;

/// Writes one message in one piece; the flags are those of vesta.framework/diagnostics.h. `file` and `line`
/// are shown for kMessageLocation only. What is too long for the memory there is gets cut. Thread: any.
void CoreDebugOutput(uint32_t flags, const char* text, int32_t line, const char* file) noexcept;

/// Writes zero-terminated UTF-16 as UTF-8, to where messages go; a lone surrogate becomes U+FFFD. No text at
/// all is reported as critical. Thread: any.
void ConsoleOutput(const char16_t* text) noexcept;

}  // namespace ostrak
