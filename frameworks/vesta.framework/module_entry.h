// What a module supplies to the entry `vesta_main`, which dispatches the host's lifecycle messages.
#pragma once

#include <cstdint>

/// Registers the module's commands. False: the host is told that the start failed.
bool ModuleStart();

/// A module message of the host. True when it was taken.
bool ModuleMessage(int32_t id, void* data);

/// Releases what a tool keeps globally, at the last detach.
void ModuleEnd();

/// Makes and releases the host values in module globals: at the first attach, when the host's tables are
/// kept, and at the last detach, before they are freed.
void ModuleMakeGlobals();
void ModuleReleaseGlobals();
