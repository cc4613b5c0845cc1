// Crashes of the whole program: how it ends, and what its report tells.
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <regex>

#include "host/services/work_notes.h"
#include "tests/support/program_test.h"

namespace {

using namespace test;

bool has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

bool matches(const std::string& text, const std::string& pattern) {
  return std::regex_search(text, std::regex(pattern));
}

std::string outputOf(const std::string& command) {
  std::string text;
  std::FILE* pipe = popen(command.c_str(), "r");
  for (int c; (c = std::fgetc(pipe)) != EOF;) text.push_back(static_cast<char>(c));
  pclose(pipe);
  return text;
}

TEST(WorkNotes, TheNewestStandsUntilItsOwnScopeEnds) {
  const auto document = [] {
    std::string text(host::kLongestNote, '?');
    text.resize(host::readNote(host::Note::Document, text.data()));
    return text;
  };
  const std::string longName = std::string(host::kLongestNote, 'x') + "/scene.vesta";
  auto first = std::make_unique<host::NoteScope>(host::Note::Document, "first");
  {
    const host::NoteScope second(host::Note::Document, longName);
    EXPECT_EQ(document(), longName.substr(longName.size() - host::kLongestNote));
    first.reset();
    EXPECT_EQ(document().size(), host::kLongestNote) << "an older one went";
  }
  EXPECT_EQ(document(), "");

  for (int i = 0; i < 100; ++i) host::noteLine(std::to_string(i) + std::string(1000, '.'));
  std::string line(host::kLongestNotedLine, '?');
  size_t length = 0;
  ASSERT_TRUE(host::readNotedLine(host::kNotedLines - 1, line.data(), length));
  EXPECT_EQ(line.substr(0, length), "80" + std::string(host::kLongestNotedLine - 2, '.'));
  EXPECT_FALSE(host::readNotedLine(host::kNotedLines, line.data(), length));
}

class Crash : public ProgramTest {
 protected:
  const fs::path crashes = preferences / "crashes";

