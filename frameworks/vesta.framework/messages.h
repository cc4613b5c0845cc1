// What the user reads, and messages to dialogs.
#pragma once

#include "vesta.framework/string.h"

namespace vesta {

/// A message box; "|" is a line break.
inline bool ShowMessage(const String& text) { return Host().messages.ShowMessage(text.Get(), 0) != 0; }
/// One line on the console.
inline bool PrintConsole(const String& text) { return Host().messages.PrintConsole(text.Get()) != 0; }
/// One line on the console, marked as a status line.
inline bool PrintConsoleStatus(const String& text) {
  return Host().messages.PrintConsoleStatus(text.Get()) != 0;
}
/// The status bar's progress, 0 to 100.
inline void StatusSetBar(int32_t percent) { Host().messages.StatusSetBar(percent); }
inline void StatusSetText(const String& text) { Host().messages.StatusSetText(text.Get()); }
inline void StatusClear() { Host().messages.StatusClear(); }
/// Queues a core message without data for the dialogs on the main thread.
inline bool SendCoreMessage(int32_t id) { return Host().messages.SendCoreMessage(id, nullptr) != 0; }

}  // namespace vesta
