// Source text as tokens: every kind, across joined lines and the borders of blocks, in bounded time and
// memory; and files that cannot be read.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include "host/services/tokenizer.h"
#include "tests/support/test_host.h"

namespace {

using namespace test;
using host::Token;
using host::Tokenizer;
using host::TokenKind;

std::string replaced(std::string text, const std::string& what, const std::string& with) {
  for (size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size())
    text.replace(at, what.size(), with);
  return text;
}

/// One token a line: its line, flags, the first letter of its kind, its text.
std::string listingOf(const fs::path& file, bool insideComment = false) {
  std::string listing;
  Tokenizer tokenizer(file.string());
  for (Token token; tokenizer.next(insideComment, token);) {
    const std::string flags = std::string(token.glued ? "g" : "") + (token.startsLine ? "s" : "");
    listing += std::to_string(token.line) + flags + "?INSCP$"[static_cast<int>(token.kind)];
    const std::string text = replaced(std::string(token.text), "\r\n", "|");
    listing += replaced(replaced(text, "\r", "|"), "\n", "|") + '\n';
  }
  return listing;
}

std::string listingOfText(const std::string& text, bool insideComment = false) {
  const TempFolder folder;
  writeText(folder / "x.h", text);
  return listingOf(folder / "x.h", insideComment);
}

constexpr const char* kEveryKind = R"text(#define AB\
CD  0x1p-3+.5 1'000
  x\
 y \
\
z L"a\"b\\"'\'' 'abcd' 'abcde'
R"d(a
)")d"u8R"()" R"x y(" don't "open \
end

'\x41\101\n' é_1.2.e+3e f(..)''
)text";

constexpr const char* kEveryKindListing = R"text(1sP#
1gIdefine
1IABCD
2N0x1p-3
2gP+
2gN.5
2N1'000
2g$
3sIx
4Iy
6Iz
6IL
6gS"a\"b\\"
6gC'\''
6C'abcd'
6P'
6gIabcde
6gP'
6g$
7sSR"d(a|)")d"
8gSu8R"()"
8IR
8gS"x y("
8Idon
8gP'
8gIt
8P"
8gIopen
9Iend
9g$
10s$
11sC'\x41\101\n'
11Ié_1
11gN.2.e+3e
11If
11gP(
11gP.
11gP.
11gP)
11gP'
11gP'
11g$
)text";

TEST(Tokenizer, DeliversEveryKindWithEveryLineEnd) {
  const std::string text = kEveryKind;
  EXPECT_EQ(listingOfText(text), kEveryKindListing);
  EXPECT_EQ(listingOfText(replaced(text, "\n", "\r\n")), kEveryKindListing);
  EXPECT_EQ(listingOfText("\xEF\xBB\xBF" + replaced(text, "\n", "\r")), kEveryKindListing);
  EXPECT_EQ(listingOfText(text.substr(0, text.size() - 1)), kEveryKindListing)
      << "the end of the file ends the line";
  EXPECT_EQ(listingOfText(std::string("\0 \v\f\t", 5)), "");
  EXPECT_EQ(listingOfText("a\\"), "1sIa\n1gP\\\n1g$\n");
  EXPECT_EQ(listingOfText("a\\\n"), "1sIa\n2g$\n");
  EXPECT_EQ(listingOfText("\\\n\xEF\xBB\xBF"), "2sI\xEF\xBB\xBF\n2g$\n") << "a mark stands at the start only";
  EXPECT_EQ(listingOfText("a\r\\\r\n\nb"), "1sIa\n1g$\n3s$\n4sIb\n4g$\n") << "two line ends, one joined";
  EXPECT_EQ(listingOfText("it's \"R\"(x)\" 1'0", true),
            "1sIit\n1gP'\n1gIs\n1P\"\n1gIR\n1gP\"\n1gP(\n1gIx\n1gP)\n1gP\"\n1N1\n1gP'\n1gN0\n1g$\n");
}

/// The text behind so many blanks, with a line of its own.
void writeBehindBlanks(const fs::path& file, size_t blanks, const std::string& text) {
  writeText(file, std::string(blanks, ' ') + "\n" + text);
}

TEST(Tokenizer, SeesNoBlocks) {
  const TempFolder folder;
  const fs::path file = folder / "x.h";
  const std::string text = replaced(kEveryKind, "\n", "\r\n");
  writeBehindBlanks(file, 0, text);
  const std::string expected = listingOf(file);
  // Where the first block ends, where the window slides first, and where the second block ends then.
  constexpr size_t kFirstBlock = host::SourceWindow::kReach + host::SourceWindow::kBlock;
  for (const size_t border : {host::SourceWindow::kBlock, kFirstBlock, 2 * kFirstBlock}) {
    for (size_t before = 0; before <= text.size(); ++before) {
      writeBehindBlanks(file, border - before, text);
      ASSERT_EQ(listingOf(file), expected) << before << " bytes before " << border;
    }
  }
}

