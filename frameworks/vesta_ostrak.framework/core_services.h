// Start-up of the core services, when the module has met its host.
#pragma once

namespace vesta {

/// Tells the host which configuration values the module has; the host fills them in before the start.
/// Thread: main.
void StartCoreServices();

/// Gives every configuration value its default again, for the next host. Thread: main, at the last detach.
void StopCoreServices();

}  // namespace vesta
