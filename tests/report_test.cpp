// Reading, measuring and judging a result folder.

#include <atomic>
#include <random>

#include "host/report/describe.h"
#include "host/report/difference.h"
#include "host/report/verdict.h"
#include "tests/report_folder.h"

namespace host::test {
namespace {

std::string errorOf(const std::string& text) {
  try {
    parseResultTable(text);
  } catch (const ReportError& error) {
    return error.what();
  }
  return "no error";
}

TEST(ResultTable, takesColumnsThatRunTogether) {
  const ResultTable parsed =
      parseResultTable(table({okRow(1, "1000000.00", "2000000.50", "-50.00%", "None", "/a.vesta"),
                              okRow(2, "12345678.99", "0.01", "+123456789800.00%", "+100.00%", "/b.vesta"),
                              okRow(3, "0.50", "0.00", "", "-1234567.00%", " 1.00 /c.vesta")}));
  ASSERT_EQ(parsed.rows.size(), 3U);
  EXPECT_EQ(parsed.version, "16.038");
  EXPECT_DOUBLE_EQ(parsed.rows[0].timeNew, 1000000);
  EXPECT_DOUBLE_EQ(parsed.rows[0].timeReference, 2000000.5);
  EXPECT_DOUBLE_EQ(parsed.rows[0].timeChange.value(), -0.5);
  EXPECT_FALSE(parsed.rows[0].difference);
  EXPECT_EQ(parsed.rows[0].path, "/a.vesta");
  EXPECT_DOUBLE_EQ(parsed.rows[1].timeNew, 12345678.99);
  EXPECT_DOUBLE_EQ(parsed.rows[1].timeChange.value(), 1234567898);
  EXPECT_DOUBLE_EQ(parsed.rows[1].difference.value(), 1);
  EXPECT_FALSE(parsed.rows[2].timeChange);
  EXPECT_DOUBLE_EQ(parsed.rows[2].difference.value(), -12345.67);  // a sum that wrapped
  EXPECT_EQ(parsed.rows[2].path, " 1.00 /c.vesta");
}

TEST(ResultTable, keepsEveryByteOfAPath) {
  const std::vector<std::string> paths = {"/my OK scenes/ERROR 1.00 x.vesta", "/line\nbreak/a.vesta",
                                          "/2\n2 OK\n17 apples\n\nb.vesta", "/\xff\xfe\x80.vesta",
                                          "/carriage\r.vesta\r"};
  for (const char* lineEnd : {"\n", "\r\n"}) {
    std::vector<std::string> rows;
    for (const std::string& path : paths) {
      const int number = static_cast<int>(rows.size()) + 1;
      rows.push_back(number % 2 ? row(number, "PENDING", "0.00", path)
                                : okRow(number, "0.10", "0.20", "-50.00%", "None", path));
    }
    const ResultTable parsed = parseResultTable(table(rows, lineEnd));
    ASSERT_EQ(parsed.rows.size(), paths.size());
    EXPECT_FALSE(parsed.cutOff);
    for (std::size_t i = 0; i < paths.size(); ++i) EXPECT_EQ(parsed.rows[i].path, paths[i]);
  }
}

TEST(ResultTable, namesLineAndReasonOfWhatIsMalformed) {
  const std::string good = row(1, "OK", "0.10", "");
  EXPECT_EQ(errorOf(""), "line 1: no header line");
  EXPECT_EQ(errorOf("Status\n"), "line 1: not the header of a result table");
  EXPECT_EQ(errorOf(table({row(2, "ERROR", "0.00", "/a")})), "line 2: row 1 was expected");
  EXPECT_EQ(errorOf(table({row(1, "ERROR", "0.00", "/a\nb"), row(3, "ERROR", "0.00", "/a")})),
            "line 4: row 2 was expected");
  EXPECT_EQ(errorOf(table({row(1, "ERROR", "0.00", "/a"), row(2, "DONE", "0.00", "/b")})),
            "line 3: no status word after the number");
  EXPECT_EQ(errorOf(table({row(1, "DONE", "0.00", "/a")})), "line 2: no status word after the number");
  EXPECT_EQ(errorOf(table({row(1, "ERROR", "0.0", "/a")})),
            "line 2: no number with two decimals in column Tnew");
  EXPECT_EQ(errorOf(table({row(1, "ERROR", "inf", "/a")})),
            "line 2: no number with two decimals in column Tnew");
  EXPECT_EQ(errorOf(table({row(1, "ERROR", "0.123", "/a")})),
            "line 2: column Tnew is not padded to ten characters");
  EXPECT_EQ(errorOf(table({okRow(1, "0.10", "0.10", "0.00", "None", "/a")})),
            "line 2: no \"%\" after the number in column Trel");
  EXPECT_EQ(errorOf(table({okRow(1, "0.10", "0.10", "0.00%", "none", "/a")})),
            "line 2: no number with two decimals in column Diff");
  EXPECT_EQ(errorOf(table({column("1") + column("ERROR") + column("0.00") + "/a"})),
            "line 2: columns Told, Trel and Diff are not blank");
  EXPECT_EQ(errorOf(table({row(1, "ERROR", "0.00", "")})), "line 2: no path");
  EXPECT_NE(errorOf(table({row(1, "OK", "", "/a")})).find("crash scan"), std::string::npos);
}

TEST(ResultTable, anyDamageIsReadOrRefusedAndACutTableSaysSo) {
  const std::string whole = table({okRow(1, "1000000.00", "0.20", "-50.00%", "+0.01%", "/a b.vesta"),
                                   row(2, "ERROR", "0.00", "/b\nc.vesta"), row(3, "PENDING", "0.00", "/d")});
  const std::size_t header = kHeader.size() + 1;
  for (std::size_t size = header; size <= whole.size(); ++size) {
    const ResultTable parsed = parseResultTable(whole.substr(0, size));
    const bool lineIsWhole = whole[size - 1] == '\n';
    EXPECT_EQ(parsed.cutOff, !lineIsWhole) << size;
    EXPECT_EQ(parsed.rows.size() == 3, size == whole.size()) << size;
  }
  std::mt19937 random(7);
  for (int round = 0; round < 20000; ++round) {
    std::string noisy = whole;
    for (unsigned changes = 1 + random() % 3; changes > 0; --changes) {
      noisy[random() % noisy.size()] =
          round % 2 ? static_cast<char>(random()) : whole[random() % whole.size()];
    }
    try {
      const ResultTable parsed = parseResultTable(noisy);
      for (std::size_t i = 0; i < parsed.rows.size(); ++i) {
        ASSERT_EQ(parsed.rows[i].number, static_cast<int>(i) + 1);
        ASSERT_FALSE(parsed.rows[i].path.empty());
      }
    } catch (const ReportError& error) {
      ASSERT_EQ(std::string(error.what()).substr(0, 5), "line ");
    }
  }
}

TEST(ResultTable, imageNamesGrowBeyondFourDigits) {
  EXPECT_EQ(imageName(7), "0007.tif");
  EXPECT_EQ(differenceImageName(9999), "9999d.tif");
  EXPECT_EQ(differenceImageName(10000), "10000d.tif");
}

// Straight from the definition, one byte at a time.
Difference naiveDifference(const Image& image) {
  Difference d;
  long double sum = 0;
  double changed = 0;
  for (int y = 0; y < image.height; ++y) {
    for (int x = 0; x < image.width; ++x) {
      bool differs = false;
      for (int c = 0; c < 3; ++c) {
        const int value = image.pixels[byteAt(image, x, y, c)];
        sum += value;
        differs = differs || value > 0;
        if (value > d.maximum) {
          d.maximum = value;
          d.x = x;
          d.y = y;
          d.channel = c;
        }
      }
      changed += differs ? 1 : 0;
    }
  }
  const double pixels = static_cast<double>(image.width) * image.height;
  d.mean = static_cast<double>(sum / (pixels * 765));
  d.changedShare = changed / pixels;
  return d;
}

TEST(Difference, agreesWithTheDefinitionWhere32BitsWouldWrap) {
  std::mt19937 random(1);
  Image image = flatImage(2000, 1500, 0);  // 2000 * 1500 * 765 is above 2^31
  for (std::size_t i = 0; i < image.pixels.size(); ++i) {
    image.pixels[i] = i % 7 < 4 ? 0 : static_cast<uint8_t>(200 + random() % 50);
  }
  image = withByte(std::move(image), 1234, 1400, 2, 251);
  image = withByte(std::move(image), 7, 1450, 0, 251);  // as large, but later
  const Difference measured = measureDifference(image);
  const Difference expected = naiveDifference(image);
  EXPECT_DOUBLE_EQ(measured.mean, expected.mean);
  EXPECT_DOUBLE_EQ(measured.changedShare, expected.changedShare);
  EXPECT_EQ(measured.maximum, 251);
  EXPECT_EQ(measured.x, 1234);
  EXPECT_EQ(measured.y, 1400);
  EXPECT_EQ(measured.channel, 2);

  EXPECT_DOUBLE_EQ(measureDifference(flatImage(2000, 4000, 255)).mean, 1);  // its sum is above 2^32
  EXPECT_EQ(measureDifference(flatImage(2000, 4000, 0)).mean, 0);
  EXPECT_THROW(measureDifference({2, 2, 1, {0, 0, 0, 0}}), ImageError);
  EXPECT_THROW(measureDifference({}), ImageError);
}

/// A compared run: the first scene is the same, in the second one pixel of 100 is off by 8 in green.
class ComparedRun : public ::testing::Test {
 protected:
  void SetUp() override {
    for (int scene = 1; scene <= 2; ++scene) saveScene(scene, 10, 10);
    saveScene(2, 10, 18);
    rows_ = {okRow(1, "1.10", "1.00", "+10.00%", "None", "/s/a.vesta"),
             okRow(2, "0.06", "0.05", "+20.00%", "+0.01%", "/s/b\x1b[31m.vesta")};
  }

