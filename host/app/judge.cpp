#include "host/app/judge.h"

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <thread>

#include "host/app/exit_status.h"
#include "host/render/renderer.h"
#include "host/report/adopt.h"
#include "host/report/describe.h"
#include "host/report/json_report.h"
#include "host/report/junit.h"
#include "host/report/text.h"
#include "host/services/paths.h"
#include "host/services/text.h"
#include "host/services/threads.h"
#include "host/tables/areas.h"

namespace host {
namespace {

std::string isoTime(std::chrono::system_clock::time_point when) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(when);
  std::tm parts{};
  gmtime_r(&seconds, &parts);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
  return text;
}

RunRecord recordOf(const HostServices& services, const RunRequest& run,
                   std::chrono::system_clock::time_point started) {
  RunRecord record;
  record.scenesFolder = normalPath(run.scenesFolder);
  record.referenceFolder = normalPath(run.referenceFolder);
  record.hostVersion = formatReal(kHostVersion * 0.001, 0, 3);
  record.programVersion = VESTA_VERSION;
  record.facts = renderFacts();
  record.threads = services.renderThreads != 0
                       ? services.renderThreads
                       : static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
  record.started = isoTime(started);
  const std::chrono::duration<double, std::milli> spent = std::chrono::system_clock::now() - started;
  record.totalMs = spent.count();
  for (const SceneCost& cost : services.runLog.costs()) {
    record.scenes.push_back({cost.scene, cost.loadMs, cost.renderMs, cost.saveMs, cost.failure});
  }
  return record;
}

/// A build that goes on in its own result folder keeps what the sessions before it recorded there.
RunRecord withEarlierSessions(const std::string& folder, const RunRequest& run, RunRecord record) {
  std::error_code error;
  if (!std::filesystem::equivalent(folder, run.referenceFolder, error)) return record;
  const std::optional<RunRecord> earlier = readRunRecord(folder);
  return earlier ? continued(*earlier, std::move(record)) : record;
}

/// Those who come with glTF files learn how to make scenes of them.
void offerAdoption(Console& console, const std::string& scenesFolder) {
  constexpr std::size_t kEnough = 1000;
  const std::size_t count = countGltfFiles(scenesFolder, kEnough);
  if (count == 0) return;
  console.print((count == kEnough ? "1000 or more" : std::to_string(count)) +
                " glTF files are there. 'vesta adopt " + shellEscaped(scenesFolder) +
                " LINKS' makes scenes of them, as links in the folder LINKS.");
}

void writeReports(Console& console, const Verdict& verdict, const JudgeOptions& options) {
  if (!options.junitFile.empty()) {
    writeJunit(options.junitFile, verdict);
    console.print("JUnit report: " + normalPath(options.junitFile));
  }
  if (!options.jsonFile.empty()) {
    writeJsonReport(options.jsonFile, verdict);
    console.print("JSON report: " + normalPath(options.jsonFile));
  }
}

bool isGoodNews(const std::string& box) {
  constexpr std::string_view kUpdated = " Strings updated!";
  const bool updated = box.size() >= kUpdated.size() &&
                       box.compare(box.size() - kUpdated.size(), kUpdated.size(), kUpdated) == 0;
  return box == "Lumicheck successful!" || box == "No changes!" || updated;
}

Verdict checkUntilStopped(const std::string& folder, const JudgeOptions& options) {
  MeasureOptions measure = options.measure;
  measure.stopped = interruptRequested;
  return checkFolder(folder, measure, options.limits);
}

/// Prints a verdict and writes the reports. Answers the exit status.
int tell(Console& console, const Verdict& verdict, const JudgeOptions& options) {
  std::string text = describe(verdict, options.verbose);
  if (!text.empty() && text.back() == '\n') text.pop_back();
  if (verdict.unusable.empty()) {
    console.print(text);
  } else {
    console.printError(text);
  }
  try {
    writeReports(console, verdict, options);
  } catch (const ReportError& error) {
    console.printError(error.what());
    return kExitUsage;
  }
  return exitStatus(verdict);
}

int tellStopped(Console& console) {
  console.print("Stopped.");
  return kExitStopped;
}

/// The verdict on a run that has just ended.
int judgeRun(Console& console, const std::string& folder, const RunRequest& run, JudgeOptions options) {
  if (interruptRequested()) return tellStopped(console);
  if (!run.referenceFolder.empty() && !folderExists(run.referenceFolder)) {
    options.limits.missingReference = run.referenceFolder;
  }
  try {
    const Verdict verdict = checkUntilStopped(folder, options);
    const int status = tell(console, verdict, options);
    if (verdict.tableEmpty) offerAdoption(console, normalPath(run.scenesFolder));
    return status;
  } catch (const MeasureStopped&) {
    return tellStopped(console);
  }
}

}  // namespace

int checkResult(Console& console, const std::string& folder, const JudgeOptions& options) {
  try {
    return tell(console, checkUntilStopped(folder, options), options);
  } catch (const MeasureStopped&) {
    return tellStopped(console);
  }
}

int finishRun(HostServices& services, const RunRequest& run, const JudgeOptions& options,
              std::chrono::system_clock::time_point started) {
  Console& console = services.console;
  const std::string folder = services.runLog.resultFolder();
  if (folder.empty()) {
    console.printError("Nothing was tested: the run wrote no result table.");
    return kExitUsage;
  }
  try {
    writeRunRecord(folder, withEarlierSessions(folder, run, recordOf(services, run, started)));
  } catch (const ReportError& error) {
    console.printError(error.what());
  }
  const int status = judgeRun(console, folder, run, options);
  console.print("Result: " + folder);
  return status;
}

int statusOfMessages(const Console& console) {
  const auto& boxes = console.boxes();
  const auto& lines = console.statusLines();
  const bool bad = !std::all_of(boxes.begin(), boxes.end(), isGoodNews) ||
                   std::any_of(lines.begin(), lines.end(),
                               [](const std::string& line) { return line.compare(0, 6, "Error:") == 0; });
  return bad ? kExitWrong : kExitGood;
}

}  // namespace host
