// Lumicheck runs of the whole program: building, comparing, references that do not fit, paths of any bytes.
#include <nlohmann/json.hpp>

#include "host/services/image.h"
#include "tests/support/program_test.h"

namespace {

using namespace test;

class ProgramRun : public ProgramTest {
 protected:
  /// Compares with the result of the first run.
  Ended compare(const Words& more = {}) {
    Words arguments = {"-lumicheck", scenes, result(1)};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return vesta(arguments);
  }
  /// The scenes that a table calls different.
  static std::vector<int> changed(const fs::path& result) {
    std::vector<int> numbers;
    for (const auto& row : table(result).rows) {
      if (row.difference) numbers.push_back(row.number);
    }
    return numbers;
  }
};

TEST_F(ProgramRun, FindsTheOneSceneThatChanged) {
  addScene("a.vesta");
  addScene("sub/b.vesta", {.renderer = 0, .color = "0.2, 0.8, 0.4, 1"});
  addScene("z.vesta", {.width = 40, .height = 30});
  build();
  EXPECT_EQ(statuses(result(1)), "CREATED CREATED CREATED ");
  EXPECT_EQ(images(result(1)).size(), 3U);
  EXPECT_TRUE(fs::exists(result(1) / "_run.json"));

  const Ended untouched = compare();
  EXPECT_EQ(untouched.status, 0) << untouched.err;
  EXPECT_EQ(statuses(result(2)), "OK OK OK ");
  EXPECT_EQ(changed(result(2)), std::vector<int>{});
  EXPECT_EQ(images(result(2)).size(), 6U);
  EXPECT_EQ(images(result(2)).at("0002.tif"), images(result(1)).at("0002.tif"));

  addScene("sub/b.vesta", {.renderer = 0, .color = "0.2, 0.4, 0.8, 1"});
  const Ended different = compare();
  EXPECT_EQ(different.status, 1);
  EXPECT_TRUE(different.saidOut((scenes / "sub/b.vesta").string() + "\n     mean ")) << different.out;
  EXPECT_EQ(changed(result(3)), std::vector<int>{2});
  EXPECT_NE(images(result(3)).at("0002d.tif"), images(result(2)).at("0002d.tif"));
  EXPECT_EQ(images(result(3)).at("0003d.tif"), images(result(2)).at("0003d.tif"));
  EXPECT_EQ(vesta({"check", result(3)}).status, 1);
  EXPECT_EQ(vesta({"check", result(3), "--max-diff", "100"}).status, 0);
}

TEST_F(ProgramRun, TestsWithoutGlowAndWithFixedSampling) {
  std::string text = tinySceneText(
      {.renderer = 1023342, .videoPosts = R"(,"videoPosts":[{"type":1023342,"settings":{"3100":2,"4001":4}},
                                                  {"type":1001015,"settings":{"1000":0.9,"1001":0.3}}])"});
  // A sky that is brighter than white spills.
  text.replace(text.find(R"("5300")"), 0, R"("7103":3.5,)");
  writeText(scenes / "a.vesta", text);
  build();
  const auto rendered = [&](const Words& more) {
    Words words = {"render", scenes / "a.vesta", folder / "a.tif"};
    words.insert(words.end(), more.begin(), more.end());
    EXPECT_EQ(vesta(words).status, 0);
    return host::readImage(folder / "a.tif").pixels;
  };
  const auto tested = host::readImage(result(1) / "0001.tif").pixels;
  EXPECT_EQ(tested, rendered({"--post", "1023342:3100=1", "--post", "1001015:1000=0.0"}));
  EXPECT_NE(tested, rendered({"--post", "1023342:3100=1"})) << "glow";
  EXPECT_NE(tested, rendered({"--post", "1001015:1000=0.0"})) << "adaptive sampling";
}

TEST_F(ProgramRun, JudgesByItsLimitsAndWritesReports) {
  addScene("a.vesta");
  addScene("b.vesta");
  build();
  addScene("b.vesta", {.color = "0, 0, 1, 1"});
  const fs::path junit = folder / "junit.xml", json = folder / "report.json";
  const Ended good = compare({"--max-diff", "100", "--junit", junit, "--json", json});
  EXPECT_EQ(good.status, 0) << good.err;
  EXPECT_EQ(changed(result(2)), std::vector<int>{2}) << "the table tells differences whatever the limit";
  EXPECT_NE(readText(junit).find("failures=\"0\""), std::string::npos) << readText(junit);
  EXPECT_TRUE(nlohmann::json::accept(readText(json))) << readText(json);

  EXPECT_EQ(compare({"--junit", junit}).status, 1);
  EXPECT_NE(readText(junit).find("failures=\"1\""), std::string::npos) << readText(junit);
  const Ended unwritable = compare({"--max-diff", "100", "--json", "/dev/full"});
  EXPECT_EQ(unwritable.status, 2);
  EXPECT_TRUE(unwritable.saidErr("/dev/full")) << unwritable.err;
}

TEST_F(ProgramRun, RunsSideBySideInFoldersOfTheirOwn) {
  addScene("a.vesta");
  Process first = start({"-lumicheck", scenes}, {.holdOut = true});
  ASSERT_TRUE(first.runUntil([&] { return fs::exists(result(1)); }));
  build();
  EXPECT_EQ(first.wait().status, 0);
  fs::remove_all(result(1));
  build(2);
  for (int run = 1; run <= 3; ++run) EXPECT_EQ(images(result(run)), images(result(2))) << run;
  EXPECT_FALSE(fs::exists(result(4)));
}

TEST_F(ProgramRun, RendersTheSameWithAnyThreadsAndWithAUserInterface) {
  addScene("a.vesta", {.width = 70, .height = 50, .renderer = 0});
  addScene("b.vesta", {.width = 33, .height = 65, .renderer = 0, .color = "0.1, 0.9, 0.3, 1"});
  build();
  const std::vector<Words> manners = {
      {"-g", "g_vestaThreads=1"}, {"-g", "g_vestaThreads=2"}, {"-g", "g_vestaThreads=7"}, {"--interactive"}};
  int run = 1;
  for (Words arguments : manners) {
    const bool interactive = arguments.size() == 1;
    arguments.insert(arguments.end(), {"-lumicheck", scenes});
    const Ended ended = vesta(arguments);
    EXPECT_EQ(ended.status, 0) << ended.err;
    EXPECT_EQ(ended.err, interactive ? "Lumicheck successful!\n" : "");
    EXPECT_EQ(images(result(++run)), images(result(1))) << arguments[1];
    EXPECT_EQ(statuses(result(run)), "CREATED CREATED ");
  }
  EXPECT_EQ(vesta({"--interactive", "-lumicheck", scenes, result(1)}).status, 0);
  EXPECT_EQ(statuses(result(++run)), "OK OK ");
}

TEST_F(ProgramRun, GoesOnBehindABrokenScene) {
  addScene("a.vesta");
  writeText(scenes / "b.vesta", "no scene");
  addScene("c.vesta");
  for (const bool interactive : {false, true}) {
    Words arguments = {"-lumicheck", scenes};
    if (interactive) arguments.insert(arguments.begin(), "--interactive");
    const Ended ended = vesta(arguments);
    EXPECT_EQ(ended.status, 1);
    EXPECT_TRUE(ended.saidErr((scenes / "b.vesta: ").string())) << ended.err;
    EXPECT_EQ(statuses(result(interactive ? 2 : 1)), "CREATED ERROR CREATED ");
  }
}

TEST_F(ProgramRun, AReferenceOfFewerScenesEndsTheRunAtTheFirstItLacks) {
  addScene("a.vesta");
  build();
  addScene("b.vesta");
  addScene("c.vesta");
  const Ended ended = compare();
  EXPECT_EQ(ended.status, 1);
  EXPECT_TRUE(ended.saidOut("reference has no 0002.tif")) << ended.out;
  EXPECT_EQ(statuses(result(2)), "OK ERROR PENDING ");
}

TEST_F(ProgramRun, AReferenceOfMoreScenesIsOutdated) {
  addScene("a.vesta");
  addScene("b OK c.vesta");
  build();
  const auto expectOutdated = [&](int run) {
    const Ended ended = compare();
    EXPECT_EQ(ended.status, 2);
    EXPECT_TRUE(ended.saidErr("Outdated reference")) << ended.err;
    EXPECT_TRUE(fs::is_empty(result(run)));
  };
  expectOutdated(2);  // a name that looks like one row more
  fs::remove(scenes / "b OK c.vesta");
  addScene("b.vesta");
  fs::remove_all(result(1));
  build();
  EXPECT_EQ(compare().status, 0);
  fs::remove(scenes / "b.vesta");
  expectOutdated(4);
}

TEST_F(ProgramRun, PendingRowsOfAReferenceHaveNoTimes) {
  for (const char* name : {"a.vesta", "b.vesta", "c.vesta"}) addScene(name);
  build();
  const auto row = [&](int number, const std::string& status, const std::string& time) {
    const std::string path = table(result(1)).rows[static_cast<size_t>(number) - 1].path;
    return std::to_string(number) + "         " + status + "   " + time + std::string(36, ' ') + path + "\n";
  };
  writeText(result(1) / "_result.txt", "16.038    Status    Tnew      Told      Trel      Diff      Name\n" +
                                           row(1, "CREATED", "1.25") + row(2, "PENDING", "0.00") +
                                           row(3, "PENDING", "0.00"));
  EXPECT_EQ(compare().status, 0);
  const auto rows = table(result(2)).rows;
  ASSERT_EQ(rows.size(), 3U);
  EXPECT_EQ(rows[0].timeReference, 1.25);
  EXPECT_EQ(rows[1].timeReference, 0);
  EXPECT_EQ(statuses(result(2)), "OK OK OK ");
}

TEST_F(ProgramRun, TakesPathsOfAnyBytesAndFromAnyFolder) {
  const std::vector<std::string> names = {"blanks  inside.vesta", "gr\xc3\xbc\xc3\x9f \xf0\x9f\x8e\xa8.vesta",
                                          "latin \xe9\xff.vesta", "line\nend.vesta", "|bar.vesta"};
  const fs::path place = folder / "r\xc3\xa4ume \xfe";
  for (const std::string& name : names) writeTinyScene(place / "in" / name);
  const Words run = {"-lumicheck", "./in/", "in/_lumicheck_16.038_1"};
  const Ended built = vesta({"-lumicheck", "in"}, {.workingFolder = place});
  EXPECT_EQ(built.status, 0) << built.err;
  const Ended compared = vesta(run, {.workingFolder = place});
  EXPECT_EQ(compared.status, 0) << compared.out << compared.err;

  std::vector<std::string> paths;
  for (const auto& row : table(place / "in/_lumicheck_16.038_2").rows) paths.push_back(row.path);
  ASSERT_EQ(paths.size(), names.size());
  for (const std::string& name : names) {
    EXPECT_EQ(std::count(paths.begin(), paths.end(), (place / "in" / name).string()), 1) << name;
  }
  EXPECT_EQ(compared.out.find('\xfe'), std::string::npos) << "a terminal is not sent what is no text";
  EXPECT_EQ(vesta({"check", "in/_lumicheck_16.038_2"}, {.workingFolder = place}).status, 0);
}

}  // namespace
