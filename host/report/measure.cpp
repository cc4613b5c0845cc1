#include "host/report/measure.h"

#include <algorithm>
#include <atomic>
#include <system_error>
#include <thread>
#include <unordered_map>

#include "host/report/notes.h"
#include "host/report/text.h"
#include "host/services/signal_stack.h"

namespace host {

namespace fs = std::filesystem;

namespace {

bool isFolder(const fs::path& path) {
  std::error_code error;
  return fs::is_directory(path, error);
}

bool isFile(const fs::path& path) {
  std::error_code error;
  return fs::is_regular_file(path, error);
}

/// Reads an image; errors carry `name` in front.
Image readNamed(const fs::path& file, const std::string& name) {
  if (!isFile(file)) throw ImageError(name + ": no such file");
  try {
    return readImage(file);
  } catch (const ImageError& error) {
    throw ImageError(name + ": " + error.what());
  }
}

std::string sizeOf(const Image& image) { return formatted("%d x %d", image.width, image.height); }

bool sameSize(const Image& a, const Image& b) { return a.width == b.width && a.height == b.height; }

/// Measures the scenes of one folder, each on its own.
class SceneMeter {
 public:
  SceneMeter(fs::path folder, fs::path reference)
      : folder_(std::move(folder)), reference_(std::move(reference)) {
    std::error_code error;
    // A continued build has its own folder as reference; nothing is compared then.
    if (!isFolder(reference_) || fs::equivalent(folder_, reference_, error)) reference_.clear();
  }

  /// Never throws for what a file holds: it ends in `problem`. A problem that is known already stays.
  void measure(SceneMeasure& scene, bool endedRun) const {
    try {
      switch (scene.row.status) {
        case SceneStatus::Ok:
          measureCompared(scene);
          break;
        case SceneStatus::Created:
        case SceneStatus::Skipped:
          readNew(scene.row.number);
          break;
        case SceneStatus::Error:
          if (scene.problem.empty()) scene.problem = findCause(scene.row.number, endedRun);
          break;
        case SceneStatus::Pending:
          break;
      }
    } catch (const std::exception& error) {
      scene.problem = error.what();
    }
  }

 private:
  Image readNew(int number) const { return readNamed(folder_ / imageName(number), imageName(number)); }

  Image readReference(int number) const {
    return readNamed(reference_ / imageName(number), "reference image " + imageName(number));
  }

  void measureCompared(SceneMeasure& scene) const {
    const int number = scene.row.number;
    const std::string name = differenceImageName(number);
    const Image now = readNew(number);
    const Image difference = readNamed(folder_ / name, name);
    if (!sameSize(now, difference)) {
      throw ImageError(imageName(number) + " is " + sizeOf(now) + ", " + name + " is " + sizeOf(difference));
    }
    try {
      scene.difference = measureDifference(difference);
    } catch (const ImageError& error) {
      throw ImageError(name + ": " + error.what());
    }
    if (scene.difference->maximum == 0 || reference_.empty()) return;
    try {
      scene.worst = worstPixel(number, *scene.difference, now);
    } catch (const ImageError& error) {
      scene.referenceProblem = error.what();  // the difference stands without it
    }
  }

  PixelPair worstPixel(int number, const Difference& difference, const Image& now) const {
    const Image reference = readReference(number);
    if (!sameSize(reference, now)) {
      throw ImageError("reference image " + imageName(number) + " is " + sizeOf(reference) + ", new image " +
                       sizeOf(now));
    }
    if (reference.channels != 3 || now.channels != 3) {
      throw ImageError("reference image " + imageName(number) + " or the new one is not RGB");
    }
    const std::size_t pixel = static_cast<std::size_t>(difference.y) * static_cast<std::size_t>(now.width) +
                              static_cast<std::size_t>(difference.x);
    const std::size_t byte = pixel * 3 + static_cast<std::size_t>(difference.channel);
    return PixelPair{reference.pixels[byte], now.pixels[byte]};
  }

  /// A reference image that is missing or of another size ends a run, so it is the cause only where one
  /// ended: a scene that could not be loaded in either run has none, and the run went on.
  std::string findCause(int number, bool endedRun) const {
    const std::string name = imageName(number);
    const bool suspectReference = endedRun && !reference_.empty();
    if (suspectReference && !isFile(reference_ / name)) return "reference has no " + name;
    if (!isFile(folder_ / name)) return "no image: not loaded, not rendered, or stopped";
    const Image now = readNew(number);
    if (reference_.empty()) return "";
    if (suspectReference) {
      const Image reference = readReference(number);
      if (!sameSize(now, reference)) {
        return "reference image is " + sizeOf(reference) + ", new image " + sizeOf(now);
      }
    }
    return isFile(folder_ / differenceImageName(number)) ? "" : "difference image was not saved";
  }

