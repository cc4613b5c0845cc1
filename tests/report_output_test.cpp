// The run's record, the reports for build servers, and the links that adopt makes.

#include <nlohmann/json.hpp>
#include <random>

#include "host/report/adopt.h"
#include "host/report/json_report.h"
#include "host/report/junit.h"
#include "host/report/text.h"
#include "tests/report_folder.h"

namespace host::test {
namespace {

RunRecord sampleRecord() {
  RunRecord record;
  record.scenesFolder = "/scenes";
  record.referenceFolder = "/ref\xff\n";
  record.hostVersion = "16.038";
  record.programVersion = "1.0";
  record.facts = {"embree 3.13", "isa avx2"};
  record.threads = 4;
  record.started = "2026-11-22T21:47:00Z";
  record.totalMs = 1234.567;
  record.scenes = {{"/scenes/a.vesta", 1.5, 20.25, 0.1},
                   {"/scenes/\xc3\x28 \x80.vesta", 0, 3, 4, "no such \xff"}};
  return record;
}

TEST(RunRecord, survivesTheWayThroughAFile) {
  const TempFolder folder;
  EXPECT_FALSE(readRunRecord(folder.path()));
  const RunRecord record = sampleRecord();
  writeRunRecord(folder.path(), record);
  const RunRecord read = readRunRecord(folder.path()).value();
  EXPECT_EQ(runRecordText(read), runRecordText(record));
  EXPECT_EQ(read.referenceFolder, record.referenceFolder);
  EXPECT_EQ(read.facts, record.facts);
  EXPECT_EQ(read.totalMs, record.totalMs);
  ASSERT_EQ(read.scenes.size(), 2U);
  EXPECT_EQ(read.scenes[1].scene, record.scenes[1].scene);
  EXPECT_EQ(read.scenes[0].renderMs, 20.25);
  EXPECT_EQ(read.scenes[0].failure, "");
  EXPECT_EQ(read.scenes[1].failure, "no such \xff");
  EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), {}), 1);  // no temporary file stays
}

TEST(RunRecord, aContinuedRunKeepsWhatTheEarlierSessionDid) {
  RunRecord earlier = sampleRecord();
  earlier.scenes = {{"/a", 1, 1, 1}, {"/b", 0, 0, 0, "stopped"}, {"/c", 1, 1, 1}};
  earlier.totalMs = 100;
  RunRecord now;
  now.referenceFolder = "/the/result/folder";
  now.started = "2026-11-23T08:00:00Z";
  now.threads = 2;
  now.totalMs = 10;
  now.scenes = {{"/b", 2, 2, 2}, {"/d", 2, 2, 2}};
  const RunRecord both = continued(earlier, now);
  std::string order;
  for (const SceneTimes& times : both.scenes) order += times.scene;
  EXPECT_EQ(order, "/a/c/b/d");
  EXPECT_EQ(both.scenes[2].failure, "");
  EXPECT_EQ(both.totalMs, 110);
  EXPECT_EQ(both.started, earlier.started);
  EXPECT_EQ(both.referenceFolder, earlier.referenceFolder);
  EXPECT_EQ(both.threads, 2);
}

