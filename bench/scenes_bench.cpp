// What Lumicheck itself costs a scene: the wall time of a whole run less loading, rendering and saving.
// Figures are milliseconds a scene, medians of several runs over the same small scenes.
//
// In this process the real module runs in the real host, and the slots that load, render and save also look
// at the clock; so the warm-up render that goes before each measured one can be told from the module's own
// work. In a process of its own the program runs from start to exit, and its run record says what is taken
// off; there the warm-up, the start and the judgement of the result count as own cost.

#include <cstdlib>
#include <filesystem>

#include "bench/measure.h"
#include "host/report/runrecord.h"
#include "tests/support/test_host.h"
#include "tests/support/tiny_scene.h"

namespace {

namespace fs = std::filesystem;

constexpr int kScenes = 100;
constexpr int kRepeats = 5;

struct Spent {
  bench::Cost load, warmUp, render, save;  // all scenes together
};

const HostTables g_inner = host::hostTables();
Spent g_spent;
bool g_warm = false;

HostDocument* timedLoad(const HostFileName* name, int32_t flags) {
  const bench::AddCost cost(g_spent.load);
  g_warm = false;
  return g_inner.documents->LoadDocument(name, flags);
}

int32_t timedRender(HostDocument* document, const HostContainer* settings, HostBitmap* bitmap, int32_t flags,
                    HostThread* thread) {
  const bench::AddCost cost(g_warm ? g_spent.render : g_spent.warmUp);
  g_warm = true;
  return g_inner.documents->RenderDocument(document, settings, bitmap, flags, thread);
}

HostBool timedSave(const HostBitmap* bitmap, const HostFileName* name, int32_t format,
                   const HostContainer* settings) {
  const bench::AddCost cost(g_spent.save);
  return g_inner.bitmaps->BitmapSave(bitmap, name, format, settings);
}

/// The host's tables with the timed slots.
class TimedTables {
 public:
  TimedTables() : documents_(*g_inner.documents), bitmaps_(*g_inner.bitmaps), tables_(g_inner) {
    documents_.LoadDocument = timedLoad;
    documents_.RenderDocument = timedRender;
    bitmaps_.BitmapSave = timedSave;
    tables_.documents = &documents_;
    tables_.bitmaps = &bitmaps_;
  }
  TimedTables(const TimedTables&) = delete;
  TimedTables& operator=(const TimedTables&) = delete;
  const HostTables& get() const { return tables_; }

 private:
  HostDocumentsTable documents_;
  HostBitmapsTable bitmaps_;
  HostTables tables_;
};

struct Costs {
  std::vector<double> own, ownProcessor, ownAndWarmUp, process;
};

/// A run that skips work is no measure: every row must have `status`.
void requireSuccess(const fs::path& result, const std::string& status) {
  const std::string table = test::readText(result / "_result.txt");
  int rows = 0;
  for (size_t at = 0; (at = table.find(status, at)) != std::string::npos; at += status.size()) ++rows;
  if (rows != kScenes) throw std::runtime_error("not every scene of the run is " + status);
}

/// One run in this process; answers its result folder.
std::string runHere(const fs::path& scenes, const std::string& reference, Costs& costs) {
  const TimedTables tables;
  test::TestHostOptions options;
  options.tables = &tables.get();
  test::TestHost host(options);
  g_spent = {};
  const bench::Cost start = bench::Cost::now();
  host.commandLine({"-lumicheck", scenes.string(), reference});
  const bench::Cost ownAndWarmUp = bench::Cost::now() - start - g_spent.load - g_spent.render - g_spent.save;
  const bench::Cost own = ownAndWarmUp - g_spent.warmUp;
  std::string result = host.services().runLog.resultFolder();
  requireSuccess(result, reference.empty() ? "CREATED" : "OK ");
  costs.own.push_back(own.wall / kScenes);
  costs.ownProcessor.push_back(own.processor / kScenes);
  costs.ownAndWarmUp.push_back(ownAndWarmUp.wall / kScenes);
  return result;
}

/// The folder that was made last in `scenes`: runs are numbered from 1.
fs::path lastResult(const fs::path& scenes) {
  fs::path last;
  for (int i = 1; fs::exists(scenes / ("_lumicheck_16.038_" + std::to_string(i))); ++i)
    last = scenes / ("_lumicheck_16.038_" + std::to_string(i));
  return last;
}

/// One run of the program.
void runProgram(const test::TempFolder& folder, const std::string& reference, Costs& costs) {
  const fs::path scenes = folder / "scenes";
  const std::string command = "'" VESTA_TEST_PROGRAM "' --prefs-dir '" + (folder / "prefs").string() +
                              "' -lumicheck '" + scenes.string() + "' " + reference + " >/dev/null";
  const auto start = bench::Clock::now();
  if (std::system(command.c_str()) != 0) throw std::runtime_error("failed: " + command);
  double own = bench::millisecondsSince(start);
  const auto record = host::readRunRecord(lastResult(scenes));
  if (!record || record->scenes.size() != kScenes) throw std::runtime_error("no record of the run");
  for (const host::SceneTimes& scene : record->scenes) own -= scene.loadMs + scene.renderMs + scene.saveMs;
  costs.process.push_back(own / kScenes);
}

void report(const std::string& mode, const Costs& costs) {
  bench::report(mode + "_own", costs.own);
  bench::report(mode + "_own_processor", costs.ownProcessor);
  bench::report(mode + "_own_and_warm_up", costs.ownAndWarmUp);
  bench::report(mode + "_process", costs.process);
}

void measure() {
  const test::TempFolder folder;
  test::TinyScene scene;
  scene.width = 640;
  scene.height = 360;
  for (int i = 0; i < kScenes; ++i)
    test::writeTinyScene(folder / "scenes" / (std::to_string(i) + ".vesta"), scene);
  Costs building, comparing;
  for (int i = 0; i < kRepeats; ++i) {
    const std::string reference = runHere(folder / "scenes", "", building);
    runProgram(folder, "", building);
    runHere(folder / "scenes", reference, comparing);
    runProgram(folder, reference, comparing);
  }
  report("building", building);
  report("comparing", comparing);
}

}  // namespace

int main() {
  try {
    measure();
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
