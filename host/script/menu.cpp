#include "host/script/menu.h"

namespace host {
namespace {

bool isSeparator(const MenuItem& item) { return item.kind == MenuItem::Kind::Separator; }

}  // namespace

MenuItem shownMenu(const MenuItem& menu, const CommandRegistry& commands) {
  MenuItem shown{menu.kind, menu.title, menu.commandId, {}};
  std::list<MenuItem>& children = shown.children;
  for (const MenuItem& item : menu.children) {
    if (item.kind == MenuItem::Kind::Command) {
      const Command* command = commands.find(item.commandId);
      if (command != nullptr) children.push_back({item.kind, shownName(command->name), item.commandId, {}});
    } else if (isSeparator(item)) {
      if (!children.empty() && !isSeparator(children.back())) children.push_back(item);
    } else if (MenuItem inner = shownMenu(item, commands); !inner.children.empty()) {
      children.push_back(std::move(inner));
    }
  }
  if (!children.empty() && isSeparator(children.back())) children.pop_back();
  return shown;
}

}  // namespace host
