// Both paths of the module's diagnostics, byte by byte, and in a debugger.
#include "vesta.framework/diagnostics.h"

#include <gtest/gtest.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cwchar>
#include <regex>
#include <thread>

#include "core.framework/source/ostrak/configuration.h"
#include "core.framework/source/ostrak/diagnostics.h"
#include "host/headless/headless_host.h"
#include "host/tables/areas.h"
#include "tests/support/temp_folder.h"
#include "tests/support/test_host.h"
#include "vesta.framework/host_access.h"

namespace {

using namespace test;
using namespace vesta;

/// What the module hands to the host's debug print, whole and by piece.
std::vector<std::string> g_pieces;

int32_t keepPiece(const char* format, const char* text) {
  EXPECT_STREQ(format, "%s");
  g_pieces.emplace_back(text);
  return 7;
}

std::string printed() {
  std::string all;
  for (const std::string& piece : std::exchange(g_pieces, {})) all += piece;
  return all;
}

/// Times of day become "TIME".
std::string timeless(const std::string& text) {
  return std::regex_replace(text, std::regex("[0-9]{2}:[0-9]{2}:[0-9]{2}"), "TIME");
}

class Diagnostics : public testing::Test {
 protected:
  Diagnostics() {
    messages_.HostDebugPrint = keepPiece;
    tables_.messages = &messages_;
    KeepHostTables(&tables_);
    g_pieces.clear();
  }
  ~Diagnostics() override {
    g_outputMask = kFirstOutputMask;
    ostrak::SetOutputService(nullptr);
    ostrak::g_suppressOutput = false;
    if (g_hostTables != nullptr) FreeHostTables();
  }

