#include "host/app/commands.h"

#include <algorithm>
#include <filesystem>

#include "host/app/exit_status.h"
#include "host/render/document_renderer.h"
#include "host/report/adopt.h"
#include "host/services/bitmap.h"
#include "host/services/files.h"
#include "host/services/paths.h"
#include "host/services/text.h"
#include "host/services/threads.h"
#include "host/services/work_notes.h"
#include "vesta.framework/contract/command_ids.h"

namespace host {
namespace {

// The tool whose runs are judged, and where its stored settings hold what it was asked.
constexpr int32_t kLumicheckId = HOST_COMMAND_LUMICHECK;
constexpr int32_t kStoredScenePath = 1;
constexpr int32_t kStoredReferencePath = 2;

RunRequest storedRun(const SettingsStore& settings) {
  const Container stored = settings.load(kLumicheckId).value_or(Container());
  const auto pathOf = [&](int32_t id) {
    const auto* path = stored.find<PathValue>(id);
    return path != nullptr ? path->bytes : std::string();
  };
  return {pathOf(kStoredScenePath), pathOf(kStoredReferencePath)};
}

std::string plural(std::size_t count, const char* noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

/// The cells of one line of a table.
using Row = std::vector<std::string>;

/// Lines with their columns below each other; `rows` must not be empty, and all of one length.
std::vector<std::string> aligned(const std::vector<Row>& rows) {
  std::vector<std::string> lines(rows.size());
  for (std::size_t column = 0; column < rows.front().size(); ++column) {
    std::size_t width = 0;
    for (const Row& row : rows) width = std::max(width, fromUtf8(row[column]).size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
      const std::string& cell = rows[i][column];
      lines[i].append(cell).append(width + 2 - fromUtf8(cell).size(), ' ');
    }
  }
  for (std::string& line : lines) line.erase(line.find_last_not_of(' ') + 1);
  return lines;
}

}  // namespace

int listCommands(HostServices& services) {
  for (const auto& command : services.commands.commands()) {
    services.console.print(std::to_string(command->id) + "\t" + shownName(command->name));
  }
  return kExitGood;
}

int listConfiguration(HostServices& services) {
  std::vector<Row> rows;
  for (const ConfigurationValue& value : services.configuration.values()) {
    rows.push_back({value.name, value.text, value.defaultText, value.source, value.help});
  }
  std::sort(rows.begin(), rows.end());
  rows.insert(rows.begin(), {"name", "value", "default", "from", "help"});
  for (const std::string& line : aligned(rows)) services.console.print(line);
  for (const std::string& name : services.configuration.unknownNames()) {
    services.console.printError("not known: " + name);
  }
  return kExitGood;
}

int executeCommand(HeadlessHost& host, const ExecuteRequest& request) {
  HostServices& services = host.services();
  Command* command = services.commands.find(request.id);
  if (command == nullptr) {
    services.console.printError("There is no command " + std::to_string(request.id) +
                                "; 'vesta commands' lists them.");
    return kExitUsage;
  }
  if (!command->isEnabled()) {
    services.console.printError("The command '" + shownName(command->name) + "' cannot be chosen now.");
    return kExitWrong;
  }
  const auto started = std::chrono::system_clock::now();
  host.dialogs().setScript(request.script);
  int status = kExitGood;
  {
    const NoteScope inWork(Note::Command, std::to_string(command->id) + " " + shownName(command->name));
    if (!command->execute()) status = kExitWrong;
  }
  services.console.flush();
  for (const std::string& problem : host.dialogs().problems()) {
    services.console.printError(problem);
    status = graver(status, kExitUsage);
  }
  if (request.id == kLumicheckId && !host.dialogs().cancelled()) {
    status = graver(status, finishRun(services, storedRun(services.settings), request.judge, started));
  }
  return status;
}

int adopt(HostServices& services, const std::string& folder, const std::string& links) {
  try {
    const Adoption adoption = adoptGltfFiles(folder, links);
    for (const Refusal& refusal : adoption.refused) {
      services.console.printError(refusal.path.string() + ": " + refusal.reason);
    }
    services.console.print(plural(adoption.made, "new link") + ", " + plural(adoption.kept, "link") +
                           " kept, " + plural(adoption.refused.size(), "file") +
                           " refused: " + normalPath(links));
    if (adoption.made + adoption.kept + adoption.refused.size() == 0) {
      services.console.printError("There is no glTF file below '" + folder + "'.");
      return kExitUsage;
    }
    return adoption.refused.empty() ? kExitGood : kExitWrong;
  } catch (const ReportError& error) {
    services.console.printError(error.what());
    return kExitUsage;
  }
}

}  // namespace host
