#pragma once
// Names of functions out of the file of a library, read anew for each: safe in a signal handler.

#include <array>
#include <string_view>

#include "host/app/crash_place.h"

namespace host {

using SymbolName = std::array<char, 500>;

/// The linker's name of the function that `address` is in, cut to what fits `name`. Empty when the file has
/// no such symbol, or is not the one that was loaded.
std::string_view functionAt(const CodePlace& place, uintptr_t address, SymbolName& name);

}  // namespace host
