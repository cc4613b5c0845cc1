#pragma once
// BRAMBLE, the host's script language: source files compiled to files that hold byte code.

#include <string>
#include <vector>

namespace host {

/// The version of the language that compileScript compiles.
inline constexpr int kScriptLanguageVersion = 1;
/// Suffixes of source files and of compiled ones.
inline constexpr const char* kScriptSourceSuffix = "brm";
inline constexpr const char* kCompiledScriptSuffix = "brc";

struct Compilation {
  std::string bytes;  ///< of the compiled file; empty when there are errors. The same source gives the same
  Diagnostics diagnostics;
};

/// Compiles the script in `file`, a normal path. Main thread. Throws nothing for whatever the source is.
Compilation compileScript(const std::string& file);

/// Compiles `source` to the file `destination`, whole or not at all; empty: beside the source, with the
/// suffix of compiled scripts. `diagnostics` gets what there is to say. False: nothing was written.
bool compileScriptFile(const std::string& source, const std::string& destination, Diagnostics& diagnostics);

}  // namespace host
