// The comparison of one pair of 1920 x 1080 pixels: the arithmetic alone, and the whole step with
// uncompressed files, in one thread.

#include <benchmark/benchmark.h>

#include "bench/pair.h"
#include "tests/support/temp_folder.h"

namespace {

void subtractRows(benchmark::State& state) {
  const host::Bitmap current = bench::grainyPicture(1);
  host::Bitmap reference = bench::grainyPicture(2);
  while (state.KeepRunning()) {
    uint32_t sum = 0;
    for (int y = 0; y < bench::kPairHeight; ++y)
      sum += outfitter::SubtractRow(current.row(y), reference.row(y), 3 * bench::kPairWidth);
    benchmark::DoNotOptimize(sum);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(subtractRows)->Unit(benchmark::kMillisecond)->UseRealTime();

void wholeStep(benchmark::State& state) {
  const test::TempFolder folder;
  const std::string reference = (folder / "reference.tif").string();
  const std::string difference = (folder / "difference.tif").string();
  const host::Bitmap current = bench::grainyPicture(1);
  bench::grainyPicture(2).saveTiff(reference, host::TiffCompression::None);
  while (state.KeepRunning()) {
    benchmark::DoNotOptimize(bench::compareWithFile(current, reference, difference));
    // A run has a new result folder; replacing a file would cost more.
    state.PauseTiming();
    std::filesystem::remove(difference);
    state.ResumeTiming();
  }
}
BENCHMARK(wholeStep)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
