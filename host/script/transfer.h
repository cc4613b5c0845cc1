#pragma once
// What comes back from the process that a script is compiled or run in. For the files of this room.

#include <string>
#include <string_view>

#include "host/script/compiler.h"
#include "host/script/menu.h"

namespace host {

/// How the run of a script ended.
struct RunResult {
  std::string refusal;  ///< why the compiled script must not be used; empty: it ran
  std::string failure;  ///< what ended the run; empty: nothing did
  MenuItem menus;
  std::vector<std::string> lines;  ///< that it printed
};

std::string encode(const Compilation& compilation);
std::string encode(const RunResult& result);
/// Both throw ScriptError for bytes that encode() did not make.
Compilation decodeCompilation(std::string_view bytes);
RunResult decodeRunResult(std::string_view bytes);

}  // namespace host
