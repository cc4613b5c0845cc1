#include "host/report/verdict.h"

#include <algorithm>
#include <cmath>

namespace host {

namespace {

bool hasBothTimes(const ResultRow& row) {
  return row.status == SceneStatus::Ok && row.timeNew > 0 && row.timeReference > 0;
}

/// Whole hundredths, as the table writes them: 1.10 s against 1.00 s is exactly 10 % slower, which quotients
/// of binary fractions would not say.
bool isSlower(const ResultRow& row, const Limits& limits) {
  if (!limits.maxSlower || !hasBothTimes(row)) return false;
  const double now = std::round(row.timeNew * 100);
  const double before = std::round(row.timeReference * 100);
  return !(now * 100 <= before * (100 + *limits.maxSlower));  // a limit that is no number lets nothing pass
}

Outcome judgeCompared(const SceneVerdict& scene, const Limits& limits) {
  if (!scene.measure.difference) return Outcome::ImageMissing;
  if (!(scene.measure.difference->mean * 100 <= limits.maxDiff)) return Outcome::Different;
  return scene.slower ? Outcome::Slower : Outcome::Good;
}

Outcome judgeScene(const SceneVerdict& scene, const Limits& limits) {
  switch (scene.measure.row.status) {
    case SceneStatus::Pending:
      return Outcome::NeverLookedAt;
    case SceneStatus::Ok:
      return judgeCompared(scene, limits);
    case SceneStatus::Error:
      return Outcome::Error;
    case SceneStatus::Created:
      return scene.measure.problem.empty() ? Outcome::Created : Outcome::ImageMissing;
    case SceneStatus::Skipped:
      return scene.measure.problem.empty() ? Outcome::Skipped : Outcome::ImageMissing;
  }
  return Outcome::Error;
}

/// A run that ends early marks the scene it was at as ERROR and leaves all that follow PENDING.
int findEnd(const std::vector<SceneVerdict>& scenes) {
  for (std::size_t i = 1; i < scenes.size(); ++i) {
    const ResultRow& row = scenes[i - 1].measure.row;
    if (row.status == SceneStatus::Error && scenes[i].measure.row.status == SceneStatus::Pending) {
      return row.number;
    }
  }
  return 0;
}

/// A limit of time that met no times must not look like one that was kept.
bool lacksTimes(const Verdict& verdict) {
  const auto compared = [](const SceneVerdict& s) { return s.measure.row.status == SceneStatus::Ok; };
  const auto timed = [](const SceneVerdict& s) { return hasBothTimes(s.measure.row); };
  return verdict.limits.maxSlower && std::any_of(verdict.scenes.begin(), verdict.scenes.end(), compared) &&
         std::none_of(verdict.scenes.begin(), verdict.scenes.end(), timed);
}

void addTimes(const ResultRow& row, Summary& summary) {
  if (row.status == SceneStatus::Ok || row.status == SceneStatus::Created) summary.timeNew += row.timeNew;
  if (!hasBothTimes(row)) return;
  summary.timeCompared += row.timeNew;
  summary.timeReference += row.timeReference;
}

void addDifference(const SceneVerdict& scene, Summary& summary) {
  if (!scene.measure.difference || scene.measure.difference->maximum == 0) return;
  ++summary.differing;
  if (!summary.largest || scene.measure.difference->mean > summary.largest->measure.difference->mean) {
    summary.largest = &scene;
  }
}

}  // namespace

Verdict judge(FolderMeasures measures, const Limits& limits) {
  Verdict verdict;
  verdict.folder = std::move(measures.folder);
  verdict.reference = std::move(measures.reference);
  verdict.limits = limits;
  verdict.tableCutOff = measures.tableCutOff;
  verdict.record = std::move(measures.record);
  verdict.notes = std::move(measures.notes);
  for (SceneMeasure& measure : measures.scenes) {
    SceneVerdict& scene = verdict.scenes.emplace_back();
    scene.measure = std::move(measure);
    scene.slower = isSlower(scene.measure.row, limits);
    scene.outcome = judgeScene(scene, limits);
  }
  verdict.endedAt = findEnd(verdict.scenes);
  verdict.tableEmpty = verdict.scenes.empty() && !verdict.tableCutOff;
  if (verdict.scenes.empty()) verdict.unusable = "no scene in its table, nothing was tested";
  if (lacksTimes(verdict)) verdict.notes.push_back("no scene has a reference time: times were not judged");
  return verdict;
}

Verdict checkFolder(const std::filesystem::path& folder, const MeasureOptions& options,
                    const Limits& limits) {
  try {
    return judge(measureFolder(folder, options), limits);
  } catch (const ReportError& error) {
    Verdict verdict;
    verdict.folder = folder;
    verdict.reference = options.reference.value_or("");
    verdict.limits = limits;
    verdict.unusable = error.what();
    return verdict;
  }
}

Summary summarise(const Verdict& verdict) {
  Summary summary;
  for (const SceneVerdict& scene : verdict.scenes) {
    ++summary.statuses[static_cast<std::size_t>(scene.measure.row.status)];
    ++summary.outcomes[static_cast<std::size_t>(scene.outcome)];
    if (scene.slower) ++summary.slower;
    addTimes(scene.measure.row, summary);
    addDifference(scene, summary);
  }
  return summary;
}

int exitStatus(const Verdict& verdict) {
  if (!verdict.unusable.empty() || !verdict.limits.missingReference.empty()) return 2;
  const auto wrong = [](const SceneVerdict& scene) { return isWrong(scene.outcome); };
  return verdict.tableCutOff || std::any_of(verdict.scenes.begin(), verdict.scenes.end(), wrong) ? 1 : 0;
}

bool isWrong(Outcome outcome) {
  switch (outcome) {
    case Outcome::Good:
    case Outcome::Created:
    case Outcome::Skipped:
      return false;
    case Outcome::NeverLookedAt:
    case Outcome::Slower:
    case Outcome::Different:
    case Outcome::ImageMissing:
    case Outcome::Error:
      return true;
  }
  return true;
}

std::optional<double> slowdown(const ResultRow& row) {
  if (!hasBothTimes(row)) return std::nullopt;
  return row.timeNew / row.timeReference - 1;
}

}  // namespace host
