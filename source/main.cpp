#include "main.h"

#include <cstring>

#include "core.framework/source/ostrak/configuration.h"
#include "lumicheck/Lumicheck.h"
#include "makedistri/makedistri.h"
#include "register.h"
#include "vesta.framework/filename.h"
#include "vesta.framework/messages.h"
#include "vesta.framework/module_entry.h"

bool g_ostrakOutfitterTools = ostrak::RegisterConfigurationValue(
    "g_ostrakOutfitterTools", &g_ostrakOutfitterTools, false, HOST_CONFIGURATION_TOOLS_SWITCH, "");

namespace outfitter {

using namespace vesta;

namespace {

constexpr int32_t kModuleMessageVersion = 10000;

void PrintHelp() {
  PrintConsole("Lumicheck Options:");
  PrintConsole("-lumicheck scenepath [refpath] ... specify the directory to render");
  PrintConsole("");
}

/// One pass over the arguments.
class CommandLineReader {
 public:
  explicit CommandLineReader(HostCommandLine& line) : line_(line) {}

  void Read() {
    // The count is read again after each step: what a switch runs may have changed the block.
    for (next_ = 0; next_ < line_.count && !done_; ++next_) {
      const char* argument = line_.arguments[next_];
      if (argument == nullptr) continue;
      if (Is(argument, "--help") || Is(argument, "-help")) {
        PrintHelp();
      } else if (Is(argument, "-lumicheck")) {
        TakeScenePath();
      } else if (Is(argument, "-createdistribution")) {
        // The argument behind the switch is skipped with it, whatever it says.
        line_.arguments[next_++] = nullptr;
        CreateDistribution();
      }
    }
  }

  const String& scenePath() const { return scenePath_; }
  const String& referencePath() const { return referencePath_; }

 private:
  static bool Is(const char* argument, const char* option) { return std::strcmp(argument, option) == 0; }

  static String Text(const char* argument) { return argument != nullptr ? String(argument) : String(); }

  void TakeScenePath() {
    line_.arguments[next_] = nullptr;
    if (next_ + 1 >= line_.count) {
      PrintConsole("missing parameter for -lumicheck");
      done_ = true;
      return;
    }
    scenePath_ = Take(next_ + 1);
    next_ += 2;
    if (next_ >= line_.count) return;
    const char* reference = line_.arguments[next_];
    // Not a path: the loop's own step goes past it unexamined.
    if (reference == nullptr || reference[0] == '-') return;
    referencePath_ = Take(next_);
    done_ = true;
  }

  String Take(int64_t index) {
    String text = Text(line_.arguments[index]);
    line_.arguments[index] = nullptr;
    return text;
  }

  HostCommandLine& line_;
  int64_t next_ = 0;
  bool done_ = false;
  String scenePath_;
  String referencePath_;
};

/// The folder in which the host keeps this module.
FileName ModuleFolder() { return GetStartupFolder().Join("modules").Join("outfitter"); }

bool LoadResources(HostMessageResources& message) {
  message.resources = nullptr;
  message.resources = Host().system.LoadModuleResources(ModuleFolder().Get());
  return message.resources != nullptr;
}

}  // namespace

void HandleCommandLine(HostCommandLine& line) {
  if (line.arguments == nullptr) return;
  CommandLineReader reader(line);
  reader.Read();
  if (!reader.scenePath().IsEmpty()) {
    RunLumicheck(FileName(reader.scenePath()),
                 reader.referencePath().IsEmpty() ? FileName() : FileName(reader.referencePath()), 0);
  }
}

}  // namespace outfitter

bool ModuleStart() {
  if (!g_ostrakOutfitterTools) return true;
  return outfitter::RegisterCommands();
}

bool ModuleMessage(int32_t id, void* data) {
  if (data == nullptr) return false;
  switch (id) {
    case HOST_MESSAGE_VERSION:
      static_cast<HostMessageVersion*>(data)->version = outfitter::kModuleMessageVersion;
      return true;
    case HOST_MESSAGE_RESOURCES:
      return outfitter::LoadResources(*static_cast<HostMessageResources*>(data));
    case HOST_MESSAGE_COMMAND_LINE:
      outfitter::HandleCommandLine(*static_cast<HostCommandLine*>(data));
      return false;
    default:
      return false;
  }
}

void ModuleEnd() {}

void ModuleMakeGlobals() { outfitter::MakeLumicheckGlobals(); }

void ModuleReleaseGlobals() { outfitter::ReleaseLumicheckGlobals(); }
