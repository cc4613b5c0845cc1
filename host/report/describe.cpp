#include "host/report/describe.h"

#include <algorithm>
#include <cstdlib>

#include "host/report/text.h"

namespace host {

namespace {

constexpr double kShortTime = 0.1;  // seconds; below, the 10 ms steps of the table are 10 % and more

std::string explainDifference(const SceneMeasure& measure) {
  const Difference& d = *measure.difference;
  std::string text = formatted("mean %.4g %%, largest %d at (%d, %d) %s", d.mean * 100, d.maximum, d.x, d.y,
                               channelName(d.channel));
  if (measure.worst) {
    text += formatted(": reference %d, now %d", measure.worst->reference, measure.worst->now);
    if (std::abs(measure.worst->reference - measure.worst->now) != d.maximum) {
      text += " (an image was replaced after the run)";
    }
  }
  return text + formatted("; %.4g %% of pixels changed", d.changedShare * 100);
}

std::string explainTimes(const ResultRow& row) {
  std::string text = formatted("%.2f s, reference %.2f s (%+.2f %%)", row.timeNew, row.timeReference,
                               slowdown(row).value_or(0) * 100);
  if (row.timeReference < kShortTime) text += "; times are cut to 10 ms, so this says little";
  return text;
}

std::string describeScene(const SceneVerdict& scene) {
  return formatted("  %d  ", scene.measure.row.number) + visible(scene.measure.row.path) + "\n     " +
         visible(explain(scene)) + '\n';
}

std::string heading(Outcome outcome, const Limits& limits) {
  switch (outcome) {
    case Outcome::Error:
      return "In ERROR";
    case Outcome::ImageMissing:
      return "Image missing or unreadable";
    case Outcome::Different:
      return limits.maxDiff > 0 ? formatted("Different by more than %.4g %%", limits.maxDiff) : "Different";
    case Outcome::Slower:
      return formatted("Slower by more than %.4g %%", limits.maxSlower.value_or(0));
    case Outcome::NeverLookedAt:
      return "Never looked at";
    case Outcome::Good:
    case Outcome::Created:
    case Outcome::Skipped:
      break;
  }
  return "Good";
}

/// Scenes of one outcome, worst first where that can be said, else by number.
std::vector<const SceneVerdict*> worstFirst(const Verdict& verdict, Outcome outcome) {
  std::vector<const SceneVerdict*> scenes;
  for (const SceneVerdict& scene : verdict.scenes) {
    if (scene.outcome == outcome) scenes.push_back(&scene);
  }
  const auto severity = [outcome](const SceneVerdict* scene) {
    if (outcome == Outcome::Different) return scene->measure.difference->mean;
    return outcome == Outcome::Slower ? slowdown(scene->measure.row).value_or(0) : 0.0;
  };
  std::stable_sort(scenes.begin(), scenes.end(),
                   [&](const auto* a, const auto* b) { return severity(a) > severity(b); });
  return scenes;
}

std::string describeOutcome(const Verdict& verdict, Outcome outcome, bool verbose) {
  const std::vector<const SceneVerdict*> scenes = worstFirst(verdict, outcome);
  if (scenes.empty()) return "";
  std::string text = heading(outcome, verdict.limits) + ": " + counted(scenes.size(), "scene") + '\n';
  const std::size_t listed = verbose ? scenes.size() : std::min(scenes.size(), kListedScenes);
  for (std::size_t i = 0; i < listed; ++i) {
    // The scenes behind a run's end have nothing to tell but their names.
    text += outcome == Outcome::NeverLookedAt ? formatted("  %d  ", scenes[i]->measure.row.number) +
                                                    visible(scenes[i]->measure.row.path) + '\n'
                                              : describeScene(*scenes[i]);
  }
  if (listed < scenes.size()) text += "  ... and " + std::to_string(scenes.size() - listed) + " more\n";
  return text + '\n';
}

std::string describeNotes(const Verdict& verdict) {
  std::string text;
  if (verdict.endedAt > 0) {
    text += formatted("The run ended at scene %d of %zu.\n", verdict.endedAt, verdict.scenes.size());
  }
  if (verdict.tableCutOff) text += "The table stops within a line: rows are missing.\n";
  for (const std::string& note : verdict.notes) text += "Note: " + visible(note) + '\n';
  return text.empty() ? "" : text + '\n';
}

std::string describeCounts(const Verdict& verdict, const Summary& summary) {
  std::string text = counted(verdict.scenes.size(), "scene") + ":";
  for (std::size_t i = 0; i < summary.statuses.size(); ++i) {
    if (summary.statuses[i] == 0) continue;
    if (!text.ends_with(':')) text += ',';
    text += formatted(" %zu %s", summary.statuses[i], statusWord(static_cast<SceneStatus>(i)));
  }
  if (summary.statuses[static_cast<std::size_t>(SceneStatus::Ok)] > 0) {
    text += formatted("; %zu with a difference", summary.differing);
  }
  if (verdict.limits.maxSlower) text += formatted("; %zu slower", summary.slower);
  return text + '\n';
}

std::string describeSummary(const Verdict& verdict, const Summary& summary) {
  std::string text = describeCounts(verdict, summary);
  if (summary.largest) {
    text += formatted("Largest difference: mean %.4g %%, scene %d.\n",
                      summary.largest->measure.difference->mean * 100, summary.largest->measure.row.number);
  }
  if (summary.timeReference > 0) {
    text += formatted("Render time: %.2f s, reference %.2f s (%+.2f %%).\n", summary.timeCompared,
                      summary.timeReference, (summary.timeCompared / summary.timeReference - 1) * 100);
  } else if (summary.timeNew > 0) {
    text += formatted("Render time: %.2f s.\n", summary.timeNew);
  }
  return text;
}

std::string goodSentence(const Verdict& verdict, const Summary& summary) {
  const std::size_t compared = summary.statuses[static_cast<std::size_t>(SceneStatus::Ok)];
  const std::size_t made = summary.outcomes[static_cast<std::size_t>(Outcome::Created)];
  if (compared == 0) {
    return "Good: " + counted(made, "reference image") + " made, " +
           std::to_string(verdict.scenes.size() - made) + " there already; nothing was compared.";
  }
  const std::string scenes = "Good: " + counted(compared, "scene") + ", ";
  if (summary.differing == 0) return scenes + "no difference.";
  return scenes + formatted("no difference over %.4g %%.", verdict.limits.maxDiff);
}

/// "1 in ERROR, 2 different"; empty when nothing is wrong.
std::string describeWrong(const Verdict& verdict, const Summary& summary) {
  struct Phrase {
    Outcome outcome;
    const char* text;
  };
  constexpr Phrase kPhrases[] = {{Outcome::Error, "in ERROR"},
                                 {Outcome::ImageMissing, "without usable image"},
                                 {Outcome::Different, "different"},
                                 {Outcome::Slower, "slower"},
                                 {Outcome::NeverLookedAt, "never looked at"}};
  std::string text;
  for (const Phrase& phrase : kPhrases) {
    const std::size_t count = summary.outcomes[static_cast<std::size_t>(phrase.outcome)];
    if (count > 0) text += (text.empty() ? "" : ", ") + std::to_string(count) + ' ' + phrase.text;
  }
  if (verdict.tableCutOff) text += text.empty() ? "the table is cut off" : ", and the table is cut off";
  return text;
}

std::string missingReferenceSentence(const Verdict& verdict, const Summary& summary) {
  const std::string wrong = describeWrong(verdict, summary);
  return "Nothing was compared: the reference folder '" + verdict.limits.missingReference +
         "' does not exist; " +
         counted(summary.outcomes[static_cast<std::size_t>(Outcome::Created)], "reference image") + " made" +
         (wrong.empty() ? "" : ", " + wrong) + ".";
}

}  // namespace

std::string describe(const Verdict& verdict, bool verbose) {
  std::string text;
  if (verdict.unusable.empty()) {
    for (const Outcome outcome : {Outcome::Error, Outcome::ImageMissing, Outcome::Different, Outcome::Slower,
                                  Outcome::NeverLookedAt}) {
      text += describeOutcome(verdict, outcome, verbose);
    }
    text += describeNotes(verdict);
    text += describeSummary(verdict, summarise(verdict));
  }
  return text + visible(verdictSentence(verdict)) + '\n';
}

std::string explain(const SceneVerdict& scene) {
  const SceneMeasure& measure = scene.measure;
  switch (scene.outcome) {
    case Outcome::Error:
      return measure.problem.empty() ? "the run gave no reason" : measure.problem;
    case Outcome::ImageMissing:
      return std::string("the table says ") + statusWord(measure.row.status) + ", but " + measure.problem;
    case Outcome::Different:
      return explainDifference(measure) + (scene.slower ? "; " + explainTimes(measure.row) : "");
    case Outcome::Slower:
      return explainTimes(measure.row);
    case Outcome::NeverLookedAt:
      return "never looked at";
    case Outcome::Good:
      return measure.difference->maximum > 0 ? explainDifference(measure) : "no difference";
    case Outcome::Created:
      return "reference image made";
    case Outcome::Skipped:
      return "image was there already";
  }
  return "";
}

std::string verdictSentence(const Verdict& verdict) {
  if (!verdict.unusable.empty()) {
    return "Cannot judge " + verdict.folder.string() + ": " + verdict.unusable + ".";
  }
  const Summary summary = summarise(verdict);
  if (!verdict.limits.missingReference.empty()) return missingReferenceSentence(verdict, summary);
  if (exitStatus(verdict) == 0) return goodSentence(verdict, summary);
  return "Wrong: " + describeWrong(verdict, summary) + ".";
}

const char* channelName(int channel) {
  constexpr const char* kNames[] = {"red", "green", "blue"};
  return kNames[std::clamp(channel, 0, 2)];
}

}  // namespace host