  std::vector<fs::path> reports() const {
    std::vector<fs::path> found;
    if (fs::exists(crashes)) {
      for (const auto& entry : fs::directory_iterator(crashes)) found.push_back(entry.path());
    }
    std::sort(found.begin(), found.end());
    return found;
  }
  /// The one report that there is now; the next crash will find none.
  std::string takeReport() {
    const auto found = reports();
    EXPECT_EQ(found.size(), 1U);
    if (found.empty()) return "";
    std::string text = readText(found[0]);
    fs::remove(found[0]);
    return text;
  }
  /// Executes a command of the module that crashes.
  Ended crash(int command) {
    const fs::path app = folder / "app";
    fs::create_directories(app / "modules/crashing");
    std::error_code exists;
    fs::create_symlink(VESTA_TEST_CRASHING_MODULE, app / "modules/crashing/crashing.so", exists);
    return vesta({"--app-dir", app, "execute", std::to_string(command)});
  }
};

TEST_F(Crash, TheCommandLeavesAReportThatLeadsToItsLine) {
  const Ended ended = vesta({"execute", "1022343"});
  EXPECT_EQ(ended.signal, SIGSEGV);
  ASSERT_EQ(reports().size(), 1U);
  const std::string path = reports()[0];
  EXPECT_EQ(ended.err, "vesta: crashed by SIGSEGV; the report is in " + path + "\n");
  EXPECT_TRUE(matches(path, "/crash-20[0-9]{6}-[0-9]{6}-[0-9]+\\.txt$")) << path;
  const std::string report = takeReport();
  for (const char* line :
       {"Signal:    SIGSEGV (11), code 1: no memory is there\n", "Access:    write to 0x0, a null pointer\n",
        "Place:     outfitter.so+0x", "Thread:    main, ", "Command:   1022343 Crash Vesta\n",
        "Document:  none\n", "Version:   Vesta 16.038, host interface 16038\n", " execute 1022343\n"}) {
    EXPECT_TRUE(has(report, line)) << line << report;
  }
  EXPECT_TRUE(matches(report, "/outfitter\\.so  0x[0-9a-f]+-0x[0-9a-f]+  [0-9a-f]{40}\n")) << report;
  std::smatch command;
  ASSERT_TRUE(std::regex_search(report, command, std::regex("  (addr2line .*outfitter\\.so) 0x")));
  const size_t end = report.find('\n', static_cast<size_t>(command.position()));
  const std::string lines = outputOf(
      report.substr(static_cast<size_t>(command.position()), end - static_cast<size_t>(command.position())));
  EXPECT_TRUE(matches(lines, "CrashObjectDialogCommand::Execute\\(.*crashobject\\.cpp:[0-9]+")) << lines;
}

TEST_F(Crash, AFolderThatTakesNoReportGetsItToStandardError) {
  writeText(preferences / "crashes", "in the way");
  const Ended ended = vesta({"execute", "1022343"});
  EXPECT_EQ(ended.signal, SIGSEGV);
  EXPECT_EQ(ended.err.rfind("vesta: crashed by SIGSEGV; here is the report, for " + crashes.string() +
                                " takes none: Not a directory\nVesta crashed.\n\nSignal: ",
                            0),
            0U)
      << ended.err;
  EXPECT_TRUE(ended.saidErr("addr2line")) << ended.err;
}

TEST_F(Crash, KeepsTheNewestReports) {
  for (int i = 10; i < 65; ++i) writeText(crashes / ("crash-202601" + std::to_string(i) + ".txt"), "old");
  writeText(crashes / "a note.txt", "");
  EXPECT_EQ(vesta({"execute", "1022343"}).signal, SIGSEGV);
  const auto left = reports();
  ASSERT_EQ(left.size(), 51U);
  EXPECT_EQ(left[0].filename(), "a note.txt");
  EXPECT_EQ(left[1].filename(), "crash-20260116.txt");
  EXPECT_TRUE(has(readText(left.back()), "Vesta crashed.")) << left.back();
}

TEST_F(Crash, EveryKindTellsItsOwnStory) {
  EXPECT_EQ(crash(1).signal, SIGSEGV);
  const std::string call = takeReport();
  EXPECT_TRUE(has(call, "Access:    call of 0x0, a null pointer\nPlace:     0x0 in no module\n")) << call;
  EXPECT_TRUE(matches(call, "#0 0x0 in no module\n  #1 crashing\\.so\\+0x")) << "who called it: " << call;

  EXPECT_EQ(crash(2).signal, SIGSEGV);
  const std::string overflow = takeReport();
  EXPECT_TRUE(has(overflow, "the stack of the thread is full")) << overflow;
  EXPECT_TRUE(matches(overflow, "#2 crashing\\.so\\+0x[0-9a-f]+ _ZN.*p[io]ng.*\n")) << overflow;
  EXPECT_TRUE(matches(overflow, "  \\.\\.\\. [0-9]{4,} calls are left out\n")) << overflow;
  EXPECT_TRUE(matches(overflow, "#[0-9]{4,} vesta\\+0x[0-9a-f]+ main\n")) << "how it began: " << overflow;

  EXPECT_EQ(crash(3).signal, SIGFPE);
  EXPECT_TRUE(has(takeReport(), "code 1: whole numbers divided by zero\nPlace:     crashing.so+0x"));

  const Ended thrown = crash(4);
  EXPECT_EQ(thrown.signal, SIGABRT);
  EXPECT_TRUE(thrown.saidErr("crashed by SIGABRT, std::runtime_error: the ninth\\x0awave; the report"))
      << thrown.err;
  EXPECT_TRUE(has(takeReport(), "Exception: std::runtime_error: the ninth\\x0awave\n"));
}

TEST_F(Crash, AFaultWhileTheReportIsWrittenEndsItOnly) {
#if !defined(__x86_64__)
  GTEST_SKIP() << "the module loses its stack on one processor only";
#elif defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "the thread sanitizer lets no fault come to a handler that is at work";
#endif
  const Ended ended = crash(5);
  EXPECT_EQ(ended.signal, SIGSEGV);
  EXPECT_TRUE(ended.saidErr("; the report is in ")) << ended.err;
  const std::string report = takeReport();
  EXPECT_TRUE(has(report, "Command:   5 Crash\n")) << report;
  EXPECT_TRUE(has(report, "The report ends here: SIGSEGV while it was written")) << report;
}

TEST_F(Crash, WorkersLeaveOneReport) {
  EXPECT_EQ(crash(6).signal, SIGSEGV);
  const std::string overflow = takeReport();
  EXPECT_TRUE(matches(overflow, "Thread:    worker, [0-9]+ 'faulty'\n")) << overflow;
  EXPECT_TRUE(has(overflow, "the stack of the thread is full")) << overflow;
  EXPECT_TRUE(matches(overflow, "crashing\\.so\\+0x[0-9a-f]+ _ZN.*recurse.* \\([0-9]{4,} times\\)\n"))
      << overflow;

  EXPECT_EQ(crash(7).signal, SIGSEGV);
  EXPECT_TRUE(has(takeReport(), "Source lines")) << "one of four, and whole";
}

TEST_F(Crash, NamesTheSceneThatWasInWork) {
  addScene("quick.vesta");
  addScene("slow.vesta", {.width = 3000, .height = 3000, .renderer = 0});
  for (const bool interactive : {false, true}) {
    Words words = {"-lumicheck", scenes};
    if (interactive) words.insert(words.begin(), "--interactive");
    Process process = start(words);
    const fs::path made = result(interactive ? 2 : 1);
    // The table is written behind every scene, so that the next one is in work when the first picture is
    // there.
    ASSERT_TRUE(process.runUntil([&] { return fs::exists(made / "0001.tif"); }));
    usleep(500'000);
    process.signal(SIGSEGV);
    EXPECT_EQ(process.wait().signal, SIGSEGV);
    const std::string report = takeReport();
    EXPECT_TRUE(has(report, ": sent by process " + std::to_string(getpid()))) << report;
    EXPECT_TRUE(has(report, "Document:  " + (scenes / "slow.vesta").string() + "\n")) << report;
    // A slow machine may still be at its warm-up.
    EXPECT_TRUE(matches(report, "Step:      rendering (3000 x 3000|16 x 16) pixels, renderer 0\n")) << report;
    EXPECT_TRUE(has(report, "Command:   the tools' switches on the command line\n")) << report;
    EXPECT_TRUE(has(report, "%] Processing file " + (scenes / "slow.vesta").string() + "...\n\n"))
        << "the last line: " << report;
  }
}

TEST_F(Crash, ScriptsThatEndTheirCopyLeaveNone) {
  const fs::path app = folder / "app";
  fs::create_directories(app / "resource");
  fs::create_directory_symlink(fs::path(VESTA_TEST_APP_DIR) / "modules", app / "modules");
  writeText(app / "resource/config.json", R"({"g_ostrakOutfitterTools": true})");
  std::string parameters = "int a";
  for (int i = 0; i < 500; ++i) parameters += ", int a" + std::to_string(i);
  writeText(app / "resource/gui.brm", "void f(" + parameters + ") {}\nvoid main() {}");
  const Ended ended = vesta({"--app-dir", app, "menu"});
  EXPECT_EQ(ended.status, 2);
  EXPECT_TRUE(ended.saidErr("the script engine failed")) << ended.err;
  EXPECT_FALSE(fs::exists(crashes));
}

}  // namespace
