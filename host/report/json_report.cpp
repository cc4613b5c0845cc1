#include "host/report/json_report.h"

#include <array>

#include "host/report/describe.h"
#include "host/report/files.h"
#include "host/services/jsonbytes.h"

namespace host {

using nlohmann::ordered_json;

namespace {

constexpr std::array<const char*, kOutcomeCount> kOutcomeNames = {
    "good", "created", "skipped", "neverLookedAt", "slower", "different", "imageMissing", "error"};

const char* nameOf(Outcome outcome) { return kOutcomeNames[static_cast<std::size_t>(outcome)]; }

template <class T>
ordered_json orNull(const std::optional<T>& value) {
  return value ? ordered_json(*value) : ordered_json(nullptr);
}

ordered_json differenceJson(const SceneMeasure& measure) {
  const Difference& d = *measure.difference;
  ordered_json json = {{"mean", d.mean},
                       {"maximum", d.maximum},
                       {"x", d.x},
                       {"y", d.y},
                       {"channel", channelName(d.channel)},
                       {"changedShare", d.changedShare},
                       {"width", d.width},
                       {"height", d.height}};
  if (measure.worst) {
    json["reference"] = measure.worst->reference;
    json["now"] = measure.worst->now;
  }
  return json;
}

ordered_json sceneJson(const SceneVerdict& scene) {
  const ResultRow& row = scene.measure.row;
  ordered_json json = {{"number", row.number},
                       {"path", bytesToJson(row.path)},
                       {"status", statusWord(row.status)},
                       {"outcome", nameOf(scene.outcome)},
                       {"slower", scene.slower},
                       {"explanation", bytesToJson(explain(scene))},
                       {"timeNew", row.timeNew},
                       {"timeReference", row.timeReference},
                       {"timeChange", orNull(slowdown(row))},
                       {"tableDifference", orNull(row.difference)}};
  if (scene.measure.difference) json["difference"] = differenceJson(scene.measure);
  return json;
}

ordered_json summaryJson(const Verdict& verdict) {
  const Summary summary = summarise(verdict);
  ordered_json json = {{"scenes", verdict.scenes.size()}};
  for (std::size_t i = 0; i < kOutcomeCount; ++i) json[kOutcomeNames[i]] = summary.outcomes[i];
  json["withDifference"] = summary.differing;
  json["largestDifference"] = summary.largest ? summary.largest->measure.difference->mean : 0.0;
  json["timeNew"] = summary.timeNew;
  json["timeCompared"] = summary.timeCompared;
  json["timeReference"] = summary.timeReference;
  return json;
}

ordered_json runJson(const RunRecord& record) {
  return {{"scenesFolder", bytesToJson(record.scenesFolder)},
          {"hostVersion", record.hostVersion},
          {"programVersion", record.programVersion},
          {"facts", record.facts},
          {"threads", record.threads},
          {"started", record.started},
          {"totalMs", record.totalMs}};
}

ordered_json stringList(const std::vector<std::string>& strings) {
  ordered_json list = ordered_json::array();
  for (const std::string& text : strings) list.push_back(bytesToJson(text));
  return list;
}

}  // namespace

std::string jsonReportText(const Verdict& verdict) {
  ordered_json json = {
      {"folder", bytesToJson(verdict.folder.string())},
      {"reference", bytesToJson(verdict.reference.string())},
      {"exitStatus", exitStatus(verdict)},
      {"verdict", bytesToJson(verdictSentence(verdict))},
      {"limits",
       {{"maxDiffPercent", verdict.limits.maxDiff}, {"maxSlowerPercent", orNull(verdict.limits.maxSlower)}}},
      {"tableCutOff", verdict.tableCutOff},
      {"endedAt", verdict.endedAt},
      {"notes", stringList(verdict.notes)},
      {"summary", summaryJson(verdict)}};
  if (verdict.record) json["run"] = runJson(*verdict.record);
  json["scenes"] = ordered_json::array();
  for (const SceneVerdict& scene : verdict.scenes) json["scenes"].push_back(sceneJson(scene));
  return jsonText(json);
}

void writeJsonReport(const std::filesystem::path& file, const Verdict& verdict) {
  writeTextFile(file, jsonReportText(verdict));
}

}  // namespace host
