#pragma once
// The functions that scripts build menus with. They work on the MenuBuilder of the context that runs; what
// cannot be raises an exception in the script, and answers null.

#include <deque>

#include "host/script/menu.h"
#include "host/script/script_text.h"

namespace host {

/// What a script sees as `Menu`.
struct ScriptMenu {
  MenuItem* item = nullptr;
  int depth = 0;  ///< 0: the menus themselves, which scripts see through their global functions
};

/// The menus of one run: the user data of its context.
struct MenuBuilder {
  MenuBuilder() = default;
  MenuBuilder(const MenuBuilder&) = delete;
  MenuBuilder& operator=(const MenuBuilder&) = delete;

  MenuItem root;
  std::deque<ScriptMenu> menus = {{&root, 0}};  ///< the root first
  int items = 0;
};

ScriptMenu* addMenu(const ScriptText* title);
ScriptMenu* addSubmenu(ScriptMenu* menu, const ScriptText* title);
void addCommand(ScriptMenu* menu, int32_t id);
void addSeparator(ScriptMenu* menu);

}  // namespace host
