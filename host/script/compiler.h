#pragma once
// BRAMBLE, the host's script language: source files compiled to files that hold byte code.

#include <optional>
#include <string>
#include <vector>

namespace host {

/// The version of the language that compileScript compiles.
inline constexpr int kScriptLanguageVersion = 1;
/// The suffix of compiled scripts.
inline constexpr const char* kCompiledScriptSuffix = "brc";

/// What is compiled.
struct ScriptSource {
  std::string file;                 ///< a normal path; includes are looked for beside it
  std::optional<std::string> text;  ///< in place of what stands in the file
  std::string libraryFolder;        ///< where includes are looked for next; empty: nowhere
};

struct Compilation {
  std::string bytes;                  ///< of the compiled file; empty when there are errors
  std::vector<std::string> messages;  ///< errors and warnings, a line each
};

/// The same source gives the same bytes, wherever it stands. Main thread. Throws std::system_error when the
/// system is out of processes.
Compilation compileScript(const ScriptSource& source);

/// Compiles `source` to the file `destination`, whole or not at all; empty: beside the source, with the
/// suffix of compiled scripts. Answers what there is to say, and no bytes when nothing was written. Otherwise
/// like compileScript.
Compilation compileScriptFile(const std::string& source, const std::string& destination);

}  // namespace host
