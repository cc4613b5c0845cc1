// `vesta symbols`: what a symbol build makes of every define and enumerator, and why.
#include <system_error>

#include "companions/symbols/explain.h"
#include "host/app/companion.h"
#include "host/app/exit_status.h"
#include "host/services/files.h"
#include "host/services/jsonbytes.h"
#include "host/services/paths.h"
#include "host/services/threads.h"
#include "host/services/utf8.h"

namespace companion {
namespace {

class SymbolsCommand : public host::Companion {
 public:
  CLI::App* describe(CLI::App& program) override {
    CLI::App* command = program.add_subcommand(
        "symbols", "says what the symbol header takes from the SDK headers, and what it leaves out and why");
    CLI::Option* app =
        command->add_option("APPDIR", appFolder_, "the application folder (default: this program's)");
    command->add_option("--headers", headers_, "DIR: reads the headers below DIR in place of the SDK's")
        ->check(refuseEmpty)
        ->excludes(app);
    command->add_flag("--explain", explain_, "lists every define and enumerator");
    command->add_option("--json", jsonFile_, "FILE: writes everything as JSON")->check(refuseEmpty);
    return command;
  }

  int run(host::HostServices& services) override {
    const std::vector<std::string> folders = headerFolders(services);
    if (std::none_of(folders.begin(), folders.end(), host::folderExists)) {
      services.console.printError("There are no headers: '" + folders.front() + "' is no folder.");
      return host::kExitUsage;
    }
    const Account account = readHeaders(folders, host::interruptRequested);
    if (host::interruptRequested()) return host::kExitStopped;
    if (account.headers.empty() && account.unreadable.empty()) {
      services.console.printError("There are no headers below '" + folders.front() + "'.");
      return host::kExitUsage;
    }
    if (explain_) list(services, account);
    services.console.print(summary(account));
    for (const UnreadableHeader& header : account.unreadable) {
      services.console.printError(header.file + ": cannot be read: " + header.reason);
    }
    if (!writeJson(services, account)) return host::kExitUsage;
    return account.unreadable.empty() ? host::kExitGood : host::kExitWrong;
  }

 private:
  static std::string refuseEmpty(const std::string& text) { return text.empty() ? "a name is missing" : ""; }

  static void list(host::HostServices& services, const Account& account) {
    for (const Entry& entry : account.entries)
      services.console.print(host::visible(explain(account, entry), "\n"));
    for (const OverrunComment& overrun : account.overruns)
      services.console.print(host::visible(explain(overrun), "\n"));
  }

  std::vector<std::string> headerFolders(const host::HostServices& services) const {
    if (!headers_.empty()) return {host::normalPath(headers_)};
    const std::string app = appFolder_.empty() ? services.options.appFolder : host::normalPath(appFolder_);
    const std::string inside = "frameworks/vesta.framework";
    return {host::joinPath(app, inside), host::joinPath(host::joinPath(app, ".."), inside)};
  }

  bool writeJson(host::HostServices& services, const Account& account) const {
    if (jsonFile_.empty()) return true;
    try {
      host::writeWholeFile(host::normalPath(jsonFile_), host::jsonText(toJson(account)));
      services.console.print("JSON: " + host::normalPath(jsonFile_));
      return true;
    } catch (const std::system_error& error) {
      services.console.printError(jsonFile_ + ": " + host::reasonOf(error));
      return false;
    }
  }

  std::string appFolder_;
  std::string headers_;
  std::string jsonFile_;
  bool explain_ = false;
} g_command;

}  // namespace
}  // namespace companion
