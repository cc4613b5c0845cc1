// The command line of Vesta.
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iostream>

#include "host/app/commands.h"
#include "host/app/companion.h"
#include "host/app/crash_report.h"
#include "host/app/exit_status.h"
#include "host/app/host_options.h"
#include "host/app/menu_command.h"
#include "host/app/render_command.h"
#include "host/app/scripts_command.h"
#include "host/app/symbol_header.h"
#include "host/headless/terminal_view.h"
#include "host/services/paths.h"
#include "host/services/threads.h"
#include "host/services/work_notes.h"

namespace {

using namespace host;

constexpr const char* kHostOptionsHelp =
    "Host options come first:\n"
    "  --app-dir DIR    the application folder (default: where the program stands)\n"
    "  --prefs-dir DIR  the preferences folder (default: $XDG_CONFIG_HOME/vesta, else ~/.config/vesta)\n"
    "  -g NAME=VALUE    a configuration value, over files and environment (VESTA_NAME)\n"
    "  --interactive    worker threads and progress dialogs run, without pixels\n"
    "  --version        the version\n"
    "\n"
    "The tools' own switches:\n"
    "  -lumicheck SCENES [REFERENCE] [check options]  renders every scene, and compares with a reference\n"
    "  -createdistribution                            compiles the GUI script, and writes the symbol header\n"
    "  -help                                          this text\n"
    "\n"
    "Exit status: 0 good; 1 something is wrong with what was tested; 2 wrong usage, unreadable input or\n"
    "nothing tested; 3 the host itself failed; 130 stopped by the user.";

void onInterrupt(int) {
  if (interruptRequested()) {
    std::signal(SIGINT, SIG_DFL);
    std::raise(SIGINT);
    return;
  }
  setInterruptRequested(true);
}

/// A file that is opened later must not become a standard stream that was closed.
void openClosedStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) < 0)
      static_cast<void>(open("/dev/null", stream == STDIN_FILENO ? O_RDONLY : O_WRONLY));
  }
}

void installSignals() {
  struct sigaction action {};
  action.sa_handler = onInterrupt;
  sigemptyset(&action.sa_mask);
  // A read or write goes on after the first Ctrl-C: the tools end by themselves.
  action.sa_flags = SA_RESTART | SA_NODEFER;
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  // A limit on file size and a reader that went away are failures of a write, not the end of the program.
  std::signal(SIGXFSZ, SIG_IGN);
  std::signal(SIGPIPE, SIG_IGN);
}

/// The arguments behind the host options, and what the modules did with them.
class ModuleArguments {
 public:
  explicit ModuleArguments(const std::vector<std::string>& arguments) : arguments_(arguments) {
    for (const std::string& argument : arguments_) pointers_.push_back(argument.c_str());
  }
  std::vector<const char*>& pointers() { return pointers_; }

  std::vector<std::string> left() const {
    std::vector<std::string> rest;
    for (size_t i = 0; i < arguments_.size(); ++i) {
      if (pointers_[i] != nullptr) rest.push_back(arguments_[i]);
    }
    return rest;
  }
  /// Where a switch stands, if the modules consumed it.
  std::optional<size_t> consumed(const char* word) const {
    for (size_t i = 0; i < arguments_.size(); ++i) {
      if (arguments_[i] == word && pointers_[i] == nullptr) return i;
    }
    return std::nullopt;
  }
  /// The consumed argument at `index`; empty when there is none.
  std::string consumedAt(size_t index) const {
    return index < arguments_.size() && pointers_[index] == nullptr ? arguments_[index] : std::string();
  }

 private:
  const std::vector<std::string>& arguments_;
  std::vector<const char*> pointers_;
};

/// The library's ranges take "nan", which is neither below nor above them.
std::string refuseNan(const std::string& text) {
  return std::isnan(std::strtod(text.c_str(), nullptr)) ? "'" + text + "' is no number" : "";
}

void addJudgeOptions(CLI::App& app, JudgeOptions& judge, std::string& reference) {
  app.add_option("--reference", reference,
                 "the folder it was compared with (default: what the run's record says)");
  app.add_option("--max-diff", judge.limits.maxDiff, "mean difference that is still good, in percent")
      ->check(CLI::Range(0.0, 100.0))
      ->check(refuseNan)
      ->capture_default_str();
  app.add_option("--max-slower", judge.limits.maxSlower,
                 "how much slower a scene may be, in percent (default: any)")
      ->check(CLI::NonNegativeNumber)
      ->check(refuseNan);
  app.add_option("--junit", judge.junitFile, "write a JUnit XML report");
  app.add_option("--json", judge.jsonFile, "write a JSON report");
  app.add_flag("--verbose", judge.verbose, "list every scene that is wrong");
}

