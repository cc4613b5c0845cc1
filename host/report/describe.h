#pragma once
// A verdict in words, for the terminal.

#include <string>

#include "host/report/verdict.h"

namespace host {

/// How many scenes of a kind are listed before "... and N more".
inline constexpr std::size_t kListedScenes = 20;

/// What is wrong, worst first; notes; a summary; and the verdict in one last sentence. `verbose` lists every
/// scene that is wrong. Paths cannot steer the terminal. Ends with a line end.
std::string describe(const Verdict& verdict, bool verbose = false);

/// What is to be said of one scene, without its name: "mean 0.12 %, largest 17 at (5, 9) red: ...". Raw
/// bytes, as paths may stand in it.
std::string explain(const SceneVerdict& scene);

/// The last sentence alone, without a line end: "Good: 12 scenes, no difference." Raw bytes.
std::string verdictSentence(const Verdict& verdict);

/// "red", "green" or "blue" for 0, 1, 2.
const char* channelName(int channel);

}  // namespace host
