// Diagnostics of the module: the host path on the real host, the core path on standard output, both under a
// debugger.
#include <gtest/gtest.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <ctime>
#include <numeric>
#include <regex>
#include <thread>

#include "core.framework/source/ostrak/configuration.h"
#include "core.framework/source/ostrak/diagnostics.h"
#include "tests/support/process.h"
#include "tests/support/test_host.h"
#include "vesta.framework/diagnostics.h"
#include "vesta.framework/host_access.h"

namespace {

using namespace test;
using Texts = std::vector<std::string>;

const std::string kFormatterReport = "CRITICAL: Stop [TIME frameworks/vesta.framework/diagnostics.cpp L43]";
const std::string kHostPrintReport =
    "CRITICAL: Stop [TIME frameworks/vesta.framework/contract/host_tables.h L1352]";

/// What came through the slot, before the host made lines of it.
Texts g_pieces;

int32_t KeepPiece(const char* format, const char* text) {
  EXPECT_STREQ(format, "%s");
  g_pieces.emplace_back(text);
  return host::hostTables().messages->HostDebugPrint(format, text);
}

std::string withoutTime(const std::string& text) {
  return std::regex_replace(text, std::regex(R"(\[\d\d:\d\d:\d\d )"), "[TIME ");
}

/// The diagnostics as they are linked into this program, on the real host.
class Diagnostics : public testing::Test {
 protected:
  Diagnostics() { vesta::KeepHostTables(&tables); }
  ~Diagnostics() override {
    vesta::FreeHostTables();
    vesta::g_outputMask = vesta::kInitialOutputMask;
  }

  /// Counts pieces from now on; for one thread.
  void keepPieces() {
    g_pieces.clear();
    vesta::FreeHostTables();
    messages.HostDebugPrint = KeepPiece;
    tables.messages = &messages;
    vesta::KeepHostTables(&tables);
  }
  host::Console& console() { return host.services().console; }
  /// The error lines that were shown since it was last asked.
  Texts lines() {
    console().flush();
    Texts shown = std::exchange(view.errors, {});
    for (std::string& line : shown) line = withoutTime(line);
    return shown;
  }

