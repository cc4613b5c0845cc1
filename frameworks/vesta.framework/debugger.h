// An attached debugger.
#pragma once

namespace vesta {

/// Whether a debugger watches this process at this moment. Thread: any.
bool IsDebuggerAttached() noexcept;

/// Stops in the attached debugger, and goes on when it lets go; does nothing when there is none, since
/// without one a break would end the process. Thread: any.
void BreakIntoDebugger() noexcept;

/// Shows a text in the attached debugger where the system has a way to do so. Thread: any.
void PrintToDebugger(const char* text) noexcept;

}  // namespace vesta
