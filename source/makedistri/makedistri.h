// The distribution build: the compiled GUI script, and the symbol header for scripts.
#pragma once

namespace outfitter {

/// Compiles the application's GUI script, then writes the symbol header; reports both as console lines. A
/// script that does not compile ends the build. Thread: main.
void CreateDistribution();

}  // namespace outfitter