  /// Images of a 10 x 10 scene whose green at (5, 9) is `before` in the reference and `now` in the run.
  void saveScene(int number, uint8_t before, uint8_t now) {
    const auto save = [&](const std::string& name, uint8_t around, uint8_t value) {
      fs::create_directories((root_ / name).parent_path());
      saveImage(root_ / name, withByte(flatImage(10, 10, around), 5, 9, 1, value));
    };
    save("ref/" + imageName(number), 10, before);
    save("run/" + imageName(number), 10, now);
    save("run/" + differenceImageName(number), 0,
         static_cast<uint8_t>(now > before ? now - before : before - now));
  }

  Verdict check(const Limits& limits) {
    writeFile(root_ / "run/_result.txt", table(rows_));
    return checkFolder(root_ / "run", {root_ / "ref", 2}, limits);
  }

  void breakOffAtThird() {
    saveImage(root_ / "ref/0003.tif", flatImage(4, 2, 0));
    saveImage(root_ / "run/0003.tif", flatImage(8, 2, 0));
    rows_.push_back(row(3, "ERROR", "0.30", "/s/c.vesta"));
    for (int number = 4; number <= 26; ++number) {
      rows_.push_back(row(number, "PENDING", "0.00", "/s/" + std::to_string(number) + ".vesta"));
    }
  }

