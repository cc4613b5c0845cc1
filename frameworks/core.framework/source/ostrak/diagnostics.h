// Diagnostics of the core path: each message is written in one piece, to the output service of the core
// system where there is one, else to standard output. Nothing here throws; every function may be called from
// any thread.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ostrak {

/// What takes the messages of the core path.
struct OutputService {
  uint32_t (*OutputMask)();            ///< which messages are wanted, as vesta::g_outputMask
  void (*Write)(const char* message);  ///< a whole message, with its line end
};

/// Hands the core path to a service, which lives on; null takes it away again. Thread: main, while nothing is
/// written.
void SetOutputService(const OutputService* service);

/// While true, the core path writes nothing. Written before anything is written, then read.
extern bool g_suppressOutput;

/// Whether critical messages may stop in a debugger, and whether parallel loops run in parallel:
/// configuration values.
extern bool g_enableDebugBreak;
extern bool g_enableParallelFor;

/// Writes one message; flags as of vesta::DebugOutput. With a debugger attached, the location stands in
/// front, where development environments find it.
void CoreDebugOutput(uint32_t flags, const char* text, int32_t line, const char* file);

/// Writes `length` 16-bit characters as UTF-8 to the console. No string (null) is reported as critical.
void ConsoleOutput(const char16_t* text, size_t length);

}  // namespace ostrak
