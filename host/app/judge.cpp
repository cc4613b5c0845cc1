#include "host/app/judge.h"

#include <algorithm>
#include <ctime>
#include <thread>

#include "host/app/exit_status.h"
#include "host/render/renderer.h"
#include "host/report/adopt.h"
#include "host/report/describe.h"
#include "host/report/json_report.h"
#include "host/report/junit.h"
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
    record.scenes.push_back({cost.scene, cost.loadMs, cost.renderMs, cost.saveMs});
  }
  return record;
}

/// Those who come with glTF files learn how to make scenes of them.
void offerAdoption(Console& console, const std::string& scenesFolder) {
  constexpr std::size_t kEnough = 1000;
  const std::size_t count = countGltfFiles(scenesFolder, kEnough);
  if (count == 0) return;
  console.print((count == kEnough ? "1000 or more" : std::to_string(count)) +
                " glTF files are there. 'vesta adopt " + scenesFolder +
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

}  // namespace

int checkResult(Console& console, const std::string& folder, const JudgeOptions& options) {
  const Verdict verdict = checkFolder(folder, options.measure, options.limits);
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

int finishRun(HostServices& services, const RunRequest& run, const JudgeOptions& options,
              std::chrono::system_clock::time_point started) {
  Console& console = services.console;
  const std::string folder = services.runLog.resultFolder();
  if (folder.empty()) {
    console.printError("Nothing was tested: the run wrote no result table.");
    return kExitUsage;
  }
  try {
    writeRunRecord(folder, recordOf(services, run, started));
  } catch (const ReportError& error) {
    console.printError(error.what());
  }
  int status = checkResult(console, folder, options);
  if (status == kExitUsage) offerAdoption(console, normalPath(run.scenesFolder));
  if (!run.referenceFolder.empty() && !folderExists(run.referenceFolder)) {
    console.printError("The reference folder '" + run.referenceFolder +
                       "' does not exist: nothing was compared.");
    status = graver(status, kExitUsage);
  }
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
