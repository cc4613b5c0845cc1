// The table of commands.
#pragma once

namespace outfitter {

/// Registers every command with the host, in their fixed order. False when one that must be there failed.
bool RegisterCommands();

}  // namespace outfitter