  TempFolder folder;
  RecordingView view;
  host::HeadlessHost host{{VESTA_TEST_APP_DIR, folder.path().string(), false}, view};
  HostTables tables = host::hostTables();
  HostMessagesTable messages = *tables.messages;
};

TEST_F(Diagnostics, FlagsSayWhatStandsAroundTheText) {
  struct Case {
    uint32_t flags;
    Texts shown;
  };
  const std::vector<Case> cases = {
      {1, {"text"}},
      {2, {"WARNING: text"}},
      {3, {"WARNING: text"}},
      {4, {"CRITICAL: text"}},
      {5, {"CRITICAL: text"}},
      {6, {"WARNING: text"}},
      {7, {"WARNING: text"}},
      {0, {}},
      {8, {}},
      {1073741832, {}},
      {536870912, {}},
      {1073741825, {"text [TIME a\\b/c.cpp L-7]"}},
      {1073741828, {"CRITICAL: text [TIME a\\b/c.cpp L-7]"}},
  };
  for (const Case& test : cases) {
    vesta::DebugOutput(test.flags, "text", -7, "a\\b/c.cpp");
    EXPECT_EQ(lines(), test.shown) << test.flags;
  }
  vesta::DebugOutput(536870913, "one, ", 0, "");
  EXPECT_EQ(lines(), Texts{});
  vesta::DebugOutput(536870912 | 1073741824 | 2, "two", 2, "f");
  vesta::DebugOutput(1, ", 100%s", 0, "");
  EXPECT_EQ(lines(), Texts{"one, WARNING: two [TIME f L2], 100%s"});

  keepPieces();
  vesta::DebugOutput(1073741828, "text", 1, nullptr);
  vesta::DebugOutput(1, "text", 1, nullptr);
  ASSERT_EQ(g_pieces.size(), 6U);
  g_pieces[2] = withoutTime(g_pieces[2]);
  EXPECT_EQ(g_pieces, (Texts{"CRITICAL: ", "text", " [TIME (null) L1]", "\n", "text", "\n"}));
}

TEST_F(Diagnostics, TheTimeIsLocal) {
  const auto clock = [] {
    char text[16];
    const std::time_t now = std::time(nullptr);
    std::strftime(text, sizeof text, "%H:%M:%S", std::localtime(&now));
    return std::string(text);
  };
  setenv("TZ", "XYZ-5:30", 1);
  tzset();
  const std::string before = clock();
  vesta::DebugOutput(1073741825, "", 1, "f");
  const std::string after = clock();
  unsetenv("TZ");
  tzset();
  ASSERT_EQ(view.errors.size(), 1U);
  EXPECT_TRUE(view.errors[0] == " [" + before + " f L1]" || view.errors[0] == " [" + after + " f L1]")
      << view.errors[0];
}

TEST_F(Diagnostics, TheMaskChoosesLevels) {
  vesta::g_outputMask = 2;
  for (const uint32_t flags : {1U, 2U, 4U, 6U}) vesta::DebugOutput(flags, "text", 0, "");
  EXPECT_EQ(lines(), (Texts{"WARNING: text", "WARNING: text"}));
  char buffer[4];
  EXPECT_EQ(vesta::FormatBounded(buffer, 4, "%d", 12345), 3);
  EXPECT_STREQ(buffer, "123");
  vesta::CriticalStop("text", "f", 1);
  EXPECT_EQ(lines(), Texts{}) << "critical is not in the mask";
  vesta::g_outputMask = 4;
  vesta::FormatBounded(buffer, 4, "%d", 12345);
  vesta::CriticalStop("text", "dir/f.cpp", 12);
  EXPECT_EQ(lines(), (Texts{kFormatterReport, "CRITICAL: text [TIME dir/f.cpp L12]",
                            "CRITICAL: Stop [TIME dir/f.cpp L12]"}));
}

TEST_F(Diagnostics, HostPrintfCutsAndReportsWhatIsTooLong) {
  keepPieces();
  for (const size_t length : {0U, 2046U, 2047U, 2048U, 2049U, 3000U}) {
    g_pieces.clear();
    std::string text(length, 'x');
    std::iota(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(std::min<size_t>(length, 90)), '!');
    EXPECT_EQ(vesta::HostPrintf("%s", text.c_str()), 1) << length;
    const bool tooLong = length > 2048;
    ASSERT_EQ(g_pieces.size(), tooLong ? 5U : 1U) << length;
    EXPECT_EQ(g_pieces.back(), text.substr(0, 2047)) << length;
    vesta::HostPrintf("\n");
    const Texts shown = lines();
    ASSERT_EQ(shown.size(), tooLong ? 2U : 1U) << length;
    EXPECT_EQ(shown.front(), tooLong ? kHostPrintReport : text.substr(0, 2047)) << length;
  }
  // A message goes through it as well.
  vesta::DebugOutput(2, std::string(3000, 'x').c_str(), 0, "");
  EXPECT_EQ(lines(), (Texts{"WARNING: " + kHostPrintReport, std::string(2047, 'x')}));
  vesta::DebugOutput(1073741825, "text", 0, std::string(2000, 'f').c_str());
  const Texts shown = lines();
  ASSERT_EQ(shown.size(), 2U);
  EXPECT_EQ(shown[0], "text" + kFormatterReport);
  EXPECT_EQ(shown[1], withoutTime(shown[1]));
  EXPECT_EQ(shown[1].size(), std::string(" [TIME ").size() + 1023 - std::string(" [00:00:00 ").size());
}

TEST_F(Diagnostics, FormatBoundedStaysInItsBuffer) {
  struct Case {
    int32_t size;
    const char* text;
    int32_t answer;
    std::string buffer;  ///< "." where nothing may be written, "0" for a zero
    bool reported;
  };
  const std::vector<Case> cases = {
      {-1, "abc", 0, "......", false}, {0, "abc", 0, "......", false},  {1, "", 0, "0.....", false},
      {1, "a", 0, "0.....", false},    {1, "ab", 0, "0.....", true},    {4, "abc", 3, "abc0..", false},
      {4, "abcd", 3, "abc0..", false}, {4, "abcde", 3, "abc0..", true}, {6, "ab", 2, "ab0...", false},
  };
  for (const Case& test : cases) {
    std::string buffer(6, '.');
    EXPECT_EQ(vesta::FormatBounded(buffer.data(), test.size, "%s", test.text), test.answer) << test.text;
    std::replace(buffer.begin(), buffer.end(), '\0', '0');
    EXPECT_EQ(buffer, test.buffer) << test.size << test.text;
    EXPECT_EQ(lines(), test.reported ? Texts{kFormatterReport} : Texts{}) << test.size << test.text;
  }
}

TEST_F(Diagnostics, AFormatterThatFailsLeavesNoGarbage) {
  const wchar_t invalid[] = {L'a', static_cast<wchar_t>(0x7FFFFFFF), 0};
  std::string buffer(8, '.');
  EXPECT_EQ(vesta::FormatBounded(buffer.data(), 7, "%d%ls", 12, invalid), 6);
  EXPECT_EQ(buffer, std::string("12\0\0\0\0\0.", 8));
  EXPECT_EQ(vesta::HostPrintf("%d%ls\n", 12, invalid), 1);
  vesta::HostPrintf("\n");
  EXPECT_EQ(lines(), (Texts{kFormatterReport, kHostPrintReport, "12"}));
}

TEST(DiagnosticsWithoutHost, AnswerZero) {
  EXPECT_EQ(vesta::HostPrintf("%d\n", 1), 0);
  vesta::CriticalStop("text", "f", 1);
}

// ---- what the host makes of the pieces ----

TEST_F(Diagnostics, TheHostShowsWholeLines) {
  console().printErrorPiece("a\n\nb");
  EXPECT_EQ(lines(), (Texts{"a", ""}));
  std::thread([&] {
    console().printErrorPiece("other");
    console().printErrorPiece(" line\nleft");
  }).join();
  console().printErrorPiece("c\n");
  EXPECT_EQ(lines(), (Texts{"other line", "bc"}));
  console().printErrorPiece("main");
  console().finish();
  Texts shown = lines();
  std::sort(shown.begin(), shown.end());
  EXPECT_EQ(shown, (Texts{"left", "main"}));
  console().finish();
  EXPECT_EQ(lines(), Texts{});
}

TEST_F(Diagnostics, TheHostCollectsWithinBounds) {
  const std::string longest(host::kLongestErrorLine, 'x');
  console().printErrorPiece(longest);
  EXPECT_EQ(lines(), Texts{});
  console().printErrorPiece("\n" + longest + "y\n");
  EXPECT_EQ(lines(), (Texts{longest, longest, "y"}));
  // Threads that end in the middle of a line.
  for (int i = 0; i < 200; ++i) {
    std::thread([&] { console().printErrorPiece("left"); }).join();
  }
  console().printErrorPiece("b\n");
  console().finish();
  const Texts shown = lines();
  size_t total = 0;
  for (const std::string& line : shown) total += line.size();
  EXPECT_EQ(total, 200 * 4 + 1U);
}

TEST_F(Diagnostics, AWorkersOpenLineIsShownWhenItEnded) {
  const HostThreadCallbacks callbacks = {
      sizeof(HostThreadCallbacks),
      [](void*) { vesta::HostPrintf("left"); },
      [](void*) -> HostBool { return 0; },
      [](void*) { return "worker"; },
  };
  HostThread* thread = tables.threads->ThreadCreate(&callbacks, this);
  tables.threads->ThreadStart(thread, 0, 0);
  tables.threads->ThreadEnd(thread, 1);
  EXPECT_EQ(lines(), Texts{"left"});
  tables.threads->ThreadFree(thread);
}

TEST_F(Diagnostics, ThreadsDoNotMixIntoEachOthersLines) {
  constexpr int kMessages = 200;
  testing::internal::CaptureStdout();
  const auto talk = [](const char* text) {
    for (int i = 0; i < kMessages; ++i) {
      ostrak::CoreDebugOutput(1073741826, text, 3, "f.cpp");
      vesta::DebugOutput(1073741828, text, 3, "f.cpp");
    }
  };
  std::thread first(talk, "first");
  std::thread second(talk, "second");
  first.join();
  second.join();
  std::map<std::string, int> shown;
  for (const std::string& line : lines()) ++shown[line];
  EXPECT_EQ(shown, (std::map<std::string, int>{{"CRITICAL: first [TIME f.cpp L3]", kMessages},
                                               {"CRITICAL: second [TIME f.cpp L3]", kMessages}}));
  std::istringstream written(testing::internal::GetCapturedStdout());
  shown.clear();
  for (std::string line; std::getline(written, line);) ++shown[line];
  EXPECT_EQ(shown, (std::map<std::string, int>{{"WARNING: first [f.cpp(3)]", kMessages},
                                               {"WARNING: second [f.cpp(3)]", kMessages}}));
}

// ---- the core path ----

template <class Action>
std::string written(Action&& action) {
  testing::internal::CaptureStdout();
  action();
  std::fflush(stdout);
  return testing::internal::GetCapturedStdout();
}

TEST(CoreDiagnostics, WriteOnePieceToStandardOutput) {
  struct Case {
    uint32_t flags;
    const char* file;
    std::string text;
  };
  const std::vector<Case> cases = {
      {1, "f", "100%s\n"},
      {2, "f", "WARNING: 100%s\n"},
      {4, "f", "CRITICAL: 100%s\n"},
      {6, "f", "WARNING: 100%s\n"},
      {8, "f", ""},
      {536870912 | 4, "f", "CRITICAL: 100%s"},
      {1073741825, "dir/sub\\f.cpp", "100%s [sub\\f.cpp(-3)]\n"},
      {1073741825, "C:\\dir\\f.cpp", "100%s [f.cpp(-3)]\n"},
      {1073741828 | 536870912, "f.cpp", "CRITICAL: 100%s [f.cpp(-3)]"},
  };
  for (const Case& test : cases) {
    EXPECT_EQ(written([&] { ostrak::CoreDebugOutput(test.flags, "100%s", -3, test.file); }), test.text);
  }
  for (const size_t length : {2046U, 2047U, 2048U, 5000000U}) {
    const std::string text(length, 'x');
    EXPECT_EQ(written([&] { ostrak::CoreDebugOutput(1, text.c_str(), 0, ""); }), text + "\n") << length;
  }
  const std::string file(2000, 'f');
  EXPECT_EQ(written([&] { ostrak::CoreDebugOutput(1073741825, "text", 3, file.c_str()); }),
            "text [" + file.substr(0, 1021) + "\n");
  ostrak::SuppressOutput(true);
  EXPECT_EQ(written([] { ostrak::CoreDebugOutput(4, "text", 0, ""); }), "");
  ostrak::SuppressOutput(false);
  EXPECT_EQ(written([] { ostrak::CoreDebugOutput(4, "text", 0, ""); }), "CRITICAL: text\n");
}

TEST(CoreDiagnostics, ConsoleOutputIsUtf8) {
  EXPECT_EQ(written([] { ostrak::ConsoleOutput(u"a\u00e9\u20ac\U0001F600 100%s"); }),
            "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80 100%s");
  constexpr char16_t kLone[] = {0xD800, u'a', 0xDC00, 0xDBFF, 0};
  EXPECT_EQ(written([&] { ostrak::ConsoleOutput(kLone); }),
            "\xEF\xBF\xBD"
            "a\xEF\xBF\xBD\xEF\xBF\xBD");
  std::string expected;
  for (int i = 0; i < 1000; ++i) expected += "\xE2\x82\xAC";
  EXPECT_EQ(written([] { ostrak::ConsoleOutput(std::u16string(1000, u'\u20ac').c_str()); }), expected);
  EXPECT_TRUE(
      std::regex_match(written([] { ostrak::ConsoleOutput(nullptr); }),
                       std::regex("CRITICAL: Console output failed \\[diagnostics.cpp\\(\\d+\\)\\]\n")));
}

uint32_t g_setting = 0;
int g_asked = 0;
std::string g_served;
constexpr ostrak::OutputService kService = {
    [] {
      ++g_asked;
      return g_setting;
    },
    [](const char* message) { g_served += std::string("<") + message + ">"; },
};

TEST(CoreDiagnostics, AServiceTakesMessagesAndSetsTheMask) {
  // In a process of its own, since a final mask stays.
  const auto play = [] {
    const auto say = [](const char* text) {
      ostrak::CoreDebugOutput(4, text, 0, "");
      ostrak::CoreDebugOutput(536870914, text, 0, "");
    };
    say("before");
    ostrak::SetOutputService(&kService);
    g_setting = 536870912 | 2;
    say("warnings");
    g_setting = 536870912;
    say("nothing");
    ostrak::SetOutputService(nullptr);
    say("kept");
    ostrak::SetOutputService(&kService);
    g_setting = 4;
    say("final");
    g_setting = 7;
    say("still");
    ostrak::ConsoleOutput(u"console");
    std::printf("|%d|%s", g_asked, g_served.c_str());
    std::fflush(stdout);
    std::_Exit(0);
  };
  const std::string said = written([&] { EXPECT_EXIT(play(), testing::ExitedWithCode(0), ""); });
  EXPECT_EQ(said,
            "CRITICAL: before\nWARNING: before"
            "|5|<WARNING: warnings><CRITICAL: final\n><CRITICAL: still\n><console>");
}

// ---- a debugger ----

/// Run by the test below in a process of its own, under a debugger from its load on.
TEST(UnderADebugger, DISABLED_Stops) {
  char buffer[4];
  const std::string tooLong(3000, 'x');
  const auto misbehave = [&] {
    vesta::CriticalStop("text", "f", 1);
    vesta::FormatBounded(buffer, 4, "%d", 12345);
    vesta::HostPrintf("%s", tooLong.c_str());
    ostrak::ConsoleOutput(nullptr);
  };
  ostrak::CoreDebugOutput(1073741828, "text", 3, "dir/f.cpp");
  misbehave();
  vesta::g_debugBreak = false;
  g_enableDebugBreak = false;
  misbehave();
}

constexpr int kNoTracing = 77;

/// Lives a traced process through; answers how often it stopped by its own wish. `status` is how it ended.
int countBreaks(pid_t child, int& status) {
  int breaks = 0;
  while (waitpid(child, &status, 0) == child && WIFSTOPPED(status)) {
    const int signal = WSTOPSIG(status);
    siginfo_t info{};
    ptrace(PTRACE_GETSIGINFO, child, nullptr, &info);
    // The start of the program stops as well, without anybody having sent it.
    if (signal == SIGTRAP && info.si_code == SI_TKILL) ++breaks;
    ptrace(PTRACE_CONT, child, nullptr, signal == SIGTRAP ? 0 : signal);
  }
  return breaks;
}

TEST(Debugger, StopsWhereTheSwitchIsOn) {
  setenv("ASAN_OPTIONS", "detect_leaks=0", 1);  // leaks cannot be looked for under a debugger
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const pid_t child = fork();
  if (child == 0) {
    dup2(ends[1], STDOUT_FILENO);
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(kNoTracing);
    execl("/proc/self/exe", "vesta_tests", "--gtest_filter=UnderADebugger.*",
          "--gtest_also_run_disabled_tests", nullptr);
    _exit(1);
  }
  close(ends[1]);
  int status = 0;
  const int breaks = countBreaks(child, status);
  std::string said(4096, '\0');
  said.resize(static_cast<size_t>(std::max<ssize_t>(read(ends[0], said.data(), said.size()), 0)));
  close(ends[0]);
  unsetenv("ASAN_OPTIONS");
  if (WIFEXITED(status) && WEXITSTATUS(status) == kNoTracing) GTEST_SKIP() << "tracing is forbidden here";
  ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << said;
  EXPECT_EQ(breaks, 4) << said;
  EXPECT_NE(said.find("\ndir/f.cpp(3): CRITICAL: text\n"), std::string::npos) << said;
}

TEST(ConfigurationRegistry, IsFullAt256AndStillGivesDefaults) {
  auto& registry = ostrak::ConfigurationRegistry::Get();
  const auto storage = std::make_unique<bool[]>(300);
  int registered = registry.count();
  for (int i = 0; registered < ostrak::ConfigurationRegistry::kCapacity; ++i, ++registered) {
    EXPECT_FALSE(ostrak::RegisterConfigurationValue("g_some", &storage[i], false, 1, "help"));
  }
  EXPECT_EQ(registry.count(), 256);
  EXPECT_TRUE(ostrak::RegisterConfigurationValue("g_oneTooMany", &storage[299], true, 1, "help"));
  EXPECT_EQ(registry.count(), 256);
  EXPECT_TRUE(storage[299]);
  EXPECT_STREQ(registry.entry(255).name, "g_some");
}

}  // namespace