TEST(RunRecord, errorsNameTheFieldAndUnknownOnesAreIgnored) {
  const auto errorOf = [](const std::string& text) -> std::string {
    try {
      parseRunRecord(text);
    } catch (const ReportError& error) {
      return error.what();
    }
    return "";
  };
  EXPECT_EQ(errorOf(R"({"future": [1, {"a": 2}], "threads": 3})"), "");
  EXPECT_EQ(errorOf("[]"), "the record is not an object");
  EXPECT_EQ(errorOf(R"({"threads": "4"})"), "field \"threads\": not a number");
  EXPECT_EQ(errorOf(R"({"threads": 1e300})"), "field \"threads\": out of range");
  EXPECT_EQ(errorOf(R"({"facts": [7]})"), "field \"facts\": not a string");
  EXPECT_EQ(errorOf(R"({"scenes": {}})"), "field \"scenes\": not a list");
  EXPECT_EQ(errorOf(R"({"scenes": [{}, 1]})"), "scene 2 is not an object");
  EXPECT_EQ(errorOf(R"({"scenes": [{"loadMs": null}]})"), "scene 1, field \"loadMs\": not a number");
  EXPECT_EQ(errorOf(R"({"scenesFolder": {"hex": "2fz0"}})"),
            "field \"scenesFolder\": not a hexadecimal digit in \"hex\"");
  EXPECT_EQ(errorOf(R"({"scenesFolder": {"hex": "2f0"}})"),
            "field \"scenesFolder\": odd number of digits in \"hex\"");
  EXPECT_EQ(errorOf(std::string(100000, '[')), "nested too deeply");

  const std::string whole = runRecordText(sampleRecord());
  for (std::size_t size = 0; size + 2 < whole.size(); ++size) {
    EXPECT_EQ(errorOf(whole.substr(0, size)).substr(0, 8), "not JSON") << size;
  }
  std::mt19937 random(3);
  for (int round = 0; round < 5000; ++round) {
    std::string noisy = whole;
    noisy[random() % noisy.size()] = static_cast<char>(random());
    errorOf(noisy);  // anything but a crash or a foreign exception
  }
}

TEST(Text, onlyWhatCannotHarmReachesTerminalsAndXml) {
  const std::string bytes =
      "a\x1b[2J\n\x7f\xc2\x9b\xe2\x80\xaeq\xc3\xa4\xff\xed\xa0\x80\xf0\x9f\x98\x80\xef\xbf\xbe";
  EXPECT_EQ(visible(bytes),
            "a\\x1b[2J\\x0a\\x7f\\u{9b}\\u{202e}q\xc3\xa4\\xff\\xed\\xa0\\x80\xf0\x9f\x98\x80\xef\xbf\xbe");
  EXPECT_EQ(
      xmlEscaped("<a b=\"c\" d='e'>&\n\x01\xff\xef\xbf\xbf\xc3\xa4"),
      "&lt;a b=&quot;c&quot; d=&apos;e&apos;&gt;&amp;&#10;\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd\xc3\xa4");
  EXPECT_EQ(shellEscaped("/my scenes/\xc3\xa4's $(x)!\\"), "/my\\ scenes/\xc3\xa4\\'s\\ \\$\\(x\\)\\!\\\\");
  EXPECT_EQ(shellEscaped("/plain-1.0/_a"), "/plain-1.0/_a");
  EXPECT_FALSE(isUtf8("\xc0\xaf"));          // overlong
  EXPECT_FALSE(isUtf8("\xf4\x90\x80\x80"));  // beyond the last character
  EXPECT_FALSE(isUtf8("\xe2\x82"));          // cut off
}

/// One scene of every outcome.
Verdict sampleVerdict() {
  FolderMeasures measures;
  measures.folder = "/run";
  measures.record = sampleRecord();
  measures.notes = {"note \xff"};
  const auto add = [&](SceneStatus status, const std::string& path, double now,
                       double before) -> SceneMeasure& {
    SceneMeasure& scene = measures.scenes.emplace_back();
    scene.row.number = static_cast<int>(measures.scenes.size());
    scene.row.status = status;
    scene.row.path = path;
    scene.row.timeNew = now;
    scene.row.timeReference = before;
    if (status == SceneStatus::Ok) scene.difference = Difference{};
    return scene;
  };
  add(SceneStatus::Ok, "/scenes/good.vesta", 1, 1);
  SceneMeasure& different = add(SceneStatus::Ok, "/scenes/<b>&\x02.vesta", 2, 1);
  different.difference = Difference{0.25, 200, 3, 4, 2, 0.5, 8, 8};
  different.worst = PixelPair{210, 10};
  add(SceneStatus::Ok, "/elsewhere/slow.vesta", 3, 1);
  add(SceneStatus::Ok, "/scenes/gone.vesta", 1, 1).difference.reset();
  measures.scenes.back().problem = "0004.tif: no such file";
  add(SceneStatus::Created, "/scenes/new.vesta", 0.5, 0);
  add(SceneStatus::Skipped, "/scenes/old\xff.vesta", 0.5, 0);
  add(SceneStatus::Error, "/scenes/bad.vesta", 0, 0);
  add(SceneStatus::Pending, "/scenes/last.vesta", 0, 0);
  return judge(std::move(measures), {0, 50});
}

