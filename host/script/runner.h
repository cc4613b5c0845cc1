#pragma once
// Compiled scripts at work.

#include <string>
#include <string_view>
#include <vector>

#include "host/script/menu.h"

namespace host {

/// The menus that a compiled script lays out; the answer has no title. `bytes` is what the compiled file
/// holds, `file` where that stands: the sources that an error names are looked for beside it. Main thread.
/// Throws ScriptRefused when `bytes` must not be used, ScriptError for what ends the script: endless loops,
/// endless recursion, too many strings, division by zero.
MenuItem runMenuScript(std::string_view bytes, const std::string& file);

/// What came of a run.
struct ScriptRun {
  std::vector<std::string> lines;  ///< that the script printed, any bytes
  std::string failure;             ///< what ended it, or what it ended itself with; empty: it did its work
};

/// Runs a compiled script with arguments. `bytes`, `file`, threads and ScriptRefused as for runMenuScript.
ScriptRun runScript(std::string_view bytes, const std::string& file,
                    const std::vector<std::string>& arguments);

}  // namespace host
