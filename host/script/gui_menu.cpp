#include "host/script/gui_menu.h"

#include <filesystem>

#include "host/script/compiler.h"
#include "host/script/diagnostics.h"
#include "host/script/runner.h"
#include "host/services/files.h"
#include "host/services/paths.h"

namespace host {
namespace {

constexpr std::uintmax_t kMostBytes = std::uintmax_t{64} << 20;

std::string readCompiled(const std::string& file) {
  if (std::filesystem::file_size(file) > kMostBytes) throw ScriptRefused("it is longer than 64 MiB");
  return readWholeFile(file);
}

std::string compileInMemory(const std::string& source, const std::function<void(const std::string&)>& tell) {
  Compilation compilation = compileScript({source, std::nullopt, {}});
  for (const std::string& line : compilation.messages) tell(line);
  if (compilation.bytes.empty()) throw ScriptError(source + ": error: there are no menus without it");
  return std::move(compilation.bytes);
}

}  // namespace

MenuItem loadGuiMenu(const std::string& resourceFolder, const std::function<void(const std::string&)>& tell) {
  const std::string source = joinPath(resourceFolder, "gui.brm");
  const std::string compiled = withSuffix(source, kCompiledScriptSuffix);
  std::string reason;
  try {
    return runMenuScript(readCompiled(compiled), compiled);
  } catch (const ScriptRefused& refusal) {
    reason = refusal.what();
  } catch (const std::system_error& error) {
    reason = reasonOf(error);
  }
  tell(compiled + " is not used: " + reason + "; gui.brm is compiled instead");
  return runMenuScript(compileInMemory(source, tell), source);
}

}  // namespace host