TEST(Junit, hasOneCaseASceneAndCountsThem) {
  EXPECT_EQ(junitText(sampleVerdict()),
            R"xml(<?xml version="1.0" encoding="UTF-8"?>
<testsuites tests="8" failures="2" errors="3" skipped="1" time="7.50">
  <testsuite name="lumicheck" tests="8" failures="2" errors="3" skipped="1" time="7.50" timestamp="2026-11-22T21:47:00Z">
    <testcase classname="lumicheck" name="good.vesta" time="1.00"/>
    <testcase classname="lumicheck" name="&lt;b&gt;&amp;�.vesta" time="2.00">
      <failure message="mean 25 %, largest 200 at (3, 4) blue: reference 210, now 10; 50 % of pixels changed; 2.00 s, reference 1.00 s (+100.00 %)" type="different"/>
    </testcase>
    <testcase classname="lumicheck" name="/elsewhere/slow.vesta" time="3.00">
      <failure message="3.00 s, reference 1.00 s (+200.00 %)" type="slower"/>
    </testcase>
    <testcase classname="lumicheck" name="gone.vesta" time="1.00">
      <error message="the table says OK, but 0004.tif: no such file" type="image missing"/>
    </testcase>
    <testcase classname="lumicheck" name="new.vesta" time="0.50"/>
    <testcase classname="lumicheck" name="old�.vesta" time="0.00">
      <skipped message="image was there already"/>
    </testcase>
    <testcase classname="lumicheck" name="bad.vesta" time="0.00">
      <error message="the run gave no reason" type="ERROR"/>
    </testcase>
    <testcase classname="lumicheck" name="last.vesta" time="0.00">
      <error message="never looked at" type="never looked at"/>
    </testcase>
  </testsuite>
</testsuites>
)xml");
}

TEST(Junit, aFolderThatCannotBeJudgedIsAnErrorToo) {
  const std::string text = junitText(checkFolder("/no/such/folder", {}, {}));
  EXPECT_NE(text.find("tests=\"1\" failures=\"0\" errors=\"1\""), std::string::npos);
  EXPECT_NE(text.find("<error message=\"Cannot judge /no/such/folder: /no/such/folder is not a folder.\""),
            std::string::npos);
}

TEST(JsonReport, holdsMeasuresAndVerdict) {
  const nlohmann::json json = nlohmann::json::parse(jsonReportText(sampleVerdict()));
  EXPECT_EQ(json["exitStatus"], 1);
  EXPECT_EQ(json["verdict"],
            "Wrong: 1 in ERROR, 1 without usable image, 1 different, 1 slower, 1 never looked at.");
  EXPECT_EQ(json["limits"]["maxSlowerPercent"], 50);
  EXPECT_EQ(json["endedAt"], 7);
  EXPECT_EQ(json["notes"][0]["hex"], "6e6f746520ff");
  EXPECT_EQ(json["summary"]["different"], 1);
  EXPECT_EQ(json["summary"]["largestDifference"], 0.25);
  EXPECT_EQ(json["run"]["threads"], 4);
  ASSERT_EQ(json["scenes"].size(), 8U);
  const nlohmann::json& scene = json["scenes"][1];
  EXPECT_EQ(scene["outcome"], "different");
  EXPECT_EQ(scene["slower"], true);
  EXPECT_EQ(scene["timeChange"], 1);
  EXPECT_EQ(scene["difference"]["maximum"], 200);
  EXPECT_EQ(scene["difference"]["channel"], "blue");
  EXPECT_EQ(scene["difference"]["now"], 10);
  EXPECT_EQ(json["scenes"][5]["path"]["text"], "/scenes/old\\xff.vesta");
  EXPECT_EQ(json["scenes"][3].contains("difference"), false);
}

