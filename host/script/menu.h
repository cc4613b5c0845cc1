#pragma once
// Menus as plain data, for whoever shows them.

#include <cstdint>
#include <list>
#include <string>

#include "host/services/commands.h"

namespace host {

/// One entry of a menu, with everything below it.
struct MenuItem {
  enum class Kind { Menu, Command, Separator };
  Kind kind = Kind::Menu;
  std::string title;             ///< UTF-8; a command's is filled in by shownMenu
  int32_t commandId = 0;         ///< of a command
  std::list<MenuItem> children;  ///< of a menu; an entry keeps its address while others are added
};

/// `menu` as a user sees it: commands carry their names, those that nobody registered are left out, and so
/// are menus without a command and separators with nothing to separate. Main thread.
MenuItem shownMenu(const MenuItem& menu, const CommandRegistry& commands);

}  // namespace host