bool isHelp(const std::string& word) { return word == "-help" || word == "--help" || word == "-h"; }

/// Reads check options behind -lumicheck. Throws CLI::ParseError for an option that nobody knows.
JudgeOptions readJudgeOptions(std::vector<std::string> arguments) {
  JudgeOptions judge;
  std::string reference;
  CLI::App app;
  app.set_help_flag();
  addJudgeOptions(app, judge, reference);
  std::erase_if(arguments, isHelp);
  std::reverse(arguments.begin(), arguments.end());
  app.parse(std::move(arguments));
  if (!reference.empty()) judge.measure.reference = reference;
  return judge;
}

/// What stands behind -lumicheck SCENES [REFERENCE] on the command line, for a look at it before hours of
/// rendering.
std::vector<std::string> behindLumicheck(const std::vector<std::string>& arguments) {
  auto next = std::find(arguments.begin(), arguments.end(), "-lumicheck");
  if (arguments.end() - next < 3) return {};
  next += 2;
  if (!next->empty() && (*next)[0] != '-') ++next;
  return {next, arguments.end()};
}

class Program {
 public:
  Program(HostInvocation invocation, TerminalView& view)
      : invocation_(std::move(invocation)), host_(invocation_.options, view) {}

  int run() {
    for (const std::string& assignment : invocation_.configuration) {
      if (!services().configuration.setFromCommandLine(assignment)) {
        throw UsageError("-g wants NAME=VALUE, not '" + assignment + "'");
      }
    }
    bool wrongConfiguration = false;
    for (const std::string& problem : host_.start()) {
      services().console.printError(problem);
      wrongConfiguration = true;
    }
    if (wrongConfiguration) return kExitUsage;
    int status = dispatch();
    services().console.flush();
    // What could not be listed or read may hold what nobody tested.
    if (services().runLog.filesFailed() > 0) status = graver(status, kExitWrong);
    if (interruptRequested()) return kExitStopped;
    return graver(status, statusOfMessages(services().console));
  }

 private:
  HostServices& services() { return host_.services(); }

  int dispatch() {
    refuseWordsAroundLumicheck();
    refuseWordsAroundDistribution();
    ModuleArguments arguments(invocation_.rest);
    const auto started = std::chrono::system_clock::now();
    const SymbolHeader symbols(services().options.appFolder);
    {
      const NoteScope inWork(Note::Command, "the tools' switches on the command line");
      host_.handleCommandLine(arguments.pointers());
    }
    services().console.flush();
    const bool builtDistribution = arguments.consumed("-createdistribution").has_value();
    if (builtDistribution) symbols.tellIfChanged(services().console);
    if (const auto lumicheck = arguments.consumed("-lumicheck"))
      return judgeRun(arguments, *lumicheck, started);
    if (builtDistribution) return kExitGood;
    return parseCommands(arguments.left());
  }

  /// What makes no sense beside -lumicheck must not come to light after hours of rendering.
  void refuseWordsAroundLumicheck() const {
    const auto& words = invocation_.rest;
    const auto lumicheck = std::find(words.begin(), words.end(), "-lumicheck");
    if (lumicheck == words.end()) return;
    for (auto word = words.begin(); word != lumicheck; ++word) {
      if (!isHelp(*word) && *word != "-createdistribution") {
        throw UsageError("'" + *word + "' cannot stand before -lumicheck");
      }
    }
    static_cast<void>(readJudgeOptions(behindLumicheck(words)));
  }

  void refuseWordsAroundDistribution() const {
    const auto& words = invocation_.rest;
    const auto stands = [&](const char* option) {
      return std::count(words.begin(), words.end(), option) > 0;
    };
    if (!stands("-createdistribution") || stands("-lumicheck")) return;
    for (const std::string& word : words) {
      if (!isHelp(word) && word != "-createdistribution") {
        throw UsageError("'" + word + "' cannot stand beside -createdistribution");
      }
    }
  }

  int judgeRun(const ModuleArguments& arguments, size_t lumicheck,
               std::chrono::system_clock::time_point started) {
    if (lumicheck + 1 >= invocation_.rest.size()) return kExitUsage;
    const RunRequest run{arguments.consumedAt(lumicheck + 1), arguments.consumedAt(lumicheck + 2)};
    return finishRun(services(), run, readJudgeOptions(arguments.left()), started);
  }

