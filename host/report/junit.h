#pragma once
// A verdict as JUnit XML, which build servers show as a list of tests.

#include <filesystem>
#include <string>

#include "host/report/verdict.h"

namespace host {

/// One test suite "lumicheck" with a test case a scene, named by its path below the scenes folder where the
/// record tells that folder. Different and slower scenes are failures; scenes in ERROR, never looked at, or
/// with an image missing are errors, so that a run that broke off is never green; SKIPPED ones are skipped.
/// What concerns the folder as a whole (unreadable, table cut off) is an error of a test case "result
/// folder".
std::string junitText(const Verdict& verdict);

/// Writes junitText. Throws ReportError with file and reason.
void writeJunit(const std::filesystem::path& file, const Verdict& verdict);

}  // namespace host