  const TempFolder folder_;
  RecordingView view_;
  host::HeadlessHost host_{{VESTA_TEST_APP_DIR, folder_.path().string(), false}, view_};
  HostTables tables_ = host::hostTables();
  HostMessagesTable messages_ = *tables_.messages;
};

constexpr const char* kFormatterReport =
    "CRITICAL: Stop [TIME frameworks/vesta.framework/diagnostics.cpp L43]\n";
constexpr const char* kPrinterReport =
    "CRITICAL: Stop [TIME frameworks/vesta.framework/contract/host_tables.h L1352]\n";

TEST_F(Diagnostics, HostPathPrintsLevelsLocationsAndLineEnds) {
  struct Case {
    uint32_t flags;
    std::string text;
  };
  const std::vector<Case> cases = {{1, "text\n"},
                                   {2, "WARNING: text\n"},
                                   {4, "CRITICAL: text\n"},
                                   {6, "WARNING: text\n"},
                                   {5, "CRITICAL: text\n"},
                                   {536870913, "text"},
                                   {1073741825, "text [TIME a/b\\c.cpp L12]\n"},
                                   {1610612740, "CRITICAL: text [TIME a/b\\c.cpp L12]"},
                                   {0, ""},
                                   {8, ""},
                                   {1610612736, ""}};
  for (const Case& test : cases) {
    DebugOutput(test.flags, "text", 12, "a/b\\c.cpp");
    EXPECT_EQ(timeless(printed()), test.text) << test.flags;
  }
  DebugOutput(1073741828, "text", 1, "f");
  EXPECT_EQ(g_pieces.size(), 4U) << "prefix, text, suffix and line end are pieces of their own";
  g_pieces.clear();
  g_outputMask = kWarning;
  DebugOutput(kCritical, "text", 1, "f");
  EXPECT_EQ(printed(), "");
  DebugOutput(kCritical | kWarning, "%s%n", 1, "f");
  EXPECT_EQ(printed(), "WARNING: %s%n\n") << "a text is no format";
}

TEST_F(Diagnostics, HostPrintfCutsAndReports) {
  for (const size_t length : {0, 1, 2046, 2047, 2048, 2049, 3000, 100000}) {
    const std::string text(length, 'x');
    EXPECT_EQ(HostPrintf("%s", text.c_str()), 7);
    const std::string report = length > 2048 ? kPrinterReport : "";
    EXPECT_EQ(timeless(printed()), report + text.substr(0, 2047)) << length;
  }
  DebugOutput(kWarning, std::string(3000, 'y').c_str(), 1, "f");
  EXPECT_EQ(timeless(printed()), "WARNING: " + std::string(kPrinterReport) + std::string(2047, 'y') + "\n");
  g_outputMask = kDiagnostic;
  EXPECT_EQ(HostPrintf("%s", std::string(3000, 'x').c_str()), 7);
  EXPECT_EQ(printed(), std::string(2047, 'x')) << "the report is not wanted, the text is";
  FreeHostTables();
  EXPECT_EQ(HostPrintf("x"), 0) << "no host";
}

TEST_F(Diagnostics, FormatBoundedNeverRunsPastItsBuffer) {
  char buffer[16];
  const auto format = [&](int32_t size, const char* text) {
    std::fill_n(buffer, sizeof buffer, '#');
    const int32_t written = FormatBounded(buffer, size, "%s", text);
    for (int32_t i = std::max(size, 0); i < 16; ++i) EXPECT_EQ(buffer[i], '#') << "behind the buffer";
    return std::to_string(written) + (size > 0 ? " " + std::string(buffer) : "");
  };
  EXPECT_EQ(format(-1, "abc"), "0");
  EXPECT_EQ(format(0, "abc"), "0");
  EXPECT_EQ(format(4, "abc"), "3 abc");
  EXPECT_EQ(format(1, ""), "0 ");
  EXPECT_EQ(printed(), "");
  EXPECT_EQ(format(3, "abc"), "2 ab") << "without its zero it would fit: cut, not reported";
  EXPECT_EQ(format(1, "a"), "0 ");
  EXPECT_EQ(printed(), "");
  EXPECT_EQ(format(2, "abc"), "1 a");
  EXPECT_EQ(g_pieces.size(), 4U);
  EXPECT_EQ(timeless(printed()), kFormatterReport);
  const wchar_t invalid[] = {L'a', static_cast<wchar_t>(0x7FFFFFFF), 0};
  std::fill_n(buffer, sizeof buffer, '#');
  EXPECT_EQ(FormatBounded(buffer, 8, "%ls", invalid), 7);
  EXPECT_EQ(timeless(printed()), kFormatterReport);
  EXPECT_LT(std::string(buffer, 8).find('\0'), 8U);
  g_outputMask = kWarning;
  EXPECT_EQ(format(2, "abc"), "1 a");
  EXPECT_EQ(printed(), "");
}

TEST_F(Diagnostics, CriticalStopNamesItsSourceAndGoesOn) {
  CriticalStop("too many", "modules\\x", 5);
  EXPECT_EQ(timeless(printed()),
            "CRITICAL: too many [TIME modules\\x L5]\nCRITICAL: Stop [TIME modules\\x L5]\n");
}

TEST_F(Diagnostics, TheHostPutsPiecesTogether) {
  messages_ = *host::hostTables().messages;
  FreeHostTables();
  KeepHostTables(&tables_);
  DebugOutput(kWarning | kNoLineEnd, "one ", 1, "f");
  EXPECT_TRUE(view_.errors.empty());
  std::thread worker([] {
    for (int i = 0; i < 200; ++i) DebugOutput(kCritical | kLocation, "other", 9, "file");
  });
  for (int i = 0; i < 200; ++i) DebugOutput(kDiagnostic, "line", 1, "f");
  worker.join();
  DebugOutput(kDiagnostic | kNoLineEnd, "unended", 1, "f");
  host_.services().console.endErrorPieces();
  size_t others = 0;
  for (const std::string& line : view_.errors) {
    if (timeless(line) == "CRITICAL: other [TIME file L9]") {
      ++others;
    } else {
      EXPECT_TRUE(line == "line" || line == "WARNING: one line" || line == "unended") << line;
    }
  }
  EXPECT_EQ(others, 200U);
  EXPECT_EQ(view_.errors.size(), 401U);
}

// ---- the core path ----

std::string g_served;
uint32_t g_servedMask = 0;
uint32_t serveMask() { return g_servedMask; }
void serve(const char* message) { g_served += message; }
constexpr ostrak::OutputService kService{serveMask, serve};

std::string coreOutput(uint32_t flags, const std::string& text, const char* file = "some/where\\f.cpp") {
  testing::internal::CaptureStdout();
  ostrak::CoreDebugOutput(flags, text.c_str(), 12, file);
  std::fflush(stdout);
  return testing::internal::GetCapturedStdout();
}

TEST_F(Diagnostics, CorePathWritesWholeMessages) {
  EXPECT_EQ(coreOutput(1, "text"), "text\n");
  EXPECT_EQ(coreOutput(6, "text"), "WARNING: text\n");
  EXPECT_EQ(coreOutput(4 | 536870912, "text"), "CRITICAL: text");
  EXPECT_EQ(coreOutput(8, "text"), "");
  EXPECT_EQ(coreOutput(1073741828, "text"), "CRITICAL: text [where\\f.cpp(12)]\n");
  EXPECT_EQ(coreOutput(1073741828, "text", "a\\b\\f.cpp"), "CRITICAL: text [f.cpp(12)]\n");
  EXPECT_EQ(coreOutput(1073741828, "text", "f.cpp"), "CRITICAL: text [f.cpp(12)]\n");
  for (const size_t length : {2045, 2046, 2047, 2048, 100000}) {
    const std::string text(length, 'x');
    EXPECT_EQ(coreOutput(1, text), text + "\n") << length;
  }
  const std::string longFile(3000, 'f');
  EXPECT_EQ(coreOutput(1073741825, "text", longFile.c_str()),
            "text" + (" [" + longFile).substr(0, 1023) + "\n");
  EXPECT_EQ(timeless(printed()), kFormatterReport) << "the file's name was cut";
  ostrak::g_suppressOutput = true;
  EXPECT_EQ(coreOutput(4, "text"), "");
}

TEST_F(Diagnostics, CoreConsoleWritesStringsAndReportsNone) {
  const auto output = [](const char16_t* text, size_t length) {
    testing::internal::CaptureStdout();
    ostrak::ConsoleOutput(text, length);
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
  };
  EXPECT_EQ(output(u"a\u00e9\u20ac\U0001F600", 5), "a\u00e9\u20ac\U0001F600");
  const char16_t lone[] = {0xD800, u'x'};
  EXPECT_EQ(output(lone, 2), "\xED\xA0\x80x");
  EXPECT_EQ(output(std::u16string(5000, u'\u20ac').c_str(), 5000).size(), 15000U);
  EXPECT_TRUE(std::regex_match(
      output(nullptr, 0), std::regex("CRITICAL: Console output failed \\[diagnostics.cpp\\([0-9]+\\)\\]\n")));
}

TEST_F(Diagnostics, TheServicesMaskIsFetchedUntilItIsFinal) {
  EXPECT_EQ(coreOutput(1, "before"), "before\n");
  ostrak::SetOutputService(&kService);
  const auto served = [](uint32_t flags) {
    g_served.clear();
    ostrak::CoreDebugOutput(flags, "x", 1, "f");
    return g_served;
  };
  g_servedMask = kWarning | kNoLineEnd;
  EXPECT_EQ(served(1), "");
  EXPECT_EQ(served(2), "WARNING: x\n");
  g_servedMask = kDiagnostic;
  EXPECT_EQ(served(1), "x\n") << "the mask before was provisional";
  g_servedMask = kCritical;
  EXPECT_EQ(served(4), "") << "this one is final";
  EXPECT_EQ(served(1), "x\n");
}

TEST_F(Diagnostics, ThreadsShareTheCorePath) {
  testing::internal::CaptureStdout();
  const auto write = [] {
    for (int i = 0; i < 300; ++i) ostrak::CoreDebugOutput(kDiagnostic, "whole line", 1, "f");
  };
  std::thread worker(write);
  write();
  worker.join();
  std::fflush(stdout);
  std::string expected;
  for (int i = 0; i < 600; ++i) expected += "whole line\n";
  EXPECT_EQ(testing::internal::GetCapturedStdout(), expected);
}

TEST(ConfigurationRegistry, KeepsTwoHundredAndFiftySixValues) {
  auto& registry = ostrak::ConfigurationRegistry::Get();
  EXPECT_STREQ(registry.entry(0).name, "g_enableDebugBreak");
  EXPECT_STREQ(registry.entry(0).help, "enable debug breaks (when debugger is attached)");
  EXPECT_STREQ(registry.entry(1).help, "enable parallel execution of all ParallelFor loops");
  EXPECT_EQ(registry.entry(1).type, 1U);
  EXPECT_EQ(registry.entry(1).state, 0U);
  bool storage = false;
  while (registry.count() < 256) {
    EXPECT_TRUE(ostrak::RegisterConfigurationValue("g_more", &storage, true, 1, "help"));
  }
  EXPECT_FALSE(storage) << "the caller stores the default";
  EXPECT_TRUE(ostrak::RegisterConfigurationValue("g_last", &storage, true, 1, "help"));
  EXPECT_TRUE(storage) << "without an entry the default goes straight there";
  EXPECT_EQ(registry.count(), 256);
  EXPECT_STREQ(registry.entry(255).name, "g_more");
}

// ---- in a debugger ----

/// Runs `body` in a child that is traced; answers the signals it stopped with, until its end.
template <class Body>
std::vector<int> signalsOf(Body body) {
  const pid_t child = fork();
  if (child == 0) {
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(99);
    raise(SIGSTOP);
    body();
    _exit(0);
  }
  std::vector<int> signals;
  int status = 0;
  while (waitpid(child, &status, 0) == child && WIFSTOPPED(status)) {
    signals.push_back(WSTOPSIG(status));
    ptrace(PTRACE_CONT, child, nullptr, nullptr);
  }
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) signals.push_back(-WEXITSTATUS(status));
  return signals;
}

TEST_F(Diagnostics, BreaksIntoADebuggerOnlyWhenThereIsOne) {
  const auto signals = signalsOf([] {
    if (!IsDebuggerAttached()) _exit(1);
    BreakIntoDebugger();
  });
  if (signals == std::vector<int>{-99}) GTEST_SKIP() << "tracing is forbidden here";
  EXPECT_EQ(signals, (std::vector<int>{SIGSTOP, SIGTRAP}));
  EXPECT_FALSE(IsDebuggerAttached());
  EXPECT_EQ(signalsOf([] { CriticalStop("x", "f", 1); }), (std::vector<int>{SIGSTOP}))
      << "none was attached when the module was loaded";
}

}  // namespace