  int parseCommands(std::vector<std::string> arguments) {
    if (const auto script = scriptToRun(arguments)) return runScriptByName(host_, *script, scriptArguments_);
    CLI::App app("Vesta, a host for developer and quality tools of 3D scenes", "vesta");
    app.set_help_flag("-h,--help", "this text");
    app.footer(kHostOptionsHelp);
    app.require_subcommand(1);
    std::function<int()> action;
    describeCommands(app, action);
    std::replace(arguments.begin(), arguments.end(), std::string("-help"), std::string("--help"));
    requireKnownWord(app, arguments);
    std::reverse(arguments.begin(), arguments.end());
    try {
      app.parse(std::move(arguments));
    } catch (const CLI::ParseError& error) {
      return app.exit(error) == 0 ? kExitGood : kExitUsage;
    }
    return action();
  }

  static void requireKnownWord(const CLI::App& app, const std::vector<std::string>& arguments) {
    if (arguments.empty()) throw UsageError("nothing to do; 'vesta -help' says what there is");
    const std::string& word = arguments.front();
    const auto commands = app.get_subcommands([](const CLI::App*) { return true; });
    const bool known = std::any_of(commands.begin(), commands.end(),
                                   [&](const CLI::App* command) { return command->get_name() == word; });
    if (!known && !isHelp(word))
      throw UsageError("there is no '" + word + "'; 'vesta -help' says what there is");
  }

  void describeCommands(CLI::App& app, std::function<int()>& action) {
    CLI::App* commands = app.add_subcommand("commands", "lists the registered commands: id, tab, name");
    commands->callback([&] { action = [this] { return listCommands(services()); }; });
    CLI::App* menu = app.add_subcommand("menu", "lists the menus that the GUI script lays out");
    menu->callback([&] { action = [this] { return listMenu(services()); }; });
    CLI::App* config =
        app.add_subcommand("config", "lists the configuration values and where they come from");
    config->callback([&] { action = [this] { return listConfiguration(services()); }; });
    describeExecute(app, action);
    describeScripts(app, action);

    CLI::App* render = app.add_subcommand("render", "renders one scene to one picture");
    const auto words = [&](const char* name, std::vector<std::string>& values, const char* help) {
      render->add_option(name, values, help)->take_all()->allow_extra_args(false);
    };
    render->add_option("SCENE", render_.scene, "a *.vesta or glTF file")->required();
    render->add_option("IMAGE", render_.image, "a .tif or .png file")->required();
    render->add_option("--renderer", render_.renderer, "standard, preview, physical, opengl, or an id");
    render->add_option("--size", render_.size, "WIDTHxHEIGHT in pixels");
    words("--set", render_.sets, "ID=VALUE: a render setting, over the scene's own");
    words("--post", render_.posts, "TYPE:ID=VALUE: a setting of a video post, which is added or switched on");
    render->callback([&] { action = [this] { return renderOne(services(), render_); }; });

    CLI::App* check = app.add_subcommand("check", "judges a result folder");
    check->add_option("RESULT", folder_, "the folder that holds _result.txt")->required();
    addJudgeOptions(*check, execute_.judge, reference_);
    check->callback([&] {
      action = [this] { return checkResult(services().console, folder_, withReference(execute_.judge)); };
    });

    CLI::App* adoption = app.add_subcommand("adopt", "makes scenes of glTF files, as links named *.vesta");
    adoption->add_option("DIR", folder_, "where the glTF files are")->required();
    adoption->add_option("LINKS", links_, "the folder of the links; made when missing")->required();
    adoption->callback([&] { action = [this] { return adopt(services(), folder_, links_); }; });

    for (Companion* companion : Companion::all()) {
      companion->describe(app)->callback(
          [this, companion, &action] { action = [this, companion] { return companion->run(services()); }; });
    }
  }

