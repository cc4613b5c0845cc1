#pragma once
// Script source as the compiler gets it: every file once, behind those that it includes.

#include <map>
#include <string>
#include <vector>

#include "host/script/compiler.h"
#include "host/script/diagnostics.h"
#include "host/script/engine.h"

namespace host {

/// One source file, ready for the compiler: rows are those of the file.
struct SourceFile {
  std::string name;  ///< as seen from the folder of the first file or the library, so that byte code does
                     ///< not depend on them
  std::string path;  ///< for the user
  std::string text;
  /// Words that stand in `text` but not in the file: row, column in `text`, bytes.
  struct Insertion {
    int row;
    int column;
    int length;
  };
  std::vector<Insertion> insertions;

  /// The column in the file for one in `text`.
  int columnInFile(int row, int column) const;
};

/// Reads a script with everything it includes. What is wrong goes to `diagnostics`; if anything is, the
/// answer must not be compiled. Takes includes out of the text and gives names to enumerations without one.
std::vector<SourceFile> readSource(const ScriptSource& source, asIScriptEngine& engine,
                                   Diagnostics& diagnostics);

}  // namespace host
