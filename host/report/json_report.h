#pragma once
// A verdict as JSON, for scripts.

#include <filesystem>
#include <string>

#include "host/report/verdict.h"

namespace host {

/// Everything a verdict holds: folders, limits, exit status, notes, summary, the run's machine, and a scene
/// list with measures. Differences and shares are fractions, times seconds. A path that is not UTF-8 is an
/// object as in runRecordText().
std::string jsonReportText(const Verdict& verdict);

/// Writes jsonReportText. Throws ReportError with file and reason.
void writeJsonReport(const std::filesystem::path& file, const Verdict& verdict);

}  // namespace host
