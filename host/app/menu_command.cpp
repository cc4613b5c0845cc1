#include "host/app/menu_command.h"

#include "host/app/exit_status.h"
#include "host/script/diagnostics.h"
#include "host/script/gui_menu.h"
#include "host/services/paths.h"

namespace host {
namespace {

void printItems(Console& console, const MenuItem& menu, const std::string& indent) {
  for (const MenuItem& item : menu.children) {
    switch (item.kind) {
      case MenuItem::Kind::Menu:
        console.print(indent + item.title);
        printItems(console, item, indent + "  ");
        break;
      case MenuItem::Kind::Command:
        console.print(indent + item.title + "\t" + std::to_string(item.commandId));
        break;
      case MenuItem::Kind::Separator:
        console.print(indent + "---");
        break;
    }
  }
}

}  // namespace

int listMenu(HostServices& services) {
  const auto tell = [&](const std::string& line) { services.console.printError(line); };
  try {
    const MenuItem menu = loadGuiMenu(joinPath(services.options.appFolder, "resource"), tell);
    printItems(services.console, shownMenu(menu, services.commands), "");
    return kExitGood;
  } catch (const ScriptError& error) {
    tell(error.what());
    return kExitUsage;
  }
}

}  // namespace host
