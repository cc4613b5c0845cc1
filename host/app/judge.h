#pragma once
// What a run comes to: its record, its verdict, its exit status.

#include <chrono>
#include <optional>
#include <string>

#include "host/report/verdict.h"
#include "host/services/host_services.h"

namespace host {

/// What `check`, and a run behind its own arguments, may be asked.
struct JudgeOptions {
  MeasureOptions measure;
  Limits limits;
  std::string junitFile;  ///< empty: none
  std::string jsonFile;   ///< empty: none
  bool verbose = false;
};

/// What was asked of a run.
struct RunRequest {
  std::string scenesFolder;
  std::string referenceFolder;  ///< empty: none was given
};

/// Judges a result folder and prints what is wrong, the verdict, and where the reports are. Answers the exit
/// status.
int checkResult(Console& console, const std::string& folder, const JudgeOptions& options);

/// The end of a run: writes the record beside the table that was written last in this process, judges it,
/// names the folder in the last line. `started`: when the run began.
int finishRun(HostServices& services, const RunRequest& run, const JudgeOptions& options,
              std::chrono::system_clock::time_point started);

/// Exit status of what the user was told: every message box that is not good news makes it 1, and so does a
/// status line that tells of an error.
int statusOfMessages(const Console& console);

}  // namespace host