  TempFolder root_;
  std::vector<std::string> rows_;
};

TEST_F(ComparedRun, limitsDecide) {
  // One byte of 300 is off by 8: mean 8 / (300 * 255).
  const double percent = 800.0 / (300 * 255);
  struct Case {
    Limits limits;
    Outcome first, second;
    bool secondSlower;
  };
  const Case cases[] = {
      {{}, Outcome::Good, Outcome::Different, false},
      {{percent * 0.999, {}}, Outcome::Good, Outcome::Different, false},
      {{percent, {}}, Outcome::Good, Outcome::Good, false},
      {{percent, 10}, Outcome::Good, Outcome::Slower, true},  // 1.10 s to 1.00 s is not more than 10 %
      {{percent, 9.99}, Outcome::Slower, Outcome::Slower, true},
      {{0, 0}, Outcome::Slower, Outcome::Different, true},
      {{percent, 20}, Outcome::Good, Outcome::Good, false},
      {{std::nan(""), std::nan("")}, Outcome::Different, Outcome::Different, true},
  };
  for (const Case& c : cases) {
    const Verdict verdict = check(c.limits);
    ASSERT_EQ(verdict.scenes.size(), 2U);
    EXPECT_EQ(verdict.scenes[0].outcome, c.first) << c.limits.maxDiff;
    EXPECT_EQ(verdict.scenes[1].outcome, c.second) << c.limits.maxDiff;
    EXPECT_EQ(verdict.scenes[1].slower, c.secondSlower) << c.limits.maxDiff;
    EXPECT_EQ(exitStatus(verdict), isWrong(c.first) || isWrong(c.second) ? 1 : 0);
  }
}

TEST_F(ComparedRun, isDescribedWorstFirst) {
  breakOffAtThird();
  EXPECT_EQ(
      describe(check({})),
      "In ERROR: 1 scene\n"
      "  3  /s/c.vesta\n"
      "     reference image is 4 x 2, new image 8 x 2\n"
      "\n"
      "Different: 1 scene\n"
      "  2  /s/b\\x1b[31m.vesta\n"
      "     mean 0.01046 %, largest 8 at (5, 9) green: reference 10, now 18; 1 % of pixels changed\n"
      "\n"
      "Never looked at: 23 scenes\n" +
          [] {
            std::string list;
            for (int n = 4; n < 24; ++n) {
              list += "  " + std::to_string(n) + "  /s/" + std::to_string(n) + ".vesta\n";
            }
            return list;
          }() +
          "  ... and 3 more\n"
          "\n"
          "The run ended at scene 3 of 26.\n"
          "Note: cannot read " +
          (root_ / "ref/_result.txt").string() +
          ": No such file or directory\n"
          "\n"
          "26 scenes: 23 PENDING, 2 OK, 1 ERROR; 1 with a difference\n"
          "Largest difference: mean 0.01046 %, scene 2.\n"
          "Render time: 1.16 s, reference 1.05 s (+10.48 %).\n"
          "Wrong: 1 in ERROR, 1 different, 23 never looked at.\n");
  const std::string verbose = describe(check({}), true);
  EXPECT_NE(verbose.find("  26  /s/26.vesta\n"), std::string::npos);
  EXPECT_EQ(verbose.find("more"), std::string::npos);
}

TEST_F(ComparedRun, shortTimesAreDescribedWithCare) {
  const std::string text = describe(check({1, 5}));
  EXPECT_NE(
      text.find("Slower by more than 5 %: 2 scenes\n"
                "  2  /s/b\\x1b[31m.vesta\n"
                "     0.06 s, reference 0.05 s (+20.00 %); times are cut to 10 ms, so this says little\n"
                "  1  /s/a.vesta\n"
                "     1.10 s, reference 1.00 s (+10.00 %)\n"),
      std::string::npos)
      << text;
  rows_ = {okRow(1, "1.10", "0.00", "", "None", "/s/a.vesta")};
  EXPECT_NE(describe(check({0, 5})).find("no scene has a reference time"), std::string::npos);
}

TEST_F(ComparedRun, imagesThatAreNotAsTheTableSaysAreErrors) {
  const auto problemOfFirst = [&] {
    const Verdict verdict = check({});
    EXPECT_EQ(verdict.scenes[0].outcome, Outcome::ImageMissing);
    EXPECT_EQ(exitStatus(verdict), 1);
    return verdict.scenes[0].measure.problem;
  };
  fs::remove(root_ / "run/0001.tif");
  EXPECT_EQ(problemOfFirst(), "0001.tif: no such file");
  saveScene(1, 10, 10);
  saveImage(root_ / "run/0001d.tif", flatImage(5, 10, 0));
  EXPECT_EQ(problemOfFirst(), "0001.tif is 10 x 10, 0001d.tif is 5 x 10");
  writeFile(root_ / "run/0001d.tif", "II* and then nothing of use");
  EXPECT_EQ(problemOfFirst().substr(0, 11), "0001d.tif: ");
  rows_ = {row(1, "CREATED", "1.00", "/s/a.vesta"), row(2, "SKIPPED", "1.00", "/s/b.vesta")};
  EXPECT_EQ(describe(check({})),
            "Note: cannot read " + (root_ / "ref/_result.txt").string() +
                ": No such file or directory\n\n"
                "2 scenes: 1 CREATED, 1 SKIPPED\nRender time: 1.00 s.\n"
                "Good: 1 reference image made, 1 there already; nothing was compared.\n");
  for (const char* status : {"CREATED", "SKIPPED"}) {
    rows_[0] = row(1, status, "1.00", "/s/a.vesta");
    writeFile(root_ / "run/0001.tif", "II* and then nothing of use");
    EXPECT_EQ(problemOfFirst().substr(0, 10), "0001.tif: ");
    fs::remove(root_ / "run/0001.tif");
    EXPECT_EQ(problemOfFirst(), "0001.tif: no such file");
  }
}

TEST_F(ComparedRun, aChangedReferenceIsNoticedAndAMissingOneDoesNotHinder) {
  saveImage(root_ / "ref/0002.tif", flatImage(10, 10, 30));
  EXPECT_NE(describe(check({})).find("reference 30, now 18 (an image was replaced after the run)"),
            std::string::npos);
  const std::string unused = "Note: 1 reference image could not be used for the values of worst pixels: ";
  saveImage(root_ / "ref/0002.tif", flatImage(5, 10, 30));
  EXPECT_NE(describe(check({})).find(unused + "reference image 0002.tif is 5 x 10, new image 10 x 10\n"),
            std::string::npos);
  fs::remove(root_ / "ref/0002.tif");
  const std::string without = describe(check({}));
  EXPECT_NE(without.find("largest 8 at (5, 9) green; 1 %"), std::string::npos);
  EXPECT_NE(without.find(unused + "reference image 0002.tif: no such file\n"), std::string::npos);
  rows_[1] = row(2, "ERROR", "0.00", "/s/b.vesta");
  EXPECT_EQ(check({}).scenes[1].measure.problem, "reference has no 0002.tif");
  fs::remove(root_ / "run/0002.tif");  // and now a continued build, which is its own reference
  const Verdict continued = checkFolder(root_ / "run", {root_ / "run", 1}, {});
  EXPECT_EQ(continued.scenes[1].measure.problem, "no image: not loaded, not rendered, or stopped");
}

TEST_F(ComparedRun, aSceneThatFailedInBothRunsIsNotBlamedOnTheReference) {
  rows_ = {row(1, "ERROR", "0.00", "/s/a.vesta"), okRow(2, "0.06", "0.05", "+20.00%", "None", "/s/b.vesta")};
  for (const char* image : {"ref/0001.tif", "run/0001.tif", "run/0001d.tif"}) fs::remove(root_ / image);
  const auto cause = [&] { return explain(check({}).scenes[0]); };
  EXPECT_EQ(cause(), "no image: not loaded, not rendered, or stopped");
  RunRecord record;
  record.scenes = {{"/s/a.vesta", 1, 0, 0, "meshes: not a list"}, {"/s/b.vesta", 1, 1, 1, "of no ERROR row"}};
  writeRunRecord(root_ / "run", record);
  EXPECT_EQ(cause(), "meshes: not a list");
  EXPECT_EQ(check({100, {}}).scenes[1].outcome, Outcome::Good);
  rows_[1] = row(2, "PENDING", "0.00", "/s/b.vesta");
  EXPECT_EQ(cause(), "meshes: not a list") << "the record knows better than the files";
  fs::remove(root_ / "run/_run.json");
  EXPECT_EQ(cause(), "reference has no 0001.tif");
}

TEST_F(ComparedRun, aStoppedMeasureIsNoVerdict) {
  check({});
  for (const int threads : {1, 2}) {
    std::atomic<int> images = 0;
    const auto stopAtSecond = [&] { return ++images > 1; };
    EXPECT_THROW(checkFolder(root_ / "run", {root_ / "ref", threads, stopAtSecond}, {}), MeasureStopped);
  }
}

TEST_F(ComparedRun, aMissingReferenceFolderIsTheLastWord) {
  Limits limits;
  limits.missingReference = "/no/where";
  rows_ = {row(1, "CREATED", "1.00", "/s/a.vesta"), row(2, "CREATED", "1.00", "/s/b.vesta")};
  const Verdict made = check(limits);
  EXPECT_EQ(exitStatus(made), 2);
  EXPECT_TRUE(
      describe(made).ends_with("\nNothing was compared: the reference folder '/no/where' does not "
                               "exist; 2 reference images made.\n"))
      << describe(made);
  rows_[0] = row(1, "ERROR", "0.00", "/s/a.vesta");
  const std::string text = describe(check(limits));
  EXPECT_TRUE(text.starts_with("In ERROR: 1 scene\n")) << text;
  EXPECT_TRUE(text.ends_with("does not exist; 1 reference image made, 1 in ERROR.\n")) << text;
}

TEST_F(ComparedRun, otherMachinesAndOtherScenesAreNamed) {
  RunRecord record;
  record.referenceFolder = (root_ / "ref").string();
  record.hostVersion = "16.038";
  record.facts = {"embree 3.13", "isa avx2"};
  record.threads = 8;
  writeRunRecord(root_ / "ref", record);
  record.facts = {"embree 3.13", "isa sse4.2"};
  record.threads = 2;
  writeRunRecord(root_ / "run", record);
  writeFile(root_ / "ref/_result.txt",
            table({row(1, "CREATED", "1.00", "/old/a.vesta"), row(2, "CREATED", "1.00", "/old/new.vesta")}));
  rows_[1] = okRow(2, "0.06", "0.05", "+20.00%", "+0.01%", "/s/b.vesta");
  writeFile(root_ / "run/_result.txt", table(rows_));
  const Verdict verdict = checkFolder(root_ / "run", {}, {});  // finds the reference by the record
  EXPECT_EQ(verdict.notes,
            (std::vector<std::string>{
                "reference was made with isa avx2; this run with isa sse4.2",
                "times: reference ran with threads 8, this run with 2",
                "reference has new.vesta as scene 2, this run b.vesta: images are matched by number, and "
                "scenes were added, removed or renamed since"}));
  EXPECT_EQ(verdict.scenes[1].measure.worst->reference, 10);
  writeFile(root_ / "run/_run.json", "{");
  const Verdict without = checkFolder(root_ / "run", {}, {});
  EXPECT_EQ(exitStatus(without), 1);  // judged all the same, without the reference
  EXPECT_FALSE(without.scenes[1].measure.worst);
  ASSERT_EQ(without.notes.size(), 1U);
  EXPECT_NE(without.notes[0].find("_run.json: not JSON"), std::string::npos);
}

TEST_F(ComparedRun, exitStatusTellsWrongFromUnreadable) {
  EXPECT_EQ(exitStatus(check({1, {}})), 0);
  writeFile(root_ / "run/_result.txt", table(rows_) + "3         OK");
  const Verdict cut = checkFolder(root_ / "run", {}, {1, {}});
  EXPECT_EQ(exitStatus(cut), 1);
  EXPECT_EQ(verdictSentence(cut), "Wrong: the table is cut off.");
  const auto unusable = [&](const fs::path& folder, const MeasureOptions& options) {
    const Verdict verdict = checkFolder(folder, options, {});
    EXPECT_EQ(exitStatus(verdict), 2);
    return describe(verdict);
  };
  const std::string run = (root_ / "run").string();
  EXPECT_EQ(unusable(root_ / "no\nne", {}), "Cannot judge " + (root_ / "no").string() + "\\x0ane: " +
                                                (root_ / "no").string() + "\\x0ane is not a folder.\n");
  EXPECT_EQ(unusable(run, {root_ / "none", 0}),
            "Cannot judge " + run + ": reference " + (root_ / "none").string() + " is not a folder.\n");
  writeFile(root_ / "run/_result.txt", kHeader + "\n");
  EXPECT_EQ(unusable(run, {}), "Cannot judge " + run + ": no scene in its table, nothing was tested.\n");
  EXPECT_TRUE(checkFolder(run, {}, {}).tableEmpty);
  writeFile(root_ / "run/_result.txt", kHeader + "\nrubbish\n");
  EXPECT_FALSE(checkFolder(run, {}, {}).tableEmpty);
  EXPECT_EQ(unusable(run, {}),
            "Cannot judge " + run + ": " + run + "/_result.txt, line 2: row 1 was expected.\n");
}

}  // namespace
}  // namespace host::test
