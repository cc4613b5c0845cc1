#include "host/script/script_lists.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "host/script/compiler.h"
#include "host/script/diagnostics.h"
#include "host/script/object_file.h"
#include "host/services/files.h"
#include "host/services/paths.h"
#include "host/services/threads.h"

namespace host {

namespace fs = std::filesystem;

namespace {

constexpr std::uintmax_t kLongestObject = std::uintmax_t{64} << 20;
constexpr std::uintmax_t kLongestSource = std::uintmax_t{2} << 20;

std::string readObjectFile(const std::string& file) {
  if (fs::file_size(file) > kLongestObject) throw ScriptRefused("it is longer than 64 MiB");
  return readWholeFile(file);
}

std::string readSourceFile(const std::string& file) {
  if (fs::file_size(file) > kLongestSource) throw ScriptRefused("it is longer than 2 MiB");
  return readWholeFile(file);
}

/// Whether a file ends in the suffix as the host writes it.
bool endsPlainly(const std::string& file, const char* suffix) {
  return file.ends_with(std::string(".") + suffix);
}

}  // namespace

std::string ScriptLists::folder(ScriptKind kind) const {
  return kind == ScriptKind::User ? joinPath(places_.preferencesFolder, "scripts")
                                  : joinPath(places_.appFolder, "resource/modules/vestaplugin/scripts");
}

ScriptList& ScriptLists::list(ScriptKind kind) {
  auto& list = lists_.at(static_cast<std::size_t>(kind));
  if (!list) list.emplace(load(kind));
  return *list;
}

std::vector<std::string> ScriptLists::names() {
  std::vector<std::string> names;
  for (const ScriptKind kind : {ScriptKind::User, ScriptKind::Shipped}) {
    for (const Script& script : list(kind).scripts) names.push_back(script.name);
  }
  return names;
}

ScriptList ScriptLists::load(ScriptKind kind) {
  ScriptList list;
  for (const auto& [name, files] : findFiles(folder(kind))) {
    if (interruptRequested()) break;
    std::optional<Script> script = read(name, kind, files);
    if (script) list.scripts.push_back(std::move(*script));
  }
  for (std::size_t i = 1; i < list.scripts.size(); ++i) list.scripts[i - 1].next = &list.scripts[i];
  return list;
}

ScriptLists::FilesByName ScriptLists::findFiles(const std::string& folder) {
  FilesByName found;
  std::error_code ignored;
  if (!fs::exists(folder, ignored)) return found;
  try {
    for (const ListedEntry& entry : listFolder(folder)) addFile(found, joinPath(folder, entry.name));
  } catch (const std::system_error& error) {
    places_.tell(folder + ": the folder cannot be listed: " + reasonOf(error));
  }
  return found;
}

void ScriptLists::addFile(FilesByName& found, const std::string& file) {
  const bool isObject = hasSuffix(file, kObjectSuffix);
  if (!isObject && !hasSuffix(file, kSourceSuffix)) return;
  Files& files = found[fs::path(file).stem().string()];
  std::string& place = isObject ? files.object : files.source;
  // What the host wrote itself counts more than what another system called so.
  if (place.empty() || endsPlainly(file, isObject ? kObjectSuffix : kSourceSuffix)) place = file;
}

Script* ScriptLists::find(const std::string& name) {
  found_.reset();
  for (const ScriptKind kind : {ScriptKind::User, ScriptKind::Shipped}) {
    const FilesByName files = findFiles(folder(kind));
    const auto named = files.find(name);
    if (!found_ && named != files.end()) found_ = read(name, kind, named->second);
  }
  return found_ ? &*found_ : nullptr;
}

std::optional<Script> ScriptLists::read(const std::string& name, ScriptKind kind, const Files& files) {
  Script script;
  script.name = name;
  script.kind = kind;
  script.file = files.object.empty() ? files.source : files.object;
  if (name.find('.') != std::string::npos) {
    // With its last part replaced by a suffix it would be written under the name of another script.
    places_.tell(script.file + ": not used: the name of a script holds no point");
    return std::nullopt;
  }
  if (!fill(script)) return std::nullopt;
  return script;
}

bool ScriptLists::fill(Script& script) {
  try {
    if (hasSuffix(script.file, kObjectSuffix)) {
      unpackObject(readObjectFile(script.file), script);
      return true;
    }
    script.source = readSourceFile(script.file);
    return compile(script);
  } catch (const ScriptRefused& refusal) {
    places_.tell(script.file + ": not used: " + refusal.what());
  } catch (const std::system_error& error) {
    places_.tell(script.file + ": cannot be read: " + reasonOf(error));
  }
  return false;
}

bool ScriptLists::compile(Script& script) {
  Compilation compilation =
      compileScript({script.file, script.source, joinPath(places_.appFolder, "resource")});
  script.compiled = std::move(compilation.bytes);
  if (!script.compiled.empty()) return true;
  for (const std::string& line : compilation.messages) places_.tell(line);
  places_.tell(script.file + ": not used: it does not compile");
  return false;
}

bool ScriptLists::save(const Script& script, const std::string& file) {
  try {
    fs::create_directories(fs::path(file).parent_path());
    writeWholeFile(file, packObject(script));
    return true;
  } catch (const std::system_error& error) {
    places_.tell(file + ": not written: " + reasonOf(error));
    return false;
  }
}

ScriptRun ScriptLists::run(Script& script, const std::vector<std::string>& arguments) {
  try {
    return runScript(script.compiled, script.file, arguments);
  } catch (const ScriptRefused&) {
    // Another version of the program compiled it.
    if (!compile(script)) return {{}, "'" + script.name + "' cannot be run"};
    return runScript(script.compiled, script.file, arguments);
  }
}

}  // namespace host
