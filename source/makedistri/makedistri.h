// The distribution build: the compiled GUI script.
#pragma once

namespace outfitter {

/// Compiles the application's GUI script; reports the result as a console line. Thread: main.
void CreateDistribution();

}  // namespace outfitter