  void describeExecute(CLI::App& app, std::function<int()>& action) {
    CLI::App* execute = app.add_subcommand("execute", "runs one command as a user would");
    execute->add_option("ID", execute_.id, "the command's id, as 'vesta commands' lists it")->required();
    execute->add_option("--set", sets_, "GADGET=VALUE: sets a gadget of the next settings dialog before OK")
        ->take_all()
        ->allow_extra_args(false);
    execute->add_option("--select", selections_, "PATH: answers the next file selection")
        ->take_all()
        ->allow_extra_args(false);
    execute->add_flag("--cancel", execute_.script.cancel, "presses Cancel in the next settings dialog");
    addJudgeOptions(*execute, execute_.judge, reference_);
    execute->callback([&] {
      action = [this] {
        readScript();
        execute_.judge = withReference(execute_.judge);
        return executeCommand(host_, execute_);
      };
    });
  }

  /// The script of `scripts run NAME ARGUMENTS...`. Its arguments are its own, and taken as they stand.
  std::optional<std::string> scriptToRun(const std::vector<std::string>& arguments) {
    constexpr size_t kName = 2;
    if (arguments.size() <= kName || arguments[0] != "scripts" || arguments[1] != "run") return std::nullopt;
    if (arguments[kName].starts_with('-')) return std::nullopt;
    scriptArguments_.assign(arguments.begin() + kName + 1, arguments.end());
    return arguments[kName];
  }

  void describeScripts(CLI::App& app, std::function<int()>& action) {
    CLI::App* scripts = app.add_subcommand(
        "scripts", "lists the scripts, with their names and help texts in each language and what is missing");
    scripts->require_subcommand(0, 1);
    scripts->callback([&] {
      if (!action) action = [this] { return listScripts(host_); };
    });
    CLI::App* run = scripts->add_subcommand("run", "runs a script");
    run->add_option("NAME", scriptName_, "the script's name")->required();
    run->add_option("ARGUMENTS", scriptArguments_, "what the script wants, options or not");
    CLI::App* source = scripts->add_subcommand("source", "prints the source of a script");
    source->add_option("NAME", scriptName_, "the script's name")->required();
    source->callback([&] { action = [this] { return printScriptSource(host_, scriptName_); }; });
  }

  void readScript() {
    for (const std::string& set : sets_) {
      const size_t equals = set.find('=');
      const std::string id = set.substr(0, equals);
      if (equals == std::string::npos || id.empty() ||
          id.find_first_not_of("0123456789") != std::string::npos || id.size() > 9) {
        throw UsageError("--set wants GADGET=VALUE with the gadget's number, not '" + set + "'");
      }
      execute_.script.answers.push_back({std::stoi(id), set.substr(equals + 1)});
    }
    execute_.script.selections.assign(selections_.begin(), selections_.end());
  }

  JudgeOptions withReference(JudgeOptions judge) const {
    if (!reference_.empty()) judge.measure.reference = reference_;
    return judge;
  }

  HostInvocation invocation_;
  HeadlessHost host_;

  // What the command line said.
  RenderOrder render_;
  std::string folder_;
  std::string links_;
  std::string reference_;
  std::string scriptName_;
  std::vector<std::string> scriptArguments_;
  std::vector<std::string> sets_;
  std::vector<std::string> selections_;
  ExecuteRequest execute_;
};

/// Whether what was said on standard output is lost, other than by a reader that went away: it has seen
/// enough.
bool isOutputLost() {
  std::cout.flush();
  std::fflush(stdout);
  if (std::ferror(stdout) == 0 && std::cout) return false;
  pollfd out{STDOUT_FILENO, POLLOUT, 0};
  return poll(&out, 1, 0) != 1 || (out.revents & POLLERR) == 0;
}

int runProgram(const std::vector<std::string>& arguments) {
  HostInvocation invocation = readHostOptions(arguments);
  setCrashFolder(joinPath(invocation.options.preferencesFolder, "crashes"));
  if (invocation.showVersion) {
    std::printf("Vesta %s\n", VESTA_VERSION);
    return kExitGood;
  }
  TerminalView view;
  return Program(std::move(invocation), view).run();
}

}  // namespace

int main(int argc, char** argv) {
  openClosedStreams();
  installCrashReports(argc, argv);
  installSignals();
  try {
    const int status = runProgram({argv + std::min(argc, 1), argv + argc});
    if (!isOutputLost()) return status;
    std::fprintf(stderr, "vesta: standard output could not be written\n");
    return graver(status, kExitHostFailed);
  } catch (const UsageError& error) {
    std::fprintf(stderr, "vesta: %s\n", error.what());
    return kExitUsage;
  } catch (const CLI::ParseError& error) {
    std::fprintf(stderr, "vesta: %s\n", error.what());
    return kExitUsage;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "vesta: %s\n", error.what());
    return kExitHostFailed;
  }
}
