// The translator locator: which literals of a file it takes, and its list of them.
#include "makedistri/translatorlocator_literals.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "tests/support/program_test.h"
#include "tests/support/test_host.h"
#include "tests/support/watched_tables.h"

namespace {

using namespace test;
using namespace std::string_literals;

constexpr int32_t kLocator = 12432341;

std::string listOf(const std::string& source) {
  std::string list;
  outfitter::FindLiterals(source, outfitter::IsHeaderName, [&](const outfitter::FoundLiteral& literal) {
    outfitter::WriteListLine(literal, "\n", [&](std::string_view piece) { list += piece; });
    return true;
  });
  return list;
}

/// The same, one byte after the other, as one would tell it.
std::string listByteByByte(std::string data) {
  std::string list;
  std::string line;
  bool comment = false;
  for (size_t i = 0; i < data.size(); ++i) {
    const char c = data[i];
    if (c == '\r' || c == '\n') {
      line.clear();
      comment = false;
    } else if (c != '\t') {
      line += c;
      if (c == '/' && i > 0 && data[i - 1] == '/') comment = true;
    }
    if (c != '"' || comment) continue;
    const size_t begin = ++i;
    while (i < data.size() && data[i] != '\r' && data[i] != '\n' && (data[i] != '"' || data[i - 1] == '\\')) {
      if (data[i] != '\t') line += data[i];
      if (data[i] >= 'A' && data[i] <= 'Z') data[i] = static_cast<char>(data[i] + 32);
      ++i;
    }
    const std::string literal = data.substr(begin, i - begin);
    const bool isHeader = literal.size() > 1 && literal.compare(literal.size() - 2, 2, ".h") == 0;
    const bool hasEscape = literal.find("\\\"") != literal.npos || literal.find("\\x") != literal.npos;
    if (literal.find_first_of("abcdefghijklmnopqrstuvwxyz") != literal.npos && !isHeader && !hasEscape) {
      std::string padded = literal;
      if (padded.size() < 30) padded.resize(30, ' ');
      list += padded + line + "\n";
    }
    if (i < data.size()) data[i] == '"' ? void(line += '"') : void(--i);
  }
  return list;
}

std::string padded(std::string literal) {
  literal.resize(std::max<size_t>(literal.size(), 30), ' ');
  return literal;
}

TEST(LocatorLiterals, TakesWhatLooksLikeText) {
  const std::string x35(35, 'x');
  const std::pair<std::string, std::string> cases[] = {
      {"\tPrint(\t\"Hello World\");\n", padded("hello world") + "Print(\"Hello World\n"},
      {"f(\"One\", \"Two\") // \"three\"\n\"four\"",
       padded("one") + "f(\"One\n" + padded("two") + "f(\"One\", \"Two\n" + padded("four") + "\"four\n"},
      {"\"a\tB\"", padded("a\tb") + "\"aB\n"},
      {"/* \"block\" */ '\"', x\r/\n/\"y\"", padded("block") + "/* \"block\n" + padded("', x") +
                                                 "/* \"block\" */ '\"', x\n" + padded("y") + "/\"y\n"},
      {"/\t/ \"apart\"", padded("apart") + "// \"apart\n"},
      {"\"http://\" \"on\"", padded("http://") + "\"http://\n" + padded("on") + "\"http://\" \"on\n"},
      {"\"to the line end\r\n\"to the end",
       padded("to the line end") + "\"to the line end\n" + padded("to the end") + "\"to the end\n"},
      {"\\\"outside\"", padded("outside") + "\\\"outside\n"},
      {"\"ends in a backslash\\", padded("ends in a backslash\\") + "\"ends in a backslash\\\n"},
      {"\"Fetch\" \"H\" \"%d\\n\"", padded("fetch") + "\"Fetch\n" + padded("h") + "\"Fetch\" \"H\n" +
                                        padded("%d\\n") + "\"Fetch\" \"H\" \"%d\\n\n"},
      {"\"" + x35 + "\"", x35 + "\"" + x35 + "\n"},
      {"\"\xC4\xD6 \xE4o\"", padded("\xC4\xD6 \xE4o") + "\"\xC4\xD6 \xE4o\n"},
      {"\0\"a\0B\""s, padded("a\0b"s) + "\0\"a\0B\n"s},
      {"\"\" \"1 + 2\" \"\xC4\" \"say \\\"it\\\"\" \"\\x41b\" \"\\X41b\" \"c\\\\x\"", ""},
      {"\"a.h\" \"A/B.H\" \".h\" \"..h\" \"a\\\\\"b\"", ""},
      {"\"x.h/\" \"x.hh\" \"x.h \"", padded("x.h/") + "\"x.h/\n" + padded("x.hh") + "\"x.h/\" \"x.hh\n" +
                                         padded("x.h ") + "\"x.h/\" \"x.hh\" \"x.h \n"},
      {"\"", ""},
      {"", ""},
  };
  for (const auto& [source, list] : cases) {
    EXPECT_EQ(listOf(source), list) << source;
    EXPECT_EQ(listByteByByte(source), list) << source;
  }
}

TEST(LocatorLiterals, GoesFromQuoteToQuoteAsOneGoesFromByteToByte) {
  std::mt19937 random(63);
  const std::string letters = "\"\"\"//\\\n\r\tx.hHaZ \xE4\0"s;
  for (int round = 0; round < 20000; ++round) {
    std::string source(random() % 60, ' ');
    for (char& c : source) c = letters[random() % letters.size()];
    ASSERT_EQ(listOf(source), listByteByByte(source)) << testing::PrintToString(source);
  }
}

TEST(LocatorLiterals, TellsWhereALiteralIs) {
  std::string places;
  const std::string source = "\"a\"\r\n\n\r\t\"b\" \"c\"\n//\n  \"d\"";
  outfitter::LineCounter lines(source);
  outfitter::FindLiterals(source, outfitter::IsHeaderName, [&](const outfitter::FoundLiteral& literal) {
    places += std::to_string(lines.LineAt(literal.offset)) + ":" + std::to_string(literal.Column()) + " ";
    return literal.written != "d";
  });
  EXPECT_EQ(places, "1:1 4:2 4:6 6:3 ");
}

/// The command in the real host, with a home of its own.
class Locator : public testing::Test {
 protected:
  Locator() {
    if (const char* before = std::getenv("HOME")) before_ = before;
    fs::create_directory(home);
    setenv("HOME", home.c_str(), 1);
  }
  ~Locator() override { setenv("HOME", before_.c_str(), 1); }

