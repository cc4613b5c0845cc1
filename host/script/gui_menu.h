#pragma once
// The menus of the application, from its GUI script.

#include <functional>
#include <string>

#include "host/script/menu.h"

namespace host {

/// The menus of the application whose resource folder that is, from gui.brc; where it is missing or refused,
/// `tell` gets a line that says why, and gui.brm is compiled in memory; `tell` gets what the compiler says.
/// Main thread. Throws ScriptError.
MenuItem loadGuiMenu(const std::string& resourceFolder, const std::function<void(const std::string&)>& tell);

}  // namespace host
