// Whole Lumicheck runs in the real host: modes, table, failures that go on and failures that end the run.
#include <gtest/gtest.h>

#include <regex>

#include "host/services/files.h"
#include "host/services/image.h"
#include "tests/support/test_host.h"
#include "tests/support/tiny_scene.h"
#include "tests/support/watched_tables.h"

namespace {

using namespace test;

constexpr int32_t kLumicheck = 1001198;

/// Times are the one thing in a table that no test can know.
std::string withoutTimes(const std::string& table, const fs::path& folder) {
  std::string text = std::regex_replace(table, std::regex(R"(\d+\.\d\d {6})"), "T.TT      ");
  text = std::regex_replace(text, std::regex(R"([+-]?\d+\.\d\d% +)"), "P%        ");
  for (size_t at; (at = text.find(folder.string())) != std::string::npos;)
    text.replace(at, folder.string().size(), "@");
  return text;
}

host::DialogScript settings(const fs::path& scenes, const fs::path& reference, bool resume = false) {
  host::DialogScript script;
  script.answers = {{1000, scenes.string()}, {1001, reference.string()}};
  if (resume) script.answers.push_back({1002, "1"});
  return script;
}

class LumicheckRun : public testing::Test {
 protected:
  fs::path scenes() const { return folder_ / "scenes"; }
  fs::path result(int k) const { return scenes() / ("_lumicheck_16.038_" + std::to_string(k)); }
  std::string table(int k) const { return withoutTimes(readText(result(k) / "_result.txt"), folder_.path()); }
  void makeScenes() {
    writeTinyScene(scenes() / "b.vesta");
    writeTinyScene(scenes() / "A" / "c.vesta", {.color = "0, 1, 0, 1"});
    writeTinyScene(scenes() / "a b.VESTA", {.color = "0, 0, 1, 1"});
    writeText(scenes() / "notes.txt", "no scene");
    writeText(scenes() / "x.vesta.bak", "no scene");
    fs::create_directories(scenes() / "folder.vesta");
    writeTinyScene(scenes() / "folder.vesta" / "in.vesta");
  }
  TempFolder folder_;
};

TEST_F(LumicheckRun, BuildsThenComparesInPathOrder) {
  makeScenes();
  {
    TestHost host;
    host.commandLine({"-lumicheck", scenes().string()});
    EXPECT_EQ(table(1),
              "16.038    Status    Tnew      Told      Trel      Diff      Name\n"
              "1         CREATED   T.TT                                    @/scenes/A/c.vesta\n"
              "2         CREATED   T.TT                                    @/scenes/a b.VESTA\n"
              "3         CREATED   T.TT                                    @/scenes/b.vesta\n"
              "4         CREATED   T.TT                                    @/scenes/folder.vesta/in.vesta\n");
    EXPECT_EQ(host.view().lines[0], "start lumicheck to: " + result(1).string());
    EXPECT_EQ(host.view().lines[2],
              "[2/4 - 50%] Processing file " + (scenes() / "a b.VESTA").string() + "...");
    EXPECT_EQ(host.view().percents, (std::vector<int>{25, 50, 75, 100}));
    EXPECT_TRUE(host.view().boxes.empty());
    const host::Image image = host::readImage(result(1) / "0001.tif");
    EXPECT_EQ(std::make_tuple(image.width, image.height, image.channels), std::make_tuple(20, 12, 3));
  }
  writeTinyScene(scenes() / "b.vesta", {.color = "0.9, 0.5, 0.25, 1"});
  TestHost host;
  host.commandLine({"-lumicheck", scenes().string(), result(1).string()});
  const std::string compared = table(2);
  const auto hasRow = [&](const std::string& pattern) {
    return std::regex_search(compared, std::regex(pattern));
  };
  EXPECT_TRUE(hasRow("1 +OK +T\\.TT +T\\.TT +(P% +)?None      @/scenes/A/c.vesta\n")) << compared;
  EXPECT_TRUE(hasRow("3 +OK +T\\.TT +T\\.TT +(P% +)?P% +@/scenes/b.vesta\n")) << compared;
  EXPECT_TRUE(host.view().hasLine("[1/4 - 25%] Comparing file " + (scenes() / "A/c.vesta").string() + "..."));

  // The difference image holds what the two pictures differ by, and Diff is its mean.
  const host::Image before = host::readImage(result(1) / "0003.tif");
  const host::Image after = host::readImage(result(2) / "0003.tif");
  const host::Image difference = host::readImage(result(2) / "0003d.tif");
  double sum = 0;
  for (size_t i = 0; i < before.pixels.size(); ++i) {
    EXPECT_EQ(difference.pixels[i], std::abs(int(before.pixels[i]) - int(after.pixels[i])));
    sum += difference.pixels[i];
  }
  char expected[32];
  std::snprintf(expected, sizeof expected, "+%.2f%%", 100 * sum / (255.0 * before.pixels.size()));
  EXPECT_NE(readText(result(2) / "_result.txt").find(expected), std::string::npos) << expected;
}

TEST_F(LumicheckRun, InteractiveRunsMakeTheSameAndShowHowTheyEnded) {
  makeScenes();
  {
    TestHost unattended;
    unattended.commandLine({"-lumicheck", scenes().string()});
    EXPECT_TRUE(unattended.view().boxes.empty());
  }
  TestHost host({.interactive = true});
  host.commandLine({"-lumicheck", scenes().string()});
  EXPECT_EQ(host.view().boxes, std::vector<std::string>{"Lumicheck successful!"});
  EXPECT_EQ(host.view().statusTexts.size(), 4U);
  EXPECT_EQ(table(1), table(2));
  for (const char* image : {"0001.tif", "0004.tif"})
    EXPECT_EQ(readText(result(1) / image), readText(result(2) / image));

  // An empty folder ends before its dialog is open, and the next run's dialog must not be closed by it.
  const fs::path empty = folder_ / "empty";
  fs::create_directories(empty);
  host.commandLine({"-lumicheck", empty.string()});
  host.commandLine({"-lumicheck", scenes().string(), result(1).string()});
  EXPECT_EQ(host.view().boxes, (std::vector<std::string>(3, "Lumicheck successful!")));
  EXPECT_NE(table(3).find("4         OK"), std::string::npos);
}

/// Does something once, in the progress dialog, when the second scene is announced.
void atTheSecondScene(Watch& watch, std::function<void()> action) {
  watch.onCall([&watch, action = std::move(action), done = false](const std::string& slot) mutable {
    if (done || slot != "DialogSetString" || watch.callsBySlot().at("StatusSetBar") < 2) return;
    done = true;
    action();
  });
}

TEST_F(LumicheckRun, CancelStopsAndTheNextRunIsWhole) {
  makeScenes();
  for (const bool endFails : {false, true}) {
    Watch watch(host::hostTables());
    {
      TestHost host({.interactive = true, .tables = &watch.tables()});
      if (endFails) {
        watch.countOnly("ThreadEnd");
        watch.failAt(0);
      }
      bool cancelled = false;
      atTheSecondScene(watch, [&] {
        cancelled = true;
        host.services().openDialogs.back()->press(false);
      });
      host.commandLine({"-lumicheck", scenes().string()});
      EXPECT_TRUE(cancelled);
      EXPECT_TRUE(host.view().boxes.empty()) << "a cancelled dialog hears nothing of the end";
      host.commandLine({"-lumicheck", scenes().string()});
      EXPECT_EQ(host.view().boxes, std::vector<std::string>{"Lumicheck successful!"});
    }
    EXPECT_EQ(watch.problems(), std::vector<std::string>{});
    EXPECT_NE(table(endFails ? 4 : 2).find("4         CREATED"), std::string::npos);
  }
}

TEST_F(LumicheckRun, ARunInsideARunIsRefused) {
  makeScenes();
  const fs::path other = folder_ / "other";
  writeTinyScene(other / "x.vesta");
  Watch watch(host::hostTables());
  TestHost host({.interactive = true, .tables = &watch.tables()});
  atTheSecondScene(watch, [&] { host.commandLine({"-lumicheck", other.string()}); });
  host.commandLine({"-lumicheck", scenes().string()});
  EXPECT_TRUE(host.view().hasLine("Lumicheck: a run goes on already"));
  EXPECT_FALSE(fs::exists(other / "_lumicheck_16.038_1"));
  EXPECT_NE(table(1).find("4         CREATED"), std::string::npos);
}

TEST_F(LumicheckRun, ResumesAnInterruptedBuild) {
  makeScenes();
  {
    TestHost host;
    host.commandLine({"-lumicheck", scenes().string()});
  }
  const std::string whole = readText(result(1) / "0002.tif");
  const std::string untouched = readText(result(1) / "0001.tif");
  fs::remove(result(1) / "0002.tif");
  TestHost host;
  EXPECT_TRUE(host.execute(kLumicheck, settings(scenes(), result(1), true)));
  EXPECT_EQ(readText(result(1) / "0002.tif"), whole);
  EXPECT_EQ(readText(result(1) / "0001.tif"), untouched);
  EXPECT_FALSE(fs::exists(result(2))) << "it goes on in place";
  const std::string resumed = table(1);
  EXPECT_NE(resumed.find("1         SKIPPED   T.TT                                    @/scenes/A/c.vesta"),
            std::string::npos);
  EXPECT_NE(resumed.find("2         CREATED"), std::string::npos);
  EXPECT_TRUE(host.view().hasLine("[1/4 - 25%] Skipping file " + (scenes() / "A/c.vesta").string() + "..."));
  EXPECT_TRUE(
      host.view().hasLine("[2/4 - 50%] Processing file " + (scenes() / "a b.VESTA").string() + "..."));

  // The option outlives the dialog: without a reference the result folder is the empty path.
  const fs::path before = fs::current_path();
  fs::current_path(folder_.path());
  host.commandLine({"-lumicheck", scenes().string()});
  EXPECT_TRUE(fs::exists(folder_ / "0001.tif"));
  EXPECT_TRUE(fs::exists(folder_ / "_result.txt"));
  EXPECT_TRUE(host.view().hasLine("start lumicheck to: "));
  fs::current_path(before);

  // The module stays in memory with its options: off again for whoever comes next.
  auto off = settings(scenes(), result(1));
  off.answers.push_back({1002, "0"});
  host.execute(kLumicheck, off);
}

TEST_F(LumicheckRun, ReferencesOfOtherLengths) {
  makeScenes();
  fs::create_directories(folder_ / "ref");
  const auto compareWith = [&](const std::string& rows) {
    writeText(folder_ / "ref/_result.txt", "16.038    Status    Tnew\n" + rows);
    auto host = std::make_unique<TestHost>();
    host->commandLine({"-lumicheck", scenes().string(), (folder_ / "ref").string()});
    return host;
  };
  EXPECT_TRUE(compareWith("1 OK 1\n2 OK 1\n3 OK 1\n4 OK 1\n5 OK 1\n")->view().hasBox("Outdated reference"));
  EXPECT_FALSE(fs::exists(result(1) / "_result.txt"));
  EXPECT_TRUE(compareWith("1 OK 1 /a OK b\n2 OK 1\n3 OK 1\n4 OK 1\n")->view().hasBox("Outdated reference"));
  fs::remove(folder_ / "ref/_result.txt");
  {
    TestHost host;
    host.commandLine({"-lumicheck", scenes().string(), (folder_ / "ref").string()});
    EXPECT_TRUE(host.view().hasBox("Outdated reference")) << "a reference without a table";
    host.commandLine({"-lumicheck", scenes().string(), (folder_ / "none").string()});
    EXPECT_TRUE(
        host.view().hasBox("Reference folder not found - falling back to reference building mode..."));
    EXPECT_NE(table(4).find("1         CREATED"), std::string::npos);
  }
  // Fewer rows, one of them pending: times for the first scenes only.
  for (int i = 1; i <= 4; ++i)
    fs::copy_file(result(4) / ("000" + std::to_string(i) + ".tif"),
                  folder_ / "ref" / ("000" + std::to_string(i) + ".tif"));
  EXPECT_TRUE(compareWith("1 PENDING 9\n2 OK 7.00\n")->view().boxes.empty());
  const std::string text = readText(result(5) / "_result.txt");
  EXPECT_TRUE(std::regex_search(text, std::regex("\n1 +OK +\\d+\\.\\d\\d +7\\.00 "))) << text;
  EXPECT_TRUE(std::regex_search(text, std::regex("\n4 +OK +\\d+\\.\\d\\d +0\\.00                None ")))
      << text;
}

TEST_F(LumicheckRun, FailuresOfOneSceneGoOn) {
  makeScenes();
  writeText(scenes() / "a a.vesta", "{ broken");
  writeTinyScene(scenes() / "a c.vesta", {.renderer = 77});
  TestHost host;
  host.commandLine({"-lumicheck", scenes().string()});
  const std::string rows = table(1);
  EXPECT_NE(rows.find("2         ERROR     T.TT                                    @/scenes/a a.vesta"),
            std::string::npos)
      << rows;
  EXPECT_NE(rows.find("4         ERROR     T.TT                                    @/scenes/a c.vesta"),
            std::string::npos)
      << rows;
  EXPECT_NE(rows.find("6         CREATED"), std::string::npos);
  ASSERT_EQ(host.view().errors.size(), 2U);
  EXPECT_EQ(host.view().errors[0].find((scenes() / "a a.vesta").string() + ": not glTF"), 0U)
      << host.view().errors[0];
  EXPECT_EQ(host.view().errors[1], (scenes() / "a c.vesta").string() + ": there is no renderer 77");
}

TEST_F(LumicheckRun, SomeFailuresEndTheRunAtTheirScene) {
  makeScenes();
  {
    TestHost host;
    host.commandLine({"-lumicheck", scenes().string()});
  }
  const auto endsAtSecond = [&](int k, const fs::path& reference) {
    TestHost host({.interactive = true});
    host.commandLine({"-lumicheck", scenes().string(), reference.string()});
    const std::string rows = table(k);
    EXPECT_NE(rows.find("1         OK"), std::string::npos) << rows;
    EXPECT_NE(rows.find("2         ERROR"), std::string::npos) << rows;
    EXPECT_NE(rows.find("3         PENDING   T.TT                                    @/scenes/b.vesta"),
              std::string::npos);
    EXPECT_NE(rows.find("4         PENDING"), std::string::npos);
    EXPECT_EQ(host.view().boxes,
              std::vector<std::string>{"An error occured|(Scene " + (scenes() / "a b.VESTA").string() + ")"});
  };
  const auto referenceWith = [&](const std::string& name, auto spoil) {
    const fs::path reference = folder_ / name;
    fs::copy(result(1), reference);
    spoil(reference / "0002.tif");
    return reference;
  };
  endsAtSecond(2, referenceWith("missing", [](const fs::path& image) { fs::remove(image); }));
  endsAtSecond(3, referenceWith("damaged", [](const fs::path& image) { writeText(image, "no image"); }));
  endsAtSecond(4, referenceWith("smaller", [](const fs::path& image) {
                 host::writeTiff(image, host::Image{20, 11, 3, std::vector<uint8_t>(660)},
                                 host::TiffCompression::None);
               }));
}

TEST_F(LumicheckRun, BlackAgainstWhiteIsOne) {
  // A renderer that leaves the bitmap as it was made, black, against a reference of pure white.
  static HostTables tables;
  static HostDocumentsTable documents;
  tables = host::hostTables();
  documents = *tables.documents;
  documents.RenderDocument = [](HostDocument*, const HostContainer*, HostBitmap*, int32_t, HostThread*) {
    return 0;
  };
  tables.documents = &documents;
  writeTinyScene(scenes() / "a.vesta", {.width = 7, .height = 5});
  fs::create_directories(folder_ / "ref");
  writeText(folder_ / "ref/_result.txt", "");
  host::writeTiff(folder_ / "ref/0001.tif", host::Image{7, 5, 3, std::vector<uint8_t>(105, 255)},
                  host::TiffCompression::Zip);
  TestHost host({.tables = &tables});
  host.commandLine({"-lumicheck", scenes().string(), (folder_ / "ref").string()});
  EXPECT_NE(readText(result(1) / "_result.txt").find("+100.00%  "), std::string::npos) << table(1);
}

TEST_F(LumicheckRun, ForcesRenderSettingsAndRenderers) {
  // What the worker changes is seen at the moment of the renders.
  writeTinyScene(
      scenes() / "a.vesta",
      {.videoPosts = R"(,"videoPosts":[{"type":1001015,"bits":1},{"type":1023342,"settings":{"3100":2}}])"});
  struct Seen {
    int32_t renderer, width, physical, build, mode, flags, renderFlags;
    bool warmUp, forced;
  };
  std::vector<Seen> seen;
  static std::vector<Seen>* sink;
  static HostDocumentsTable documents;
  static HostTables tables;
  tables = host::hostTables();
  documents = *tables.documents;
  sink = &seen;
  documents.RenderDocument = [](HostDocument* document, const HostContainer* settings, HostBitmap* bitmap,
                                int32_t flags, HostThread* thread) {
    const HostTables& own = tables;
    const auto number = [&](const HostContainer* c, int32_t id) {
      return own.containers->ContainerGetInt32(c, id, -1);
    };
    HostVideoPost* first =
        own.documents->RenderSettingsFirstVideoPost(own.documents->DocumentGetRenderSettings(document));
    HostVideoPost* second = own.documents->VideoPostNext(first);
    bool isForced = number(settings, 5016) == 1 && number(settings, 5033) == 1100;
    for (const int32_t id : {5035, 5076, 6014, 5036, 5077, 5202, 5024})
      isForced = isForced && number(settings, id) == 0;
    const HostContainer* parameters = own.documents->VideoPostGetContainer(second);
    sink->push_back({number(settings, 5300), number(settings, 5008), number(settings, 6023),
                     number(parameters, 4000), number(parameters, 3100),
                     own.documents->VideoPostGetFlags(first), flags,
                     number(settings, 7011) == 1 && number(settings, 5401) == 0, isForced});
    return host::hostTables().documents->RenderDocument(document, settings, bitmap, flags, thread);
  };
  tables.documents = &documents;
  TestHost host({.tables = &tables});
  const auto run = [&](std::vector<host::DialogScript::Answer> answers) {
    seen.clear();
    auto script = settings(scenes(), "");
    script.answers.insert(script.answers.end(), answers.begin(), answers.end());
    host.execute(kLumicheck, script);
    ASSERT_EQ(seen.size(), 2U) << "one warm-up, one render";
    EXPECT_TRUE(seen[0].warmUp);
    EXPECT_EQ(seen[0].width, 16);
    EXPECT_TRUE(seen[0].forced && seen[1].forced);
    EXPECT_FALSE(seen[1].warmUp);
    EXPECT_EQ(seen[1].width, 20);
    EXPECT_EQ(seen[1].flags, 5) << "the bit is added to the post's flags";
    EXPECT_EQ(seen[1].mode, 1) << "mode 2 becomes 1";
  };
  run({});
  ASSERT_EQ(seen.size(), 2U);
  EXPECT_EQ(seen[1].renderer, 1) << "the scene's own";
  EXPECT_EQ(seen[1].renderFlags, 1);
  run({{1004, "Physical - Embree Smaller"}, {1003, "1"}});
  EXPECT_EQ(seen[1].renderer, 1023342);
  EXPECT_EQ(seen[1].physical, 1);
  EXPECT_EQ(seen[1].build, 2);
  EXPECT_EQ(seen[1].renderFlags, 513);
  EXPECT_TRUE(host.view().hasLine("There is no network renderer yet: rendering on this machine."));
  run({{1005, "1"}});
  EXPECT_EQ(seen[1].renderer, 300001061) << "OpenGL wins over the override, which still stands";
  run({{1004, "0"}, {1003, "0"}});
  writeTinyScene(
      scenes() / "a.vesta",
      {.renderer = 1016630,
       .videoPosts = R"(,"videoPosts":[{"type":1001015,"bits":1},{"type":1023342,"settings":{"3100":2}}])"});
  run({});
  EXPECT_EQ(seen[1].renderer, 0) << "that renderer is replaced";
}

TEST_F(LumicheckRun, DialogKeepsPathsAndOpensWithDefaults) {
  makeScenes();
  TestHost host;
  auto cancelled = settings(scenes(), folder_ / "ref");
  cancelled.cancel = true;
  EXPECT_TRUE(host.execute(kLumicheck, cancelled));
  EXPECT_FALSE(host.services().settings.load(kLumicheck));

  auto script = settings(scenes(), "");
  script.answers.push_back({1005, "1"});
  host.execute(kLumicheck, script);
  const auto stored = host.services().settings.load(kLumicheck);
  ASSERT_TRUE(stored);
  EXPECT_EQ(stored->find<host::PathValue>(1)->bytes, scenes().string());
  EXPECT_EQ(stored->getInt32(5), 1);
  EXPECT_EQ(*stored->find<int32_t>(4), 0);
  EXPECT_EQ(*stored->find<bool>(3), false);

  // Opened again: the path is back, the check box is not; and without a reference there is nothing to resume.
  host::DialogScript resume;
  resume.answers = {{1002, "1"}};
  host.execute(kLumicheck, resume);
  ASSERT_EQ(host.host().dialogs().problems().size(), 1U);
  EXPECT_NE(host.host().dialogs().problems()[0].find("disabled"), std::string::npos);
  host.execute(kLumicheck);
  EXPECT_EQ(host.services().settings.load(kLumicheck)->getInt32(5), 0);
}

TEST_F(LumicheckRun, TimesAreCutToHundredths) {
  writeTinyScene(scenes() / "a.vesta");
  static HostTables tables;
  static HostSystemTable system;
  static int64_t step;
  static int64_t now;
  tables = host::hostTables();
  system = *tables.system;
  system.GetTimer = [] { return now += step; };
  tables.system = &system;
  int k = 0;
  for (const auto& [milliseconds, text] :
       {std::pair<int64_t, const char*>{123, "0.12 "}, {129, "0.12 "}, {9, "0.00 "}, {61999, "61.99 "}}) {
    step = milliseconds;
    TestHost host({.tables = &tables});
    host.commandLine({"-lumicheck", scenes().string()});
    EXPECT_NE(readText(result(++k) / "_result.txt").find(std::string("CREATED   ") + text),
              std::string::npos);
  }
}

TEST_F(LumicheckRun, TakesAHundredThousandScenesAndNoMore) {
  // The table's capacity: a listing of 100,001 names, and no scene is ever loaded.
  static HostTables tables;
  static HostFilesTable files;
  static HostDocumentsTable documents;
  static int64_t entry;
  tables = host::hostTables();
  files = *tables.files;
  documents = *tables.documents;
  entry = 0;
  files.BrowseNext = [](HostBrowse*) { return HostBool{++entry <= 100001}; };
  files.BrowseIsFolder = [](const HostBrowse*) { return HostBool{0}; };
  files.BrowseGetName = [](const HostBrowse*, HostFileName* name) {
    return tables.fileNames->FileNameFromCString(name, (std::to_string(entry) + ".vesta").c_str());
  };
  documents.LoadDocument = [](const HostFileName*, int32_t) -> HostDocument* { return nullptr; };
  tables.files = &files;
  tables.documents = &documents;
  fs::create_directories(scenes());
  TestHost host({.tables = &tables});
  host.commandLine({"-lumicheck", scenes().string()});
  const std::string text = readText(result(1) / "_result.txt");
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 100001) << "a header and 100000 rows";
  EXPECT_NE(text.find("\n100000    ERROR"), std::string::npos);
}

}  // namespace