  static bool locate(TestHost& host, const fs::path& folder) {
    host::DialogScript script;
    script.selections = {folder.string()};
    return host.execute(kLocator, script);
  }
  void addSources() const {
    writeText(sources / "a.cpp", "#include \"a.h\"\nPrint(\"In A\");\n");
    writeText(sources / "b/b.H", "\"In B\"\n");
    writeText(sources / "b/b.txt", "\"No source\"\n");
    writeText(sources / "b/cpp", "\"Nor this\"\n");
    writeText(sources / "b.Cpp", "\"Big B\"\n");
    writeText(sources / "c.d.h", std::string(70000, ' ') + "\"Far out");
    writeText(sources / "d.h", "");
  }

  std::string before_;
  const TempFolder folder;
  const fs::path home = folder / "home";
  const fs::path sources = folder / "sources";
  const fs::path list = home / "strings.txt";
  const std::string golden_ = padded("in a") + "Print(\"In A\n" + padded("in b") + "\"In B\n" +
                              padded("big b") + "\"Big B\n" + padded("far out") + std::string(70000, ' ') +
                              "\"Far out\n";
};

TEST_F(Locator, ListsTheTextsBelowTheChosenFolder) {
  addSources();
  fs::create_directory_symlink(sources, sources / "b/around");
  fs::create_symlink("/proc/self/mem", sources / "mem.h");  // opens, has no length
  fs::create_symlink("/nowhere", sources / "nowhere.h");
  fs::create_directory(sources / "folder.h");
  TestHost host;
  EXPECT_TRUE(locate(host, sources));
  EXPECT_TRUE(readText(list) == golden_);
  EXPECT_EQ(host.view().boxes.size() + host.view().lines.size() + host.view().errors.size(), 0U);

  EXPECT_TRUE(host.execute(kLocator)) << "cancelled";
  EXPECT_TRUE(fs::exists(list));
  EXPECT_EQ(readText(list), "");

  fs::remove(list);
  fs::create_directory(list);
  EXPECT_FALSE(locate(host, sources));
}

/// A list that cannot be written as a whole leaves the one before, and is told.
TEST_F(Locator, StopsAtAFullDisk) {
  std::string line;
  for (int i = 0; i < 20000; ++i) line += "\"text\",";
  writeText(sources / "long.cpp", line);  // 1.4 GB of list
  writeText(list, "the one before");
  const std::vector<std::string> words = {
      "--prefs-dir", folder / "preferences", "execute", std::to_string(kLocator), "--select", sources};
  const Ended ended =
      Process(VESTA_TEST_PROGRAM, words, {.environment = {"HOME=" + home.string()}, .fileSizeLimit = 1 << 20})
          .wait();
  EXPECT_EQ(ended.status, 1);
  EXPECT_TRUE(ended.saidErr("strings.txt: not written: File too large")) << ended.err;
  EXPECT_EQ(readText(list), "the one before");
  EXPECT_EQ(std::distance(fs::directory_iterator(home), {}), 1);

  fs::remove(list);
  ASSERT_EQ(mkfifo(list.c_str(), 0600), 0);
  TestHost host;
  EXPECT_FALSE(locate(host, sources)) << "a pipe that nobody reads is not waited for";
}

TEST_F(Locator, SurvivesAnyCallThatFails) {
  addSources();
  const auto before = fs::current_path();
  fs::create_directories(folder / "elsewhere");
  fs::current_path(folder / "elsewhere");
  int calls = 1;
  for (int failing = 0; failing <= calls && !HasFailure(); ++failing) {
    writeText(list, "the one before");
    Watch watch(host::hostTables());
    bool good = false;
    {
      TestHost host({.tables = &watch.tables()});
      const int first = watch.calls();
      if (failing > 0) watch.failAt(first + failing - 1);
      good = locate(host, sources);
      if (failing == 0) calls = watch.calls() - first;
    }
    const std::string label = std::to_string(failing) + " " + watch.failedSlot();
    EXPECT_EQ(watch.problems(), std::vector<std::string>{}) << label;
    EXPECT_TRUE(fs::is_empty(folder / "elsewhere")) << label;
    EXPECT_EQ(std::distance(fs::directory_iterator(home), {}), 1) << label;
    const std::string listed = readText(list);
    if (failing == 0) {
      EXPECT_TRUE(listed == golden_);
    } else if (!good || watch.failedSlot() == "FileClose") {
      EXPECT_EQ(listed, "the one before") << label;
    }
    // Other failures leave out files, or take an include for a text; every line that is there is whole.
    if (!good || watch.failedSlot() == "FileClose" || watch.failedSlot() == "FileWriteBytes") continue;
    for (size_t start = 0, end; start < listed.size(); start = end + 1) {
      end = std::min(listed.find('\n', start), listed.size());
      const std::string line = listed.substr(start, end - start) + "\n";
      EXPECT_TRUE(("\n" + golden_).find("\n" + line) != golden_.npos ||
                  line == padded("a.h") + "#include \"a.h\n")
          << label;
    }
  }
  EXPECT_GT(calls, 100);
  fs::current_path(before);
}

/// Hosts whose answers make no sense: a file that is longer or shorter than they say is not read half.
TEST_F(Locator, LeavesOutFilesThatAreNotAsLongAsTheHostSays) {
  addSources();
  static HostFilesTable lying;
  static int64_t length;
  for (const int64_t said : {int64_t{-5}, int64_t{0}, int64_t{30}, int64_t{1} << 40, INT64_MAX}) {
    length = said;
    HostTables tables = host::hostTables();
    lying = *tables.files;
    lying.FileGetLength = [](HostFile*) { return length; };
    tables.files = &lying;
    TestHost host({.tables = &tables});
    EXPECT_TRUE(locate(host, sources)) << said;
    EXPECT_EQ(readText(list), said == 30 ? padded("in a") + "Print(\"In A\n" : "") << said;
  }
}

}  // namespace
