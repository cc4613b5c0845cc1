// Runs that are disturbed: killed, stopped, their result folder gone, the disk full, the reader gone.
#include <unistd.h>

#include <csignal>
#include <memory>
#include <regex>

#include "tests/support/program_test.h"

namespace {

using namespace test;

constexpr const char* kTableFailed = "Couldn't write file 'Result.txt'";

class ProgramTrouble : public ProgramTest {
 protected:
  static constexpr int kSlowScenes = 12;

  /// The arguments of a building run.
  Words building(bool interactive) const {
    Words arguments = {"-lumicheck", scenes};
    if (interactive) arguments.insert(arguments.begin(), "--interactive");
    return arguments;
  }
  /// A run that waits in front of its first scene, its result folder made.
  std::unique_ptr<Process> heldRun(bool interactive, ProcessOptions options = {}) {
    options.holdOut = true;
    const fs::path made = result(++runs_);
    auto process =
        std::make_unique<Process>(VESTA_TEST_PROGRAM, withPreferences(building(interactive)), options);
    if (!process->runUntil([&] { return fs::exists(made); })) throw std::runtime_error("no run was held");
    return process;
  }
  /// Disturbs a slow run once its table and `count` images stand. Runs that were over before are tried again.
  Ended disturb(size_t count, bool interactive, const std::function<void(Process&)>& disturbance) {
    constexpr int kAttempts = 20;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
      const fs::path place = result(++runs_);
      Process process = start(building(interactive));
      const bool reached = process.runUntil(
          [&] { return fs::exists(place / "_result.txt") && images(place).size() >= count; });
      if (reached) disturbance(process);
      Ended ended = process.wait();
      const std::string last = "[" + std::to_string(kSlowScenes) + "/";
      if (reached && !ended.saidOut(last)) return ended;
    }
    throw std::runtime_error("every run was over before it could be disturbed");
  }
  fs::path lastResult() const { return result(runs_); }
  /// Whether nothing but whole files is left.
  static bool isTidy(const fs::path& result) {
    for (const auto& entry : fs::directory_iterator(result)) {
      if (entry.path().extension() == ".part") return false;
    }
    return true;
  }

  int runs_ = 0;
};

TEST_F(ProgramTrouble, AKilledBuildGoesOnWhereItWas) {
  addSlowScenes(kSlowScenes);
  build();
  ++runs_;
  const Images whole = images(result(1));
  for (const size_t moment : {1U, 4U, 8U}) {
    const Ended killed = disturb(moment, false, [](Process& process) { process.signal(SIGKILL); });
    ASSERT_EQ(killed.signal, SIGKILL);
    const Images before = images(lastResult());
    std::string expected;
    for (const auto& [name, bytes] : whole) {
      const auto stood = before.find(name);
      expected += stood != before.end() ? "SKIPPED " : "CREATED ";
      if (stood != before.end()) {
        EXPECT_EQ(stood->second, bytes) << name << " is half an image";
      }
    }
    writeText(lastResult() / "0012.tif.1-0.part", "half an image");
    Words arguments = {
        "execute", "1001198", "--set", "1000=" + scenes.string(), "--set", "1001=" + lastResult().string(),
        "--set",   "1002=1"};
    if (moment == 4) arguments.insert(arguments.begin(), "--interactive");
    const Ended continued = vesta(arguments);
    EXPECT_EQ(continued.status, 0) << continued.err;
    EXPECT_EQ(images(lastResult()), whole);
    EXPECT_EQ(statuses(lastResult()), expected);
    EXPECT_FALSE(fs::exists(result(runs_ + 1)));
  }
}

TEST_F(ProgramTrouble, ABuildThatLeftNoTableCannotGoOn) {
  addScene("a.vesta");
  addScene("b.vesta");
  build();
  fs::remove(result(1) / "_result.txt");
  fs::remove(result(1) / "0002.tif");
  const Ended ended = vesta({"execute", "1001198", "--set", "1000=" + scenes.string(), "--set",
                             "1001=" + result(1).string(), "--set", "1002=1"});
  EXPECT_EQ(ended.status, 2);
  EXPECT_TRUE(ended.saidErr("Outdated reference")) << ended.err;
  EXPECT_FALSE(fs::exists(result(1) / "0002.tif"));
}

TEST_F(ProgramTrouble, AStoppedRunLeavesATable) {
  addSlowScenes(kSlowScenes);
  for (const int signal : {SIGINT, SIGTERM}) {
    for (const bool interactive : {false, true}) {
      const Ended ended = disturb(2, interactive, [=](Process& process) { process.signal(signal); });
      EXPECT_EQ(ended.status, 130) << ended.err;
      // The scene that was stopped, and the one that would have been next.
      const std::regex stoppedInTheMiddle("(CREATED ){2,}(ERROR ){1,2}(PENDING )*");
      EXPECT_TRUE(std::regex_match(statuses(lastResult()), stoppedInTheMiddle)) << statuses(lastResult());
      EXPECT_TRUE(isTidy(lastResult()));
    }
  }
}

TEST_F(ProgramTrouble, ASecondInterruptEndsTheProcessAtOnce) {
#if defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "the thread sanitizer holds signals back while a write waits, and here one waits for ever";
#endif
  addScene("a.vesta");
  for (const bool interactive : {false, true}) {
    const auto process = heldRun(interactive);
    process->signal(SIGINT);
    int polls = 0;
    ASSERT_TRUE(process->runUntil([&] { return ++polls > 50; })) << "the first asks the run to end";
    process->runUntil([&] {
      process->signal(SIGINT);
      return false;
    });
    EXPECT_EQ(process->wait().signal, SIGINT);
  }
}

