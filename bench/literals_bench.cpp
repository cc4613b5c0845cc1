// The search for texts in source files beside merely reading their bytes: from memory, where all files lie
// one behind the other, and from the page cache. The files are named by a list on standard input.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <iostream>
#include <numeric>

#include "host/services/files.h"
#include "makedistri/translatorlocator_literals.h"

namespace {

using Bytes = std::string_view;

std::vector<std::string> g_names;
std::string g_memory;
std::vector<Bytes> g_files;

void readFiles() {
  std::vector<size_t> ends;
  for (std::string name; std::getline(std::cin, name);) {
    g_memory += host::readWholeFile(name);
    ends.push_back(g_memory.size());
    g_names.push_back(name);
  }
  for (size_t i = 0, start = 0; i < ends.size(); start = ends[i++])
    g_files.push_back(Bytes(g_memory).substr(start, ends[i] - start));
}

/// What a program cannot do without: every byte comes to the processor once.
void addBytes(benchmark::State& state) {
  while (state.KeepRunning()) {
    uint64_t sum = 0;
    for (const Bytes file : g_files) {
      for (const char c : file) sum += static_cast<unsigned char>(c);
    }
    benchmark::DoNotOptimize(sum);
  }
}
BENCHMARK(addBytes)->Unit(benchmark::kMillisecond)->UseRealTime();

void readFromPageCache(benchmark::State& state) {
  std::string buffer(g_memory.size(), '\0');
  while (state.KeepRunning()) {
    int64_t sum = 0;
    for (const std::string& name : g_names) {
      host::FileStream stream;
      if (stream.openForReading(name)) sum += stream.read(buffer.data(), stream.length());
    }
    benchmark::DoNotOptimize(sum);
    if (sum != static_cast<int64_t>(g_memory.size())) state.SkipWithError("a file has changed");
  }
}
BENCHMARK(readFromPageCache)->Unit(benchmark::kMillisecond)->UseRealTime();

void findLiterals(benchmark::State& state) {
  size_t found = 0;
  const outfitter::LiteralTaker take = [&](const outfitter::FoundLiteral&) { return ++found != 0; };
  while (state.KeepRunning()) {
    for (const Bytes file : g_files) outfitter::FindLiterals(file, outfitter::IsHeaderName, take);
    benchmark::DoNotOptimize(found);
  }
}
BENCHMARK(findLiterals)->Unit(benchmark::kMillisecond)->UseRealTime();

/// With the lines of the list put together in memory.
void listLiterals(benchmark::State& state) {
  std::string list;
  const outfitter::PieceTaker write = [&](Bytes piece) { list += piece; };
  const outfitter::LiteralTaker take = [&](const outfitter::FoundLiteral& literal) {
    outfitter::WriteListLine(literal, "\n", write);
    return true;
  };
  while (state.KeepRunning()) {
    list.clear();
    for (const Bytes file : g_files) outfitter::FindLiterals(file, outfitter::IsHeaderName, take);
    benchmark::DoNotOptimize(list.data());
  }
}
BENCHMARK(listLiterals)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  readFiles();
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
