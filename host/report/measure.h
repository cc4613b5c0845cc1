#pragma once
// Gathers what a result folder and its reference hold, without any judgement.

#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/report/difference.h"
#include "host/report/resulttable.h"
#include "host/report/runrecord.h"

namespace host {

/// Values of one channel of one pixel, 0 to 255.
struct PixelPair {
  int reference = 0;
  int now = 0;
};

struct SceneMeasure {
  ResultRow row;
  std::optional<Difference> difference;  ///< of OK rows whose two images can be read
  std::optional<PixelPair> worst;        ///< at the difference's largest byte; needs the reference image
  std::string referenceProblem;          ///< why `worst` is missing although there is a reference
  /// OK, CREATED, SKIPPED: why an image that the row promises cannot be used, else empty.
  /// ERROR: the cause, where record or files tell it, else empty.
  std::string problem;
};

struct FolderMeasures {
  std::filesystem::path folder;
  std::filesystem::path reference;  ///< empty: none known
  bool tableCutOff = false;         ///< the table stops within a line
  std::vector<SceneMeasure> scenes;
  std::optional<RunRecord> record;
  std::vector<std::string> notes;  ///< worth knowing, wrong or not: other machine, other scenes, no record
};

struct MeasureOptions {
  std::optional<std::filesystem::path> reference;  ///< nothing: as the run's record says
  int threads = 0;                                 ///< that read images; 0: every core
  /// Asked before every image, by all those threads.
  std::function<bool()> stopped = [] { return false; };
};

/// MeasureOptions::stopped ended it: there is nothing to judge.
struct MeasureStopped : std::runtime_error {
  MeasureStopped() : std::runtime_error("stopped") {}
};

/// Reads table, record and images of `folder`, and what it needs of the reference. Scenes whose images
/// cannot be read say so in `problem`. Thread: any. Throws ReportError when the folder or its table cannot be
/// read, or options.reference is no folder; MeasureStopped.
FolderMeasures measureFolder(const std::filesystem::path& folder, const MeasureOptions& options);

}  // namespace host
