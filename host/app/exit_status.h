#pragma once
// What the program's exit status says.

namespace host {

enum ExitStatus : int {
  kExitGood = 0,
  kExitWrong = 1,       ///< it ran, and something is wrong with what was tested
  kExitUsage = 2,       ///< wrong usage, unreadable input, or nothing tested
  kExitHostFailed = 3,  ///< the host itself failed
  kExitStopped = 130    ///< by the user
};

/// The graver of two: a stop hides everything, then the host's own failure, then nothing tested.
constexpr int graver(int first, int second) { return first > second ? first : second; }

}  // namespace host
