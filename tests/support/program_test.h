#pragma once
// The whole program on scenes in a temporary folder, and what its runs leave there.

#include <gtest/gtest.h>

#include <map>

#include "host/report/resulttable.h"
#include "tests/support/process.h"
#include "tests/support/temp_folder.h"
#include "tests/support/tiny_scene.h"

namespace test {

using Images = std::map<std::string, std::string>;  ///< bytes by file name

/// A test that runs Vesta, with preferences of its own.
class ProgramTest : public testing::Test {
 protected:
  using Words = std::vector<std::string>;

  ProgramTest() { fs::create_directory(scenes); }

  Words withPreferences(const Words& arguments) const {
    Words all = {"--prefs-dir", preferences};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return all;
  }
  Process start(const Words& arguments, const ProcessOptions& options = {}) const {
    return Process(VESTA_TEST_PROGRAM, withPreferences(arguments), options);
  }
  Ended vesta(const Words& arguments, const ProcessOptions& options = {}) const {
    return start(arguments, options).wait();
  }
  /// A run whose success is taken for granted.
  void build(int times = 1) {
    while (times-- > 0) {
      const Ended ended = vesta({"-lumicheck", scenes});
      ASSERT_EQ(ended.status, 0) << ended.err;
    }
  }

  void addScene(const fs::path& name, const TinyScene& scene = {}) { writeTinyScene(scenes / name, scene); }
  /// Scenes that take long enough for a test to come in between.
  void addSlowScenes(int count) {
    for (int i = 0; i < count; ++i) {
      addScene(std::to_string(100 + i) + ".vesta", {.width = 300, .height = 200, .renderer = 0});
    }
  }

  /// The result folder of the k-th run.
  fs::path result(int run) const { return scenes / ("_lumicheck_16.038_" + std::to_string(run)); }
  static std::string tableText(const fs::path& folder) { return readText(folder / "_result.txt"); }
  static host::ResultTable table(const fs::path& folder) { return host::readResultTable(folder); }
  /// The status words of a table, each with a blank behind it.
  static std::string statuses(const fs::path& folder) {
    std::string words;
    for (const auto& row : table(folder).rows) words += host::statusWord(row.status) + std::string(" ");
    return words;
  }
  static Images images(const fs::path& folder) {
    Images found;
    for (const auto& entry : fs::directory_iterator(folder)) {
      if (entry.path().extension() == ".tif") found[entry.path().filename()] = readText(entry.path());
    }
    return found;
  }

  const TempFolder folder;
  const fs::path scenes = folder / "scenes";
  const fs::path preferences = folder / "preferences";
};

}  // namespace test
