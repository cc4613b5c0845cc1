// One run after the other with host call 0, 1, 2, ... failing: nothing crashes, nothing is left behind, and
// no half of anything is taken for a whole.
#include <gtest/gtest.h>

#include "host/report/resulttable.h"
#include "host/services/image.h"
#include "tests/support/test_host.h"
#include "tests/support/tiny_scene.h"
#include "tests/support/watched_tables.h"

namespace {

using namespace test;

/// Under sanitizers every seventh call is failed, elsewhere every one.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kStep = 7;
#else
constexpr int kStep = 1;
#endif

constexpr int32_t kLumicheck = 1001198;

class Sweep : public testing::Test {
 protected:
  Sweep() : before_(fs::current_path()) {
    writeTinyScene(pattern_ / "a.vesta");
    // In path order they stand otherwise than a walk finds them.
    writeTinyScene(pattern_ / "b" / "c.vesta", {.color = "0, 1, 0, 1"});
    writeTinyScene(pattern_ / "a.vesta.d" / "x.vesta");
    writeTinyScene(pattern_ / "b.vesta");
    // Names that a failed call has emptied are seen from the current folder.
    fs::create_directories(folder_ / "elsewhere");
    fs::current_path(folder_ / "elsewhere");
  }
  ~Sweep() override { fs::current_path(before_); }

  fs::path scenes() const { return folder_ / "scenes"; }

  /// A fresh folder of scenes, with a whole reference inside when `reference` is set.
  void prepare(bool reference) {
    fs::remove_all(scenes());
    fs::copy(pattern_, scenes(), fs::copy_options::recursive);
    if (reference) fs::copy(reference_, scenes() / "_lumicheck_16.038_1");
  }

  void makeReference() {
    prepare(false);
    TestHost host;
    host.commandLine({"-lumicheck", scenes().string()});
    fs::rename(scenes() / "_lumicheck_16.038_1", reference_);
  }

  /// Every picture is whole, every table parses, nothing temporary is left.
  void expectWholeFiles(const std::string& label) {
    for (const auto& entry : fs::recursive_directory_iterator(folder_.path())) {
      const std::string name = entry.path().filename().string();
      EXPECT_EQ(name.find(".part"), std::string::npos) << label << ": " << entry.path();
      if (entry.path().extension() == ".tif") {
        EXPECT_NO_THROW(host::readImage(entry.path())) << label << ": " << entry.path();
      }
      if (name != "_result.txt") continue;
      EXPECT_NO_THROW({
        const host::ResultTable table = host::parseResultTable(readText(entry.path()));
        EXPECT_FALSE(table.cutOff) << label;
        for (const host::ResultRow& row : table.rows) {
          if (row.status == host::SceneStatus::Ok || row.status == host::SceneStatus::Created) {
            EXPECT_FALSE(row.path.empty()) << label;
          }
        }
      }) << label
         << "\n"
         << readText(entry.path());
    }
  }

  template <class Run>
  void sweep(bool reference, bool interactive, Run run) {
    int calls = 1;
    for (int failing = 0; failing <= calls; failing += kStep) {
      prepare(reference);
      Watch watch(host::hostTables());
      std::string label = "good run";
      try {
        TestHost host({.interactive = interactive, .tables = &watch.tables()});
        if (failing > 0) watch.failAt(watch.calls() + failing - 1);
        const int before = watch.calls();
        run(host);
        if (failing == 0) {
          calls = watch.calls() - before;
          ASSERT_GT(calls, 100);
        } else {
          label = "call " + std::to_string(failing - 1) + ", " + watch.failedSlot();
        }
      } catch (const host::ModuleError&) {
      }
      EXPECT_EQ(watch.problems(), std::vector<std::string>{}) << label;
      expectWholeFiles(label);
      if (HasFailure()) break;
    }
  }

  const fs::path before_;
  TempFolder folder_;
  TempFolder elsewhere_;
  const fs::path pattern_ = elsewhere_ / "pattern";
  const fs::path reference_ = elsewhere_ / "reference";
};

TEST_F(Sweep, BuildingRun) {
  sweep(false, false, [&](TestHost& host) { host.commandLine({"-lumicheck", scenes().string()}); });
}

TEST_F(Sweep, ComparingRun) {
  makeReference();
  sweep(true, false, [&](TestHost& host) {
    host.commandLine({"-lumicheck", scenes().string(), (scenes() / "_lumicheck_16.038_1").string()});
  });
}

TEST_F(Sweep, ContinueRunThroughTheDialog) {
  makeReference();
  fs::remove(reference_ / "0002.tif");
  const auto run = [&](TestHost& host, const char* goOn) {
    host::DialogScript script;
    script.answers = {
        {1000, scenes().string()}, {1001, (scenes() / "_lumicheck_16.038_1").string()}, {1002, goOn}};
    host.execute(kLumicheck, script);
  };
  sweep(true, false, [&](TestHost& host) { run(host, "1"); });
  // The module keeps the option for whatever runs next in this process.
  prepare(true);
  TestHost host;
  run(host, "0");
}

TEST_F(Sweep, InteractiveRun) {
  sweep(false, true, [&](TestHost& host) { host.commandLine({"-lumicheck", scenes().string()}); });
}

TEST_F(Sweep, StartAndRegistration) {
  int calls = 1;
  for (int failing = 0; failing < calls; ++failing) {
    Watch watch(host::hostTables());
    watch.failAt(failing);
    try {
      TestHost host({.tables = &watch.tables()});
      calls = std::max(calls, watch.calls());
    } catch (const host::ModuleError&) {
    }
    EXPECT_EQ(watch.problems(), std::vector<std::string>{}) << failing << " " << watch.failedSlot();
  }
  EXPECT_GT(calls, 5);
}

/// What each failure of the worker comes to, when it happens at the second scene.
TEST_F(Sweep, FailuresOfTheWorkerGoOnOrEndTheRunAsTheyShould) {
  struct Case {
    const char* slot;
    int call;          ///< counted over the calls of that slot
    const char* rows;  ///< the first letters of the statuses
  };
  // Three scenes, building; bitmaps and renders come twice a scene.
  const std::vector<Case> cases = {
      {"LoadDocument", 1, "CEC"}, {"RenderDocument", 2, "CCC"}, {"RenderDocument", 3, "CEC"},
      {"BitmapAlloc", 2, "CEP"},  {"BitmapInit", 3, "CEP"},     {"BitmapSave", 1, "CEP"},
  };
  for (const Case& test : cases) {
    prepare(false);
    fs::remove_all(scenes() / "a.vesta.d");
    fs::rename(scenes() / "b.vesta", scenes() / "d.vesta");
    Watch watch(host::hostTables());
    TestHost host({.interactive = true, .tables = &watch.tables()});
    watch.countOnly(test.slot);
    watch.failAt(test.call);
    host.commandLine({"-lumicheck", scenes().string()});
    const auto table = host::parseResultTable(readText(scenes() / "_lumicheck_16.038_1" / "_result.txt"));
    std::string rows;
    for (const auto& row : table.rows) {
      rows += row.status == host::SceneStatus::Created   ? 'C'
              : row.status == host::SceneStatus::Pending ? 'P'
                                                         : 'E';
    }
    EXPECT_EQ(rows, test.rows) << test.slot << " " << test.call;
    const bool ended = std::string(test.rows).back() == 'P';
    EXPECT_EQ(host.view().boxes, std::vector<std::string>{ended ? "An error occured|(Scene " +
                                                                      (scenes() / "b/c.vesta").string() + ")"
                                                                : "Lumicheck successful!"});
  }
}

}  // namespace