TEST_F(ProgramTrouble, AResultFolderThatVanishesEndsTheRun) {
  addSlowScenes(kSlowScenes);
  for (const bool interactive : {false, true}) {
    const auto replaceByFile = [&] {
      fs::rename(lastResult(), folder / ("gone" + std::to_string(runs_)));
      writeText(lastResult(), "in the way");
    };
    const auto held = heldRun(interactive);
    replaceByFile();
    const Ended early = held->wait();
    EXPECT_EQ(early.status, 2) << early.err;
    EXPECT_TRUE(early.saidErr(kTableFailed)) << early.err;

    const Ended late = disturb(2, interactive, [&](Process&) { replaceByFile(); });
    EXPECT_EQ(late.status, 2) << late.err;
    EXPECT_TRUE(late.saidErr(kTableFailed)) << late.err;
    EXPECT_EQ(readText(lastResult()), "in the way");
  }
}

TEST_F(ProgramTrouble, AResultFolderThatTurnsUnwritableEndsTheRun) {
  if (geteuid() == 0) GTEST_SKIP() << "root writes everywhere";
  addSlowScenes(kSlowScenes);
  for (const bool interactive : {false, true}) {
    const auto lock = [](const fs::path& place) {
      fs::permissions(place, fs::perms::owner_read | fs::perms::owner_exec);
    };
    const auto held = heldRun(interactive);
    lock(lastResult());
    const Ended early = held->wait();
    EXPECT_EQ(early.status, 2) << early.err;
    EXPECT_TRUE(early.saidErr(kTableFailed)) << early.err;

    const Ended late = disturb(2, interactive, [&](Process&) { lock(lastResult()); });
    EXPECT_EQ(late.status, 1) << "the last table that could be written is judged" << late.err;
    EXPECT_TRUE(late.saidErr(kTableFailed)) << late.err;
    EXPECT_TRUE(late.saidErr("_run.json")) << late.err;
  }
}

TEST_F(ProgramTrouble, TellsOnceOfTablesThatFailAgainAndAgain) {
  constexpr size_t kScenes = 5;
  for (size_t i = 0; i < kScenes; ++i) addScene(std::to_string(i) + ".vesta");
  const auto process = heldRun(true, {.holdErr = true});
  fs::create_directory(lastResult() / "_result.txt");
  process->releaseOut();
  // The first box waits for its reader; the others come together behind it.
  ASSERT_TRUE(process->runUntil([&] { return images(lastResult()).size() == kScenes; }));
  const Ended ended = process->wait();
  EXPECT_EQ(ended.status, 2) << ended.err;
  size_t boxes = 0, times = 0;
  const std::regex box(std::string(kTableFailed) + "(?: \\((\\d+) times\\))?\n");
  for (std::sregex_iterator found(ended.err.begin(), ended.err.end(), box), end; found != end; ++found) {
    ++boxes;
    times += (*found)[1].matched ? std::stoul((*found)[1]) : 1;
  }
  EXPECT_EQ(times, kScenes + 1) << "one for each scene and one at the end: " << ended.err;
  EXPECT_LT(boxes, times) << ended.err;
}

TEST_F(ProgramTrouble, AFullDiskEndsTheRunAtTheImageThatFails) {
  addScene("a.vesta");
  addScene("b.vesta", {.width = 200, .height = 100});
  addScene("c.vesta");
  for (const bool interactive : {false, true}) {
    Words arguments = building(interactive);
    arguments.insert(arguments.begin(), {"-g", "g_vestaTiffCompression=none"});
    const Ended ended = vesta(arguments, {.fileSizeLimit = 10'000});
    ++runs_;
    EXPECT_EQ(ended.status, 1) << ended.err;
    EXPECT_TRUE(ended.saidErr((lastResult() / "0002.tif: ").string())) << ended.err;
    EXPECT_EQ(statuses(lastResult()), "CREATED ERROR PENDING ");
    EXPECT_EQ(images(lastResult()).size(), 1U);
    EXPECT_TRUE(isTidy(lastResult()));
  }
}

TEST_F(ProgramTrouble, AFullDiskThatTakesOnlyImagesLeavesNoHalfTable) {
  const std::string longName(150, 'n');
  for (char c = 'a'; c <= 'l'; ++c) addScene(longName + c + ".vesta", {.width = 2, .height = 2});
  const Ended ended = vesta(building(false), {.fileSizeLimit = 1500});
  EXPECT_EQ(ended.status, 2) << ended.out;
  EXPECT_TRUE(ended.saidErr(kTableFailed)) << ended.err;
  EXPECT_EQ(images(result(1)).size(), 12U);
  EXPECT_FALSE(fs::exists(result(1) / "_result.txt"));
  EXPECT_TRUE(isTidy(result(1)));
}

TEST_F(ProgramTrouble, ARunOutlivesTheReaderOfItsOutput) {
  addScene("a.vesta");
  addScene("b.vesta");
  for (const bool interactive : {false, true}) {
    const auto process = heldRun(interactive);
    process->closeOut();
    EXPECT_EQ(process->wait().status, 0);
    EXPECT_EQ(statuses(lastResult()), "CREATED CREATED ");
  }
}

}  // namespace
