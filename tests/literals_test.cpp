// `vesta literals`: texts with their places, as lines and as JSON, and the ratchet of a baseline.
#include <nlohmann/json.hpp>

#include "tests/support/program_test.h"

namespace {

using namespace test;
using nlohmann::json;

class Literals : public ProgramTest {
 protected:
  Literals() { writeText(sources / "a.cpp", "#include \"a.h\"\n\tShow(\"Save\", \"Save\");\n"); }

  /// Runs on the sources; their folder is left out of what is said.
  Ended literals(const Words& more) const {
    Words words = {"literals", sources};
    words.insert(words.end(), more.begin(), more.end());
    Ended ended = vesta(words);
    const std::string prefix = sources.string() + "/";
    for (size_t at; (at = ended.out.find(prefix)) != std::string::npos;) ended.out.erase(at, prefix.size());
    return ended;
  }

  const fs::path sources = folder / "sources";
  const std::string baseline = folder / "baseline";
};

TEST_F(Literals, ListsTextsWithTheirPlaces) {
  const std::string steering = "a\x7f\xe2\x80\xae\t";
  writeText(sources / "b/B.H", "\r\"\xff\x1b[2J\"\r\n\"Sp\xc3\xa4t\\n\"\n\"" + std::string(199, 'x') +
                                   "\xc3\xa4\"\"" + steering);
  writeText(sources / "b/c.hpp", "\"Not this\"");
  const Ended listed = literals({});
  EXPECT_EQ(listed.status, 0) << listed.err;
  EXPECT_EQ(listed.out,
            "a.cpp:2:7: \"Save\"\na.cpp:2:15: \"Save\"\nb/B.H:2:1: \"\\xff\\x1b[2J\"\n"
            "b/B.H:3:1: \"Sp\xc3\xa4t\\n\"\nb/B.H:4:1: \"" +
                std::string(199, 'x') +
                "\"...\nb/B.H:4:204: \"a\\x7f\\u{202e}\\x09\"\nfiles: 2, literals: 6\n");

  const Ended printed = literals({"--json"});
  EXPECT_EQ(printed.status, 0) << printed.err;
  const json all = json::parse(printed.out);
  EXPECT_EQ(all["files"], 2);
  EXPECT_EQ(all["literals"], 6);
  ASSERT_EQ(all["texts"].size(), 6U);
  EXPECT_EQ(all["texts"][1], json::parse(R"({"file": "a.cpp", "line": 2, "column": 15, "text": "Save"})"));
  EXPECT_EQ(all["texts"][2]["text"]["hex"], "ff1b5b324a");
  EXPECT_EQ(all["texts"][4]["text"], std::string(199, 'x') + "\xc3\xa4");
  EXPECT_EQ(all["texts"][5]["text"], steering);
  const Ended written = literals({"--json", folder / "all.json"});
  EXPECT_EQ(written.out.substr(0, listed.out.size()), listed.out);
  EXPECT_EQ(readText(folder / "all.json"), vesta({"literals", sources, "--json"}).out);
}

TEST_F(Literals, FailsOnTextsThatTheBaselineLacks) {
  writeText(sources / "b.h", "\"\xff\" \"a\xff\" \"Zoom\"\n");
  const Ended written = literals({"--write-baseline", baseline});
  EXPECT_EQ(written.status, 0) << written.err;
  EXPECT_EQ(written.out, "files: 2, literals: 4\nBaseline: " + baseline + "\n");
  EXPECT_EQ(readText(baseline),
            "{\"vestaLiterals\":1}\n\"Save\"\n\"Zoom\"\n{\"text\":\"a\\\\xff\",\"hex\":\"61ff\"}\n");

  // Known texts elsewhere, and more often, are no news.
  fs::rename(sources / "b.h", sources / "a.h");
  writeText(sources / "c.h", "\n\"Save\"");
  const Ended same = literals({"--baseline", baseline});
  EXPECT_EQ(same.status, 0) << same.err;
  EXPECT_EQ(same.out, "files: 3, literals: 5, new texts: 0, texts gone from the baseline: 0\n");

  writeText(sources / "a.h", "\"a\xff\"\n \"save\"\n\"save\"");
  const Ended changed = literals({"--baseline", baseline, "--json", folder / "new.json"});
  EXPECT_EQ(changed.status, 1) << changed.err;
  EXPECT_EQ(changed.out.substr(0, changed.out.find("JSON")),
            "a.h:2:2: \"save\"\na.h:3:1: \"save\"\nfiles: 3, literals: 6, new texts: 1, texts gone from the "
            "baseline: "
            "1\n");
  const json fresh = json::parse(readText(folder / "new.json"));
  EXPECT_EQ(fresh["texts"].size(), 2U);
  EXPECT_EQ(fresh["baseline"], json({{"file", baseline}, {"new", 1}, {"gone", 1}}));

  // What merges and other systems make of a baseline.
  writeText(baseline, "{\"vestaLiterals\":1}\r\n\"save\"\r\n{\"hex\":\"61ff\"}\r\n\"Save\"\r\n\"save\"");
  EXPECT_EQ(literals({"--baseline", baseline}).status, 0);
}

TEST_F(Literals, RefusesBaselinesThatAreNone) {
  const std::string first = "{\"vestaLiterals\":1}\n";
  const std::pair<std::string, std::string> cases[] = {
      {"", ":1: no baseline of 'vesta literals'"},
      {"\"Save\"\n", ":1: no baseline of 'vesta literals'"},
      {first + "\"Save\"\n<<<<<<< HEAD\n", ":3: not a JSON string"},
      {first + "\n", ":2: not a JSON string"},
      {first + "[]\n", ":2: not a string"},
      {first + "{\"hex\":\"6\"}\n", ":2: odd number of digits in \"hex\""},
      {first + std::string(100000, '['), ":2: not a JSON string"},
  };
  for (const auto& [content, reason] : cases) {
    writeText(baseline, content);
    const Ended ended = literals({"--baseline", baseline});
    EXPECT_EQ(ended.status, 2) << reason;
    EXPECT_EQ(ended.out + ended.err, baseline + reason + "\n");
  }
  fs::remove(baseline);
  const Ended missing = literals({"--baseline", baseline});
  EXPECT_EQ(missing.status, 2);
  EXPECT_EQ(missing.err, baseline + ": No such file or directory\n");
}

TEST_F(Literals, SaysWhatItCannotDo) {
  EXPECT_EQ(vesta({"literals"}).status, 2);
  EXPECT_EQ(vesta({"literals", folder / "nowhere"}).status, 2);
  fs::create_directory(folder / "empty");
  const Ended empty = vesta({"literals", folder / "empty"});
  EXPECT_EQ(empty.status, 2);
  EXPECT_TRUE(
      empty.saidErr("There are no sources (*.cpp, *.h) below '" + (folder / "empty").string() + "'."));
  EXPECT_EQ(literals({"--baseline", baseline, "--write-baseline", baseline}).status, 2);
  EXPECT_EQ(literals({"--write-baseline", ""}).status, 2);
  EXPECT_EQ(literals({"--json", folder / "no/folder.json"}).status, 2);
  EXPECT_EQ(literals({"--write-baseline", folder / "no/folder"}).status, 2);

  fs::create_symlink("/nowhere", sources / "b.h");
  writeText(baseline, "before");
  const Ended unreadable = literals({"--write-baseline", baseline});
  EXPECT_EQ(unreadable.status, 1);
  EXPECT_TRUE(unreadable.saidErr((sources / "b.h").string() + ": cannot be read: No such file"))
      << unreadable.err;
  EXPECT_TRUE(unreadable.saidErr("not written, because not everything could be read"));
  EXPECT_EQ(readText(baseline), "before");
}

}  // namespace
