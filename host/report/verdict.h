#pragma once
// Judges a result folder: the one place where limits are applied.

#include <array>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "host/report/measure.h"

namespace host {

struct Limits {
  /// A scene whose mean difference exceeds this is different; percent, 0 to 100. With 0 a single changed
  /// pixel is enough.
  double maxDiff = 0;
  std::optional<double> maxSlower;  ///< percent over the reference time; nothing: times are not judged
  /// The folder that the run was told to compare with, and that did not exist; empty: no such trouble. What
  /// the run made instead is listed, but the exit status is 2.
  std::string missingReference = {};
};

/// What became of a scene. Good, Created and Skipped are as they should be.
enum class Outcome { Good, Created, Skipped, NeverLookedAt, Slower, Different, ImageMissing, Error };
inline constexpr std::size_t kOutcomeCount = 8;

struct SceneVerdict {
  SceneMeasure measure;
  Outcome outcome = Outcome::Good;  ///< the worst that holds
  bool slower = false;              ///< over the limit, also where the outcome is Different
};

struct Verdict {
  std::filesystem::path folder;
  std::filesystem::path reference;  ///< empty: none known
  Limits limits;
  std::string unusable;     ///< why nothing could be judged; empty: it could
  bool tableEmpty = false;  ///< the table could be read and has no row
  bool tableCutOff = false;
  int endedAt = 0;  ///< number of the scene at which the run ended before its time; 0: none
  std::vector<SceneVerdict> scenes;
  std::optional<RunRecord> record;
  std::vector<std::string> notes;
};

/// Counts and sums over all scenes of a verdict.
struct Summary {
  std::array<std::size_t, 5> statuses{};              ///< by SceneStatus
  std::array<std::size_t, kOutcomeCount> outcomes{};  ///< by Outcome
  std::size_t differing = 0;                          ///< scenes with any difference, within the limit or not
  std::size_t slower = 0;                             ///< scenes over the limit of time
  const SceneVerdict* largest = nullptr;  ///< the largest mean difference, lent by the verdict; may be null
  double timeNew = 0;                     ///< seconds, of all scenes that were rendered
  double timeCompared = 0;                ///< seconds, of those scenes that have a reference time
  double timeReference = 0;               ///< seconds, their reference times
};

/// Applies the limits. Thread: any. Never throws but for memory.
Verdict judge(FolderMeasures measures, const Limits& limits);

/// Measures and judges `folder`; what cannot be read ends in Verdict::unusable. Thread: any. Throws
/// MeasureStopped.
Verdict checkFolder(const std::filesystem::path& folder, const MeasureOptions& options, const Limits& limits);

Summary summarise(const Verdict& verdict);

/// 0 good; 1 something is wrong with what was tested; 2 nothing could be judged.
int exitStatus(const Verdict& verdict);

/// True for outcomes that make a run wrong.
bool isWrong(Outcome outcome);

/// timeNew / timeReference - 1; nothing unless both are known.
std::optional<double> slowdown(const ResultRow& row);

}  // namespace host