  fs::path folder_;
  fs::path reference_;  // empty: none to look at
};

/// Calls work(0) ... work(count - 1) on options.threads threads, the calling one among them. Throws
/// MeasureStopped when it was stopped before all were done.
void forEachInParallel(std::size_t count, const MeasureOptions& options,
                       const std::function<void(std::size_t)>& work) {
  std::atomic<std::size_t> next = 0;
  std::atomic<bool> stopped = false;
  const auto run = [&] {
    const SignalStack signalStack;
    for (std::size_t i = next++; i < count && !stopped; i = next++) {
      if (options.stopped()) {
        stopped = true;
      } else {
        work(i);
      }
    }
  };
  const std::size_t wanted = options.threads > 0 ? static_cast<std::size_t>(options.threads)
                                                 : std::max(1U, std::thread::hardware_concurrency());
  std::vector<std::jthread> helpers;
  helpers.reserve(wanted);
  try {
    for (std::size_t i = 1; i < std::min(wanted, count); ++i) helpers.emplace_back(run);
  } catch (const std::system_error&) {
    // No more threads to be had; those that run are enough.
  }
  run();
  helpers.clear();  // waits for them
  if (stopped) throw MeasureStopped();
}

std::optional<RunRecord> readRecordOrNote(const fs::path& folder, std::vector<std::string>& notes) {
  try {
    return readRunRecord(folder);
  } catch (const ReportError& error) {
    notes.push_back(error.what());
    return std::nullopt;
  }
}

fs::path findReference(const MeasureOptions& options, FolderMeasures& measures) {
  if (options.reference) {
    if (!isFolder(*options.reference)) {
      throw ReportError("reference " + options.reference->string() + " is not a folder");
    }
    return *options.reference;
  }
  if (!measures.record || measures.record->referenceFolder.empty()) return {};
  fs::path reference = measures.record->referenceFolder;
  if (!isFolder(reference)) measures.notes.push_back("reference " + reference.string() + " is not there");
  return reference;
}

void compareWithReference(const ResultTable& table, FolderMeasures& measures) {
  if (!isFolder(measures.reference)) return;
  const std::optional<RunRecord> before = readRecordOrNote(measures.reference, measures.notes);
  if (before && measures.record) {
    for (std::string& note : machineNotes(*before, *measures.record))
      measures.notes.push_back(std::move(note));
  }
  try {
    std::string note = sceneOrderNote(readResultTable(measures.reference), table);
    if (!note.empty()) measures.notes.push_back(std::move(note));
  } catch (const ReportError& error) {
    measures.notes.push_back(error.what());
  }
}

/// The causes that the run itself recorded: what ended one scene is known to nobody else.
void takeRecordedFailures(FolderMeasures& measures) {
  if (!measures.record) return;
  std::unordered_map<std::string, std::string> failures;
  for (const SceneTimes& times : measures.record->scenes) {
    if (!times.failure.empty()) failures[times.scene] = times.failure;
  }
  for (SceneMeasure& scene : measures.scenes) {
    if (scene.row.status != SceneStatus::Error) continue;
    const auto failure = failures.find(scene.row.path);
    if (failure != failures.end()) scene.problem = failure->second;
  }
}

void noteUnusedReferences(FolderMeasures& measures) {
  const auto unused = [](const SceneMeasure& scene) { return !scene.referenceProblem.empty(); };
  const auto first = std::find_if(measures.scenes.begin(), measures.scenes.end(), unused);
  if (first == measures.scenes.end()) return;
  const auto count = std::count_if(first, measures.scenes.end(), unused);
  measures.notes.push_back(counted(static_cast<std::size_t>(count), "reference image") +
                           " could not be used for the values of worst pixels: " + first->referenceProblem);
}

/// Whether the run came no further than scene `i`.
bool isLastTouched(const std::vector<SceneMeasure>& scenes, std::size_t i) {
  return i + 1 == scenes.size() || scenes[i + 1].row.status == SceneStatus::Pending;
}

}  // namespace

FolderMeasures measureFolder(const fs::path& folder, const MeasureOptions& options) {
  if (!isFolder(folder)) throw ReportError(folder.string() + " is not a folder");
  const ResultTable table = readResultTable(folder);
  FolderMeasures measures;
  measures.folder = folder;
  measures.tableCutOff = table.cutOff;
  measures.record = readRecordOrNote(folder, measures.notes);
  measures.reference = findReference(options, measures);
  compareWithReference(table, measures);
  for (const ResultRow& row : table.rows) {
    SceneMeasure& scene = measures.scenes.emplace_back();
    scene.row = row;
  }
  takeRecordedFailures(measures);
  const SceneMeter meter(folder, measures.reference);
  forEachInParallel(measures.scenes.size(), options, [&](std::size_t i) {
    meter.measure(measures.scenes[i], isLastTouched(measures.scenes, i));
  });
  noteUnusedReferences(measures);
  return measures;
}

}  // namespace host
