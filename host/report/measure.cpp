#include "host/report/measure.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <system_error>
#include <thread>

#include "host/report/notes.h"
#include "host/report/text.h"

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

  /// Never throws for what a file holds: it ends in `problem`.
  void measure(SceneMeasure& scene) const {
    try {
      switch (scene.row.status) {
        case SceneStatus::Ok:
          measureCompared(scene);
          break;
        case SceneStatus::Created:
          readNew(scene.row.number);
          break;
        case SceneStatus::Error:
          scene.problem = findCause(scene.row.number);
          break;
        case SceneStatus::Pending:
        case SceneStatus::Skipped:
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
    if (scene.difference->maximum > 0) scene.worst = worstPixel(number, *scene.difference, now);
  }

  std::optional<PixelPair> worstPixel(int number, const Difference& difference, const Image& now) const {
    if (reference_.empty()) return std::nullopt;
    try {
      const Image reference = readReference(number);
      if (!sameSize(reference, now) || reference.channels != 3 || now.channels != 3) return std::nullopt;
      const std::size_t pixel = static_cast<std::size_t>(difference.y) * static_cast<std::size_t>(now.width) +
                                static_cast<std::size_t>(difference.x);
      const std::size_t byte = pixel * 3 + static_cast<std::size_t>(difference.channel);
      return PixelPair{reference.pixels[byte], now.pixels[byte]};
    } catch (const ImageError&) {
      return std::nullopt;  // the difference stands without it
    }
  }

  std::string findCause(int number) const {
    const std::string name = imageName(number);
    if (!reference_.empty() && !isFile(reference_ / name)) return "reference has no " + name;
    if (!isFile(folder_ / name)) return "no image: not loaded, not rendered, or stopped";
    const Image now = readNew(number);
    if (reference_.empty()) return "";
    const Image reference = readReference(number);
    if (!sameSize(now, reference)) {
      return "reference image is " + sizeOf(reference) + ", new image " + sizeOf(now);
    }
    return isFile(folder_ / differenceImageName(number)) ? "" : "difference image was not saved";
  }

  fs::path folder_;
  fs::path reference_;  // empty: none to look at
};

/// Calls work(0) ... work(count - 1) on `threads` threads, the calling one among them.
void forEachInParallel(std::size_t count, int threads, const std::function<void(std::size_t)>& work) {
  std::atomic<std::size_t> next = 0;
  const auto run = [&] {
    for (std::size_t i = next++; i < count; i = next++) work(i);
  };
  const std::size_t wanted =
      threads > 0 ? static_cast<std::size_t>(threads) : std::max(1U, std::thread::hardware_concurrency());
  std::vector<std::jthread> helpers;
  helpers.reserve(wanted);
  try {
    for (std::size_t i = 1; i < std::min(wanted, count); ++i) helpers.emplace_back(run);
  } catch (const std::system_error&) {
    // No more threads to be had; those that run are enough.
  }
  run();
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
  const SceneMeter meter(folder, measures.reference);
  forEachInParallel(measures.scenes.size(), options.threads,
                    [&](std::size_t i) { meter.measure(measures.scenes[i]); });
  return measures;
}

}  // namespace host
