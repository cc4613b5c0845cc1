// 100,000 scenes in nested folders: how long until they stand sorted in the table, how long each rewrite of
// the result table takes, and how long it takes to read a whole one back. Figures are milliseconds.
//
// The real module runs in the real host; a few slots of the host's tables also look at the clock:
//   collect  from the command line to the worker's first question whether it shall stop
//   rewrite  from that question behind a scene, which the module asks before it begins to format, until the
//            table has its name
//   read     from opening the reference's table until it is closed
// Only the first scenes can be loaded, and the run is stopped behind them: every rewrite writes all the rows.

#include <fstream>

#include "bench/measure.h"
#include "host/tables/handles.h"
#include "tests/support/test_host.h"
#include "tests/support/tiny_scene.h"

namespace {

namespace fs = std::filesystem;

constexpr int kTopFolders = 10, kFolders = 100, kScenesAFolder = 100;
constexpr int kRewrites = 25;  // rendered scenes of a run
constexpr int kRepeats = 5;

struct Times {
  std::vector<double> collect, firstRewrite, rewrite, read;
};

const HostTables g_inner = host::hostTables();
Times g_times;

// The run that goes on.
bench::Clock::time_point g_start;
bench::Clock::time_point g_lastQuestion;
bench::Clock::time_point g_opened;
const HostFile* g_reading = nullptr;
const HostFile* g_writing = nullptr;
bool g_collected = false;
int g_rewrites = 0;

HostBool timedTestBreak(HostThread* thread) {
  if (!g_collected) g_times.collect.push_back(bench::millisecondsSince(g_start));
  g_collected = true;
  const HostBool stop = g_inner.threads->ThreadTestBreak(thread);
  g_lastQuestion = bench::Clock::now();
  return stop != 0 || g_rewrites >= kRewrites ? 1 : 0;
}

HostBool timedOpen(HostFile* file, const HostFileName* name, int32_t access, int32_t errorMode,
                   int32_t orderMode, int32_t type, int32_t creator) {
  const bool table = fs::path(name->path).filename() == "_result.txt";
  if (table && access == HOST_FILE_READ) {
    g_reading = file;
    g_opened = bench::Clock::now();
  }
  if (table && access == HOST_FILE_WRITE) g_writing = file;
  return g_inner.files->FileOpen(file, name, access, errorMode, orderMode, type, creator);
}

HostBool timedClose(HostFile* file) {
  const HostBool good = g_inner.files->FileClose(file);
  if (file == g_writing && good != 0) {
    (g_rewrites++ == 0 ? g_times.firstRewrite : g_times.rewrite)
        .push_back(bench::millisecondsSince(g_lastQuestion));
  }
  return good;
}

void timedFree(HostFile* file) {
  const bool read = file == g_reading;
  g_inner.files->FileFree(file);
  if (read) g_times.read.push_back(bench::millisecondsSince(g_opened));
  if (file == g_reading) g_reading = nullptr;
  if (file == g_writing) g_writing = nullptr;
}

/// The host's tables with the timed slots.
class TimedTables {
 public:
  TimedTables() : files_(*g_inner.files), threads_(*g_inner.threads), tables_(g_inner) {
    threads_.ThreadTestBreak = timedTestBreak;
    files_.FileOpen = timedOpen;
    files_.FileClose = timedClose;
    files_.FileFree = timedFree;
    tables_.files = &files_;
    tables_.threads = &threads_;
  }
  TimedTables(const TimedTables&) = delete;
  TimedTables& operator=(const TimedTables&) = delete;
  const HostTables& get() const { return tables_; }

 private:
  HostFilesTable files_;
  HostThreadsTable threads_;
  HostTables tables_;
};

std::string padded(int number) {
  std::string text = std::to_string(number);
  return std::string(3 - text.size(), '0') + text;
}

void makeScenes(const fs::path& root) {
  int left = kRewrites;
  for (int top = 0; top < kTopFolders; ++top) {
    for (int middle = 0; middle < kFolders; ++middle) {
      const fs::path folder = root / padded(top) / padded(middle);
      fs::create_directories(folder);
      for (int i = 0; i < kScenesAFolder; ++i) {
        std::ofstream file(folder / (padded(i) + ".vesta"), std::ios::binary);
        if (left-- > 0) file << test::tinySceneText();
      }
    }
  }
}

/// One run, stopped behind the scenes that can be loaded; answers its result folder.
std::string run(const fs::path& scenes, const std::string& reference) {
  const TimedTables tables;
  test::TestHostOptions options;
  options.tables = &tables.get();
  test::TestHost host(options);
  g_collected = false;
  g_rewrites = 0;
  g_start = bench::Clock::now();
  host.commandLine({"-lumicheck", scenes.string(), reference});
  if (g_rewrites != kRewrites + 1) throw std::runtime_error("not every loadable scene rewrote the table");
  return host.services().runLog.resultFolder();
}

/// Makes the table of a stopped run one of a whole run: every row has a time to be read.
void completeTable(const fs::path& file) {
  std::string text = test::readText(file);
  int rows = 0;
  for (size_t at = 0; (at = text.find("PENDING   ", at)) != std::string::npos; ++rows)
    text.replace(at, 10, "CREATED   ");
  if (rows < 99'000) throw std::runtime_error("the table lacks rows");
  test::writeText(file, text);
}

void measure() {
  const test::TempFolder folder;
  const fs::path scenes = folder / "scenes";
  makeScenes(scenes);
  for (int i = 0; i < kRepeats; ++i) {
    const std::string reference = run(scenes, "");
    completeTable(fs::path(reference) / "_result.txt");
    const size_t collected = g_times.collect.size();
    run(scenes, reference);
    g_times.collect.resize(collected);  // there it holds the reading of the reference too
  }
  bench::report("collect", g_times.collect);
  bench::report("first_rewrite", g_times.firstRewrite);
  bench::report("rewrite", g_times.rewrite);
  bench::report("read", g_times.read);
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
