#pragma once
// `vesta menu`.

#include "host/services/host_services.h"

namespace host {

/// Prints the menus that the application's GUI script lays out, as a user sees them: indented, a title a
/// line, behind a command's a tab and its id, "---" for a separator. Answers the exit status.
int listMenu(HostServices& services);

}  // namespace host