TEST(Files, aFileIsReplacedWholeOrNotAtAll) {
  const TempFolder folder;
  writeFile(folder / "real/report.json", "old");
  fs::create_symlink(folder / "real/report.json", folder / "link.json");
  writeJsonReport(folder / "link.json", sampleVerdict());
  EXPECT_TRUE(fs::is_symlink(folder / "link.json"));
  EXPECT_EQ(readFile(folder / "real/report.json"), jsonReportText(sampleVerdict()));
  try {
    writeJunit(folder / "none/junit.xml", sampleVerdict());
    FAIL();
  } catch (const ReportError& error) {
    EXPECT_EQ(error.what(),
              "cannot write " + (folder / "none/junit.xml").string() + ": No such file or directory");
  }
  EXPECT_THROW(writeTextFile(folder.path(), "x"), ReportError);
  writeTextFile("/dev/null", "x");
  EXPECT_TRUE(fs::is_character_file("/dev/null"));
  for (const std::size_t size : {10, 100000}) {  // lost while closing, lost while writing
    EXPECT_THROW(writeTextFile("/dev/full", std::string(size, 'x')), ReportError);
  }
  EXPECT_THROW(readTextFile(folder / "real/report.json", 10), ReportError);
  EXPECT_THROW(readTextFile(folder.path(), 10), ReportError);
}

TEST(Adopt, linksTheTreeAndTouchesNothingElse) {
  const TempFolder root;
  const fs::path models = root / "models";
  const fs::path links = models / "links";
  for (const char* file :
       {"box.gltf", "box.glb", "box.gltf.glb", "one.GLB", "deep/er/two.glTF", "deep/taken.glb",
        "deep/wrong.glb", "file/x.glb", "notes.txt", "links/sub/inner.glb"}) {
    writeFile(models / file, "x");
  }
  fs::create_directories(models / "folder.glb");
  fs::create_directory_symlink("..", models / "deep/loop");
  fs::create_symlink("self.glb", models / "self.glb");
  writeFile(links / "deep/taken.vesta", "mine");
  fs::create_symlink("/elsewhere", links / "deep/wrong.vesta");
  writeFile(links / "file", "in the way");

  EXPECT_EQ(countGltfFiles(models, 100), 9U);
  EXPECT_EQ(countGltfFiles(models, 3), 3U);
  EXPECT_EQ(countGltfFiles(root / "none", 3), 0U);
  const Adoption adoption = adoptGltfFiles(models, links);
  EXPECT_EQ(adoption.made, 5U);
  EXPECT_EQ(adoption.kept, 0U);
  ASSERT_EQ(adoption.refused.size(), 3U);
  EXPECT_EQ(adoption.refused[0].path, links / "deep/taken.vesta");
  EXPECT_EQ(adoption.refused[1].path, links / "deep/wrong.vesta");
  EXPECT_EQ(adoption.refused[2].path, links / "file");
  EXPECT_EQ(fs::read_symlink(links / "box.gltf.vesta"), models / "box.gltf");
  EXPECT_EQ(fs::read_symlink(links / "box.glb.vesta"), models / "box.glb");
  EXPECT_EQ(fs::read_symlink(links / "box.gltf.glb.vesta"), models / "box.gltf.glb");
  EXPECT_EQ(fs::read_symlink(links / "one.vesta"), models / "one.GLB");
  EXPECT_EQ(fs::read_symlink(links / "deep/er/two.vesta"), models / "deep/er/two.glTF");
  EXPECT_FALSE(fs::exists(links / "links"));
  EXPECT_EQ(readFile(links / "deep/taken.vesta"), "mine");
  EXPECT_EQ(fs::read_symlink(links / "deep/wrong.vesta"), "/elsewhere");

  const Adoption again = adoptGltfFiles(models, links);
  EXPECT_EQ(again.made, 0U);
  EXPECT_EQ(again.kept, 5U);
  EXPECT_EQ(again.refused.size(), 3U);
  EXPECT_THROW(adoptGltfFiles(models, models), ReportError);
  EXPECT_THROW(adoptGltfFiles(root / "none", links), ReportError);
  EXPECT_THROW(adoptGltfFiles(models, models / "notes.txt"), ReportError);
}

}  // namespace
}  // namespace host::test
