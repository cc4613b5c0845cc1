// Entry of the tools module: the switch that gates all tools, and the host's start-up command line.
#pragma once

#include "vesta.framework/contract/host_tables.h"

/// While false the module registers nothing and reports a successful start.
extern bool g_ostrakOutfitterTools;

namespace outfitter {

/// Takes what the tools know out of the host's command line, and runs what it asks for. Consumed arguments
/// become null. Thread: main.
void HandleCommandLine(HostCommandLine& line);

}  // namespace outfitter
