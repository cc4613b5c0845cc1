// The texts of scripts, names and help in each language: import from string files, and export to them.
#pragma once

#include <cstdint>

#include "vesta.framework/command.h"
#include "vesta.framework/file.h"

namespace outfitter {

/// One line of a string file, as the host's strings.
struct ScriptStringEntry {
  uint32_t kind = 0;  ///< 0 a name, 1 a help text
  vesta::String identifier;
  vesta::String text;
  uint32_t failed = 0;  ///< 1: the line was malformed, and the user was told
};

/// Reads the first entry of an open string file; `name` is its bare name, for the message. True when one was
/// read; false at the end of the file, and with `failed` set at a malformed line. Thread: main.
bool ReadFirstScriptStringEntry(vesta::File& file, const vesta::String& name, ScriptStringEntry& entry);

/// The same for each further entry; `ordinal` counts the entries read before it.
bool ReadNextScriptStringEntry(vesta::File& file, const vesta::String& name, ScriptStringEntry& entry,
                               int32_t ordinal);

/// Where the host keeps its scripts of a kind: 0 the user's, 1 the shipped ones, 2 the library's. Empty for
/// other kinds, and when the host could not name the folder.
vesta::FileName GetScriptFolder(int32_t kind);

/// Sets the texts of scripts to what the string files of a folder say, and writes all scripts back.
class ImportCmd : public vesta::CommandData {
 public:
  bool Execute(HostDocument* document) override;
};

/// Writes a string file for each language that a script has texts in.
class ExportCmd : public vesta::CommandData {
 public:
  bool Execute(HostDocument* document) override;
};

/// Registers the import, then the export.
bool RegisterScriptStrings();

}  // namespace outfitter
