#include "host/app/scripts_command.h"

#include <set>

#include "host/app/exit_status.h"
#include "host/services/text.h"
#include "host/services/utf8.h"
#include "vesta.framework/contract/host_tables.h"

namespace host {
namespace {

constexpr ScriptKind kKinds[] = {ScriptKind::User, ScriptKind::Shipped};

const char* kindName(ScriptKind kind) { return kind == ScriptKind::User ? "user" : "shipped"; }

/// "de"; what is no pair of letters shows escaped.
std::string languageName(int32_t id) {
  const auto code = static_cast<uint32_t>(id - HOST_SCRIPT_LANGUAGE);
  return visible(
      toUtf8(std::u16string{static_cast<char16_t>(code >> 8), static_cast<char16_t>(code & 0xFF)}));
}

bool isLanguage(int32_t id) { return id >= HOST_SCRIPT_LANGUAGE && id < 2 * HOST_SCRIPT_LANGUAGE; }

/// All languages that scripts carry texts of.
std::set<int32_t> languagesOf(ScriptLists& lists) {
  std::set<int32_t> languages;
  for (const ScriptKind kind : kKinds) {
    for (const Script& script : lists.list(kind).scripts) {
      for (const auto& [id, value] : script.data.values()) {
        if (isLanguage(id)) languages.insert(id);
      }
    }
  }
  return languages;
}

std::string textOf(const Script& script, int32_t language, int32_t id) {
  const auto* texts = script.data.find<NestedContainer>(language);
  const auto* text = texts != nullptr ? texts->get().find<std::u16string>(id) : nullptr;
  return text != nullptr ? visible(toUtf8(*text)) : std::string();
}

std::string describeLanguage(const Script& script, int32_t language) {
  const std::string name = textOf(script, language, HOST_SCRIPT_NAME);
  const std::string help = textOf(script, language, HOST_SCRIPT_HELP);
  std::string line = "  " + languageName(language) + "  ";
  if (name.empty() && help.empty()) return line + "(name and help text are missing)";
  line += name.empty() ? "(the name is missing)" : name;
  line += help.empty() ? "  (the help text is missing)" : ": " + help;
  return line;
}

Script* findScript(HeadlessHost& host, const std::string& name) {
  Script* script = host.scripts().find(name);
  if (script == nullptr) {
    host.services().console.printError("There is no script '" + visible(name) +
                                       "' that can be used; 'vesta scripts' lists them.");
  }
  return script;
}

/// Lines of any bytes, so that they cannot steer the terminal.
void printLines(Console& console, const std::vector<std::string>& lines) {
  for (const std::string& line : lines) console.print(visible(line, "\t\n"));
}

}  // namespace

int listScripts(HeadlessHost& host) {
  Console& console = host.services().console;
  const std::set<int32_t> languages = languagesOf(host.scripts());
  bool any = false;
  for (const ScriptKind kind : kKinds) {
    for (const Script& script : host.scripts().list(kind).scripts) {
      any = true;
      console.print(visible(script.name) + "\t" + kindName(kind) + "\t" + visible(script.file));
      for (const int32_t language : languages) console.print(describeLanguage(script, language));
    }
  }
  if (!any) console.print("There are no scripts in " + host.scripts().folder(ScriptKind::User));
  return kExitGood;
}

int runScriptByName(HeadlessHost& host, const std::string& name, const std::vector<std::string>& arguments) {
  Console& console = host.services().console;
  Script* script = findScript(host, name);
  if (script == nullptr) return kExitUsage;
  const ScriptRun run = host.scripts().run(*script, arguments);
  printLines(console, run.lines);
  if (run.failure.empty()) return kExitGood;
  console.printError(visible(run.failure, "\n"));
  return kExitWrong;
}

int printScriptSource(HeadlessHost& host, const std::string& name) {
  const Script* script = findScript(host, name);
  if (script == nullptr) return kExitUsage;
  std::string source = script->source;
  if (source.ends_with('\n')) source.pop_back();
  printLines(host.services().console, {source});
  return kExitGood;
}

}  // namespace host
