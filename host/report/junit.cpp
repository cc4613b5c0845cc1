#include "host/report/junit.h"

#include "host/report/describe.h"
#include "host/report/files.h"
#include "host/report/text.h"

namespace host {

namespace {

/// The element that stands inside a test case, nullptr for a scene that passed.
const char* elementOf(Outcome outcome) {
  switch (outcome) {
    case Outcome::Good:
    case Outcome::Created:
      return nullptr;
    case Outcome::Skipped:
      return "skipped";
    case Outcome::Slower:
    case Outcome::Different:
      return "failure";
    case Outcome::NeverLookedAt:
    case Outcome::ImageMissing:
    case Outcome::Error:
      return "error";
  }
  return "error";
}

const char* typeOf(Outcome outcome) {
  switch (outcome) {
    case Outcome::Slower:
      return "slower";
    case Outcome::Different:
      return "different";
    case Outcome::NeverLookedAt:
      return "never looked at";
    case Outcome::ImageMissing:
      return "image missing";
    case Outcome::Error:
      return "ERROR";
    case Outcome::Good:
    case Outcome::Created:
    case Outcome::Skipped:
      break;
  }
  return "";
}

struct Counts {
  std::size_t tests = 0, failures = 0, errors = 0, skipped = 0;
  double seconds = 0;

  void add(std::string_view element) {
    ++tests;
    if (element == "failure") ++failures;
    if (element == "error") ++errors;
    if (element == "skipped") ++skipped;
  }
};

/// `name`="`value`" with a blank in front.
std::string attribute(const char* name, std::string_view value) {
  return std::string(" ") + name + "=\"" + xmlEscaped(value) + '"';
}

std::string sceneName(const std::string& path, const Verdict& verdict) {
  if (!verdict.record || verdict.record->scenesFolder.empty()) return path;
  std::string folder = verdict.record->scenesFolder;
  if (!folder.ends_with('/')) folder += '/';
  return path.starts_with(folder) ? path.substr(folder.size()) : path;
}

std::string sceneCase(const SceneVerdict& scene, const Verdict& verdict, Counts& counts) {
  const ResultRow& row = scene.measure.row;
  const char* element = elementOf(scene.outcome);
  counts.add(element ? element : "");
  // A skipped row carries the time of an earlier run.
  const double seconds = row.status == SceneStatus::Skipped ? 0 : row.timeNew;
  counts.seconds += seconds;
  std::string text = "    <testcase" + attribute("classname", "lumicheck") +
                     attribute("name", sceneName(row.path, verdict)) +
                     attribute("time", formatted("%.2f", seconds));
  if (!element) return text + "/>\n";
  text += std::string(">\n      <") + element + attribute("message", explain(scene));
  if (isWrong(scene.outcome)) text += attribute("type", typeOf(scene.outcome));
  return text + "/>\n    </testcase>\n";
}

std::string folderCase(const std::string& message, Counts& counts) {
  counts.add("error");
  return "    <testcase" + attribute("classname", "lumicheck") + attribute("name", "result folder") +
         attribute("time", "0.00") + ">\n      <error" + attribute("message", message) +
         attribute("type", "result folder") + "/>\n    </testcase>\n";
}

std::string countAttributes(const Counts& counts) {
  return formatted(" tests=\"%zu\" failures=\"%zu\" errors=\"%zu\" skipped=\"%zu\" time=\"%.2f\"",
                   counts.tests, counts.failures, counts.errors, counts.skipped, counts.seconds);
}

}  // namespace

std::string junitText(const Verdict& verdict) {
  Counts counts;
  std::string cases;
  if (exitStatus(verdict) == 2 || verdict.tableCutOff) cases += folderCase(verdictSentence(verdict), counts);
  for (const SceneVerdict& scene : verdict.scenes) cases += sceneCase(scene, verdict, counts);
  std::string suite = attribute("name", "lumicheck") + countAttributes(counts);
  if (verdict.record && !verdict.record->started.empty()) {
    suite += attribute("timestamp", verdict.record->started);
  }
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites" + countAttributes(counts) +
         ">\n  <testsuite" + suite + ">\n" + cases + "  </testsuite>\n</testsuites>\n";
}

void writeJunit(const std::filesystem::path& file, const Verdict& verdict) {
  writeTextFile(file, junitText(verdict));
}

}  // namespace host
