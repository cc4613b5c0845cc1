#pragma once
// The functions by which scripts talk: arguments, files that they read, lines that they print. They work on
// the ScriptTalk of the context that runs; what cannot be raises an exception in the script.

#include <cstdint>
#include <string>
#include <vector>

#include "host/script/script_text.h"

namespace host {

/// What one run heard and said.
struct ScriptTalk {
  std::vector<std::string> arguments;
  std::vector<std::string> lines;
  std::size_t bytes = 0;  ///< of all lines
  std::string complaint;  ///< what the script ended itself with
};

/// Under which the talk is user data of the context.
inline constexpr std::size_t kTalkData = 1000;

void print(const ScriptText* line);
/// Ends the script: it did not do what it was asked, and says why.
void complain(const ScriptText* reason);
uint32_t argumentCount();
ScriptText* argument(uint32_t index);
/// The bytes of a file, seen from the current folder; a file that cannot be read ends the script.
ScriptText* readText(const ScriptText* file);
/// `value` with `places` digits behind the point, 0 to 40.
ScriptText* formatNumber(double value, uint32_t places);

}  // namespace host
