// The symbol build: the headers of the SDK, in their order, into the symbol header.
#pragma once

namespace outfitter {

/// Reads every header of the SDK beside the application and writes bramblesymbols.h. What was found wrong is
/// printed on the console. False when that file could not be created. Thread: main.
bool ParseSymbols();

}  // namespace outfitter