TEST(Tokenizer, CutsWhatIsTooLong) {
  const std::string longest(65536, 'x');
  EXPECT_EQ(listingOfText(longest), "1sI" + longest + "\n1g$\n");
  EXPECT_EQ(listingOfText(longest + "1+"), "1sI" + longest + "\n1gI1\n1gP+\n1g$\n");
  const std::string digits(65535, '1');
  EXPECT_EQ(listingOfText(digits + "e+5"), "1sN" + digits + "\n1gNe+5\n1g$\n");
  const std::string inString(65534, 'a');
  EXPECT_EQ(listingOfText('"' + inString + '"'), "1sS\"" + inString + "\"\n1g$\n");
  EXPECT_EQ(listingOfText('"' + inString + "a\""), "1sP\"\n1gI" + inString + "a\n1gP\"\n1g$\n");
  EXPECT_EQ(listingOfText("R\"(" + longest + ")\"").substr(0, 14), "1sIR\n1gP\"\n1gP(");
}

/// The number of tokens in `times` times `unit`.
size_t countTokens(const fs::path& file, const std::string& unit, size_t times) {
  {
    std::ofstream out(file, std::ios::binary);
    for (size_t i = 0; i < times; ++i) out << unit;
  }
  size_t count = 0;
  Tokenizer tokenizer(file.string());
  for (Token token; tokenizer.next(false, token);) ++count;
  return count;
}

// A search that begins anew at every quote would take hours here.
TEST(Tokenizer, TakesBoundedTimeAndMemory) {
  const TempFolder folder;
  rusage before{}, after{};
  getrusage(RUSAGE_SELF, &before);
  constexpr size_t kMany = 10'000'000;
  const fs::path file = folder / "x.h";
  EXPECT_EQ(countTokens(file, "\\\"", kMany / 2), kMany + 1);
  EXPECT_EQ(countTokens(file, "R\"(", kMany / 4), kMany / 8 * 3 + 1) << "two are R, a string, and a bracket";
  EXPECT_EQ(countTokens(file, "R\"a()", kMany / 8), kMany / 16 * 5 + 1);
  EXPECT_EQ(countTokens(file, "'", kMany), kMany + 1);
  EXPECT_EQ(countTokens(file, "\\\r\n", kMany / 2), 0U);
  EXPECT_EQ(countTokens(file, "a\\\n", kMany), kMany / 65536 + 2);
  getrusage(RUSAGE_SELF, &after);
#ifndef __SANITIZE_THREAD__  // which keeps a multiple of what is used
  EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 16 * 1024) << "kilobytes";
#endif
}

/// The descriptor under which this process has opened `file`.
int descriptorOf(const fs::path& file) {
  for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
    std::error_code ignored;
    if (fs::read_symlink(entry.path(), ignored) == fs::canonical(file))
      return std::stoi(entry.path().filename());
  }
  return -1;
}

TEST(Tokenizer, FilesThatCannotBeReadAreNamedAndCounted) {
  TestHost running;
  const HostTables t = host::hostTables();
  HostFileName* name = t.fileNames->FileNameInit();
  const auto open = [&](const fs::path& path) {
    t.fileNames->FileNameFromCString(name, path.c_str());
    return t.text->TokenizeFile(name);
  };
  const fs::path file = running.folder() / "big.h";
  writeText(file, std::string(1'000'000, ';'));
  EXPECT_EQ(open(running.folder().path()), nullptr);
  EXPECT_EQ(open(running.folder() / "none.h"), nullptr);
  EXPECT_EQ(open("/proc/self/mem"), nullptr);

  HostTokenizer* tokenizer = open(file);
  ASSERT_NE(tokenizer, nullptr);
  HostToken token{};
  ASSERT_TRUE(t.text->TokenizerNext(tokenizer, 0, &token));
  EXPECT_EQ(token.kind, HOST_TOKEN_PUNCTUATION);
  EXPECT_EQ(token.flags, HOST_TOKEN_STARTS_LINE);
  EXPECT_EQ(std::string(token.text, static_cast<size_t>(token.length)), ";");
  const int writeOnly = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
  ASSERT_GE(::dup2(writeOnly, descriptorOf(file)), 0) << "from here on reading fails";
  ::close(writeOnly);
  int count = 0;
  while (t.text->TokenizerNext(tokenizer, 0, &token)) ++count;
  EXPECT_LT(count, 999'999);
  EXPECT_FALSE(t.text->TokenizerNext(tokenizer, 0, &token));
  t.text->TokenizerFree(tokenizer);
  t.fileNames->FileNameFree(name);

  running.services().console.flush();
  const std::string folder = running.folder().path().string();
  EXPECT_EQ(running.view().errors,
            (std::vector<std::string>{folder + ": cannot be read: Is a directory",
                                      folder + "/none.h: cannot be read: No such file or directory",
                                      "/proc/self/mem: cannot be read: Input/output error",
                                      folder + "/big.h: cannot be read: Bad file descriptor"}));
  EXPECT_EQ(running.services().runLog.filesFailed(), 4);
}

}  // namespace
