#pragma once
// The host's scripts: the user's own, and those that are shipped.

#include <array>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "host/script/runner.h"
#include "host/script/script.h"

namespace host {

/// Where scripts lie, and who is told of what cannot be read or written.
struct ScriptPlaces {
  std::string appFolder;
  std::string preferencesFolder;
  std::function<void(const std::string&)> tell;
};

/// The scripts of one kind, sorted by the bytes of their names.
struct ScriptList {
  std::deque<Script> scripts;
};

/// Thread: main.
class ScriptLists {
 public:
  explicit ScriptLists(ScriptPlaces places) : places_(std::move(places)) {}
  ScriptLists(const ScriptLists&) = delete;
  ScriptLists& operator=(const ScriptLists&) = delete;

  /// The folder of a kind of script; it need not be there.
  std::string folder(ScriptKind kind) const;
  /// The scripts of a kind, read when they are asked for first; lent as long as this lives. What cannot be
  /// used is told and left out.
  ScriptList& list(ScriptKind kind);
  /// The names of the scripts of both kinds.
  std::vector<std::string> names();
  /// Writes a script as an object file, whole or not at all, and makes its folder where that is missing.
  /// False: it was told why not.
  bool save(const Script& script, const std::string& file);
  /// The script of that name, the user's if there are two; null when there is none that can be used. Reads
  /// that one only; lent until the next call.
  Script* find(const std::string& name);
  /// Runs a script, which is compiled once more when its code is that of another version of the program.
  ScriptRun run(Script& script, const std::vector<std::string>& arguments);

 private:
  /// The files of one script in a folder; at least one of them is there.
  struct Files {
    std::string object;
    std::string source;
  };
  using FilesByName = std::map<std::string, Files>;

  ScriptList load(ScriptKind kind);
  FilesByName findFiles(const std::string& folder);
  void addFile(FilesByName& found, const std::string& file);
  /// A script from its file; none, when it was told why not.
  std::optional<Script> read(const std::string& name, ScriptKind kind, const Files& files);
  bool fill(Script& script);
  bool compile(Script& script);

  ScriptPlaces places_;
  std::array<std::optional<ScriptList>, 2> lists_;
  std::optional<Script> found_;
};

}  // namespace host
