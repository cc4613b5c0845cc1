// The distribution build on small application folders: what is written, and what the console says.
#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/support/process.h"
#include "tests/support/test_host.h"
#include "tests/support/watched_tables.h"

namespace {

using namespace test;

using Lines = std::vector<std::string>;

/// An application folder with a script that compiles, and the headers of a test.
class MakeDistri : public testing::Test {
 protected:
  MakeDistri() {
    writeText(app / "resource/gui.brm", "void main() {}\n");
    fs::create_directories(app / "modules/outfitter/resource");
  }

  void header(const fs::path& name, const std::string& text) {
    writeText(app / "frameworks/vesta.framework" / name, text);
  }

  /// Runs the build; answers what the console says.
  Lines build(const HostTables* tables = nullptr) {
    RecordingView view;
    host::HeadlessHost host({app.path().string(), (app / "prefs").string(), false}, view);
    const HostTables own = host::hostTables();
    host.loadModule(VESTA_TEST_MODULE, tables != nullptr ? *tables : own);
    std::vector<const char*> arguments = {"-createdistribution"};
    host.handleCommandLine(arguments);
    host.services().console.flush();
    errors = view.errors;
    return view.lines;
  }

  /// What stands between the first line and the last two of the symbol header.
  std::string symbols() const {
    const std::string text = readText(app / "resource/bramblesymbols.h");
    const std::string first = "enum {\n";
    const std::string last = "BRAMBLE_HEADERFILE_END_\n}\n";
    if (text.size() < first.size() + last.size() || text.compare(0, first.size(), first) != 0 ||
        text.compare(text.size() - last.size(), last.size(), last) != 0) {
      return "no symbol header: " + text;
    }
    return text.substr(first.size(), text.size() - first.size() - last.size());
  }

  static Lines built(int count, Lines said = {}) {
    said.insert(said.begin(), "Created gui.brc");
    said.push_back(std::to_string(count) + " defines in files");
    said.emplace_back("Created bramblesymbols.h");
    return said;
  }

  const TempFolder app;
  Lines errors;
};

struct HeaderCase {
  const char* what;
  std::string text;
  std::string symbols;
  int count;
  Lines said = {};
};

TEST_F(MakeDistri, ReadsDefines) {
  const std::vector<HeaderCase> cases = {
      {"nothing", "", "", 0},
      {"plain values", "#define A 1\n#define B -1\n  #define C (A+B)\n#define E 0xFFFFFFFF",
       "A=1,\nB=-1,\nC=0,\nE=-1,\n", 4},
      {"an include guard", "#ifndef G_H\n#define G_H\n#define X 1 // one\n#endif // G_H\n", "X=1,\n", 1},
      {"both branches", "#if 0\n#define A 1\n#else\n#define A 2\n#endif\n", "A=1,\n", 1, {"DOUBLE USAGE A"}},
      {"reals",
       "#define R 1.5\n#define S 0.0\n#define T (R*2)\n#define U 1.5f\n#define V 0.1\n",
       "S=0,\n",
       1,
       {"REAL Constant: R = 1.5 : 1.5", "SYMBOL FAILED T = (R*2)", "REAL Constant: U = 1.5f : 1.5",
        "REAL Constant: V = 0.1 : 0.1"}},
      {"characters", "#define A 'ab'\n#define B '.'\n#define Q '\\''\n", "A=24930,\nB=46,\nQ=39,\n", 3},
      {"substitution",
       "#define V 4\n#define U (V+1)\n#define W (NONE+V)\n",
       "V=4,\nU=5,\n",
       2,
       {"SYMBOL FAILED W = (NONE+4)"}},
      {"seeded sizes", "#define A (sizeof(Int16)+sizeof(PIX_F))\n", "A=6,\n", 1},
      {"division", "#define D 8/2\n#define E 8 / 2 + 1\n#define F 9\n", "D=8,\nE=9,\nF=9,\n", 3},
      {"a lone slash eats a line end", "#define D 8 /\n+1\n#define F 9\n", "D=9,\nF=9,\n", 2},
      {"slash, blank, comment", "#define A 1 / // two\n#define B 2\n#define C 3 / /* x */ 4\n",
       "A=1,\nB=2,\nC=34,\n", 3},
      {"groups",
       "#define W (1)|(2)\n#define X {1} {2}\n#define Y ((1)|(2))\n#define F(x) (x)\n#define G(x) x\n#define "
       "H(x) {x}\n",
       "Y=3,\n",
       1,
       {"SYMBOL FAILED G = (x)x"}},
      {"directives",
       "# define A 1\n#\tdefine B 1\n/**/#define C 1\n;#define D 1\n; #define E 1\n##define F 1\n#undef "
       "E\n#define E 2\n",
       "E=1,\n",
       1,
       {"DOUBLE USAGE E"}},
      {"no name", "#define\n#define 1 2\n#define (A) 1\n#define A 1\n", "A=1,\n", 1,
       Lines(6, "ERROR ERROR ERROR ERROR ERROR ERROR ERROR ERROR")},
      {"four-byte ids",
       "#define I VESTA_FOUR_BYTE('V','S','T','C')\n#define J VESTA_FOUR_BYTE( 'a', ' ', '\\'', 'b' )\n"
       "#define K VESTA_FOUR_BYTE('a','b','c')\n#define L VESTA_FOUR_BYTE('a','b',NO,'c')\n#define M "
       "VESTA_FOUR_BYTE(10,20,30,40)\n#define N VESTA_FOUR_BYTE('a','\xE9','\\377','b')\n",
       "I=1448301635,\nJ=1629497186,\nM=16909096,\nN=1642725218,\n",
       4,
       {"SYMBOL FAILED K = ", "SYMBOL FAILED L = "}},
      {"comments",
       "/* #define A 1\n#define B 1\n*/\n#define C /* 5 */ 6\n// #define D 1 \\\n#define E 1\n#define F 1 /* "
       "goes\non */ + 1\n",
       "C=6,\nF=2,\n", 2},
      {"an even number of stars", "/* a **/ #define A 1\n#define B 1 /* x */\n#define C 1\n", "C=1,\n", 1},
      {"quotes in comments", "/* don't */ \n#define A 1\n// \"\n#define B 2\n", "A=1,\nB=2,\n", 2},
      {"joined lines", "#define A 1 \\\n + 2\n#def\\\nine B 5\n", "A=3,\nB=5,\n", 2},
      {"wrapping",
       "#define A 4294967296\n#define B (2147483647+1)\n#define E 1<<32\n",
       "A=0,\nB=-2147483648,\n",
       2,
       {"SYMBOL FAILED E = 1<<32"}},
      {"special names",
       "#define DC 1\n#define DC 2\n#define GE_LITTLE_ENDIAN 1\n#define __VESTA_MEM_ALIGNMENT_MASK__ "
       "3\n#define X DC\n",
       "",
       0,
       {"SYMBOL FAILED X = DC"}},
      {"never written",
       "#define VECTOR_X 7\n#define NOTINDEX (-1)\n#define LITTLE_ENDIAN 1\n#define A VECTOR_X\n", "A=7,\n",
       4},
      {"part of a word",
       "#define AB 1\n#define X ABC\n#define C 2\n#define Y ABC\n",
       "AB=1,\nC=2,\nY=12,\n",
       3,
       {"SYMBOL FAILED X = 1C"}},
  };
  for (const HeaderCase& test : cases) {
    header("sdk.h", test.text);
    EXPECT_EQ(build(), built(test.count, test.said)) << test.what;
    EXPECT_EQ(symbols(), test.symbols) << test.what;
    EXPECT_EQ(errors, Lines{}) << test.what;
  }
}

TEST_F(MakeDistri, ReadsEnumerations) {
  const std::vector<HeaderCase> cases = {
      {"counted", "enum E { X, Y = 5, Z };", "X=0,\nY=5,\nZ=6,\n", 3},
      {"lines", "enum\n{\n  X,\n  Y = 0x10, // sixteen\n  Z\n};\nenum { A };\n", "X=0,\nY=16,\nZ=17,\nA=0,\n",
       4},
      {"special names do not count", "enum { P, GE_LITTLE_ENDIAN, Q };", "P=0,\nQ=1,\n", 2},
      {"known names do not count",
       "enum { A, B };\nenum { C = 7, A, D, B = 3, E };",
       "A=0,\nB=1,\nC=7,\nD=8,\nE=3,\n",
       5,
       {"DOUBLE USAGE A", "DOUBLE USAGE B"}},
      {"values of values",
       "enum { A = 1 << 4, B = A | 1, C = (B), D = NO, E, F = 'x' };",
       "A=16,\nB=17,\nC=17,\nE=18,\nF=120,\n",
       5,
       {"SYMBOL FAILED D = NO"}},
      {"wrapping is no value",
       "enum { A = 4294967295, B, C = 4294967296, D };",
       "A=-1,\nB=0,\nD=1,\n",
       3,
       {"SYMBOL FAILED C = 4294967296"}},
      {"a comma ends a value", "enum { A = F(1, B), C };", "B=0,\nC=1,\n", 2, {"SYMBOL FAILED A = F(1"}},
      {"a line end ends a value", "enum { A = 1 |\n 2, B };", "B=0,\n", 1, {"SYMBOL FAILED A = 1|"}},
      {"directives inside", "enum {\n#if X\n A,\n#endif\n B\n};", "if=0,\nA=1,\nendif=2,\nB=3,\n", 4},
      {"forward declarations wait", "enum X;\nstruct S { int a; };\nenum { A };\n", "A=0,\n", 1},
      {"functions look alike", "enum X f() {\n return a;\n}\nenum { A };\n", "A=0,\n", 1},
      {"defines come first",
       "enum { A = B };\n#define B 3\n#define C A\n",
       "B=3,\nA=3,\n",
       2,
       {"SYMBOL FAILED C = A"}},
      {"a division", "enum { A = 8 / 2, B };", "A=8,\nB=9,\n", 2},
      {"empty values", "enum { A = , B, = 5, C };", "B=0,\nC=1,\n", 2, {"SYMBOL FAILED A = "}},
      {"the largest", "enum { A = 0x7FFFFFFF, B };", "A=2147483647,\nB=-2147483648,\n", 2},
  };
  // The first two headers are read otherwise.
  header("a.h", "");
  header("b.h", "");
  for (const HeaderCase& test : cases) {
    header("sdk.h", test.text);
    EXPECT_EQ(build(), built(test.count, test.said)) << test.what;
    EXPECT_EQ(symbols(), test.symbols) << test.what;
  }
}

/// A name says where its header stands; every header defines ORDER as well, so that the first one wins.
TEST_F(MakeDistri, SearchesFoldersAndReadsHeadersInTheirOrder) {
  for (const char* name :
       {"b.h", "A.H", "sub/c.hpp", "sub/c.h", "sub/description/d.h", "vesta_scaling/e.h", "vesta_preview/f.h",
        "xvesta_colors.h", "vesta_gl.h", "ge_mac_math.h", "ge_ma.h", "z/ge_win_math.h", "lib_description.h",
        "text.txt", "sub/b.h", "vesta_scaling.h", "noth", "description.h/x.h"}) {
    std::string symbol = name;
    for (char& letter : symbol) {
      if (std::isalnum(static_cast<unsigned char>(letter)) == 0) letter = '_';
    }
    header(name, "#define D_" + symbol + " 1\nenum { E_" + symbol + " };\n");
  }
  EXPECT_EQ(build(), built(18));
  EXPECT_EQ(symbols(),
            "E_z_ge_win_math_h=0,\nE_lib_description_h=0,\nD_z_ge_win_math_h=1,\nD_lib_description_h=1,\n"
            "D_A_H=1,\nD_b_h=1,\nD_sub_b_h=1,\nD_sub_c_h=1,\nD_ge_ma_h=1,\nD_vesta_scaling_h=1,\nD_"
            "description_h_x_h=1,\n"
            "E_A_H=0,\nE_b_h=0,\nE_sub_b_h=0,\nE_sub_c_h=0,\nE_ge_ma_h=0,\nE_vesta_scaling_h=0,\nE_"
            "description_h_x_h=0,\n");
}

TEST_F(MakeDistri, ReadsTheFolderBesideTheApplicationBehindItsOwn) {
  TempFolder both;
  const fs::path inner = both / "app";
  fs::copy(app.path(), inner, fs::copy_options::recursive);
  writeText(both / "frameworks/vesta.framework/a.h", "#define A 1\n#define B 1\n");
  writeText(inner / "frameworks/vesta.framework/a.h", "#define A 2\n");
  RecordingView view;
  host::HeadlessHost host({inner.string(), (both / "prefs").string(), false}, view);
  host.loadModule(VESTA_TEST_MODULE, host::hostTables());
  std::vector<const char*> arguments = {"-createdistribution"};
  host.handleCommandLine(arguments);
  EXPECT_EQ(readText(inner / "resource/bramblesymbols.h"),
            "enum {\nA=2,\nB=1,\nBRAMBLE_HEADERFILE_END_\n}\n");
  EXPECT_TRUE(view.hasLine("DOUBLE USAGE A"));
}

TEST_F(MakeDistri, LongLinesAreCutWithTheirEnds) {
  const std::string name(1021, 'n');
  header("a.h", "#define " + name + " 1\n#define B 2\n#define C_" + name + " 3\n#define D 4\n");
  EXPECT_EQ(build(), built(4));
  EXPECT_EQ(symbols(), name + "=1B=2,\n" + ("C_" + name) + "D=4,\n");
}

TEST_F(MakeDistri, WritesOverWhatCannotBeWrittenAndSaysWhereItCannotWrite) {
  header("a.h", "#define A 1\n");
  const fs::path file = app / "resource/bramblesymbols.h";
  writeText(file, "old");
  fs::permissions(file, fs::perms::owner_read);
  EXPECT_EQ(build(), built(1));
  EXPECT_EQ(symbols(), "A=1,\n");

  fs::remove(file);
  fs::create_directories(file / "folder");
  EXPECT_EQ(build(), (Lines{"Created gui.brc", "Error: Creating bramblesymbols.h"})) << "no header is read";
  fs::remove_all(file);

  writeText(file, "old");
  writeText(app / "resource/gui.brm", "void main( {}\n");
  EXPECT_EQ(build(), Lines{"Error: Compiling gui.brc"});
  EXPECT_EQ(readText(file), "old");
  EXPECT_FALSE(fs::exists(app / "resource/gui.brc")) << "an old script is not left behind";

  HostTables without = host::hostTables();
  HostSystemTable system = *without.system;
  system.FindLibrary = nullptr;
  without.system = &system;
  testing::internal::CaptureStderr();
  EXPECT_EQ(build(&without), Lines{"Error: Compiling gui.brc"});
  testing::internal::GetCapturedStderr();
}

TEST_F(MakeDistri, AFullDiskIsNamedByTheHostAndKeepsTheOldFile) {
  std::string many;
  for (int i = 0; i < 300; ++i) many += "#define SYMBOL_" + std::to_string(i) + " 1\n";
  header("a.h", many);
  writeText(app / "resource/bramblesymbols.h", "old");
  for (const char* name : {"modules", "bin"}) fs::remove_all(app / name);
  fs::create_directory_symlink(fs::path(VESTA_TEST_APP_DIR) / "modules", app / "modules");
  const Ended ended = Process(VESTA_TEST_PROGRAM,
                              {"--app-dir", app.path().string(), "--prefs-dir", (app / "prefs").string(),
                               "-createdistribution"},
                              {.fileSizeLimit = 4000})
                          .wait();
  EXPECT_EQ(ended.status, 1);
  EXPECT_TRUE(ended.saidErr("resource/bramblesymbols.h: not written: File too large")) << ended.err;
  EXPECT_EQ(readText(app / "resource/bramblesymbols.h"), "old");
}

TEST_F(MakeDistri, HeadersThatCannotBeReadAreNamedAndLeftOut) {
  if (geteuid() == 0) GTEST_SKIP() << "root reads everything";
  header("a.h", "#define A 1\n");
  header("b.h", "#define B 1\n");
  fs::permissions(app / "frameworks/vesta.framework/a.h", fs::perms::none);
  EXPECT_EQ(build(), built(1));
  EXPECT_EQ(symbols(), "B=1,\n");
  EXPECT_FALSE(errors.empty());
}

TEST_F(MakeDistri, ANulByteCutsNoValue) {
  using namespace std::string_literals;
  header("a.h", "#define A 'x\0y'\n#define B 1\0 + 1\n#define C 3\n"s);
  build();
  EXPECT_EQ(symbols(), "B=2,\nC=3,\n") << "outside literals it is a blank";
}

TEST_F(MakeDistri, TheLimitsAreNamedAndNothingIsLost) {
  std::string many;
  for (int i = 0; i < 50000; ++i) many += "#define S" + std::to_string(i) + " " + std::to_string(i) + "\n";
  header("a.h", many);
  for (int i = 0; i < 1000; ++i)
    header("more/h" + std::to_string(i) + ".h", "#define H" + std::to_string(i) + " 1\n");
  EXPECT_EQ(build(), built(51000));
  EXPECT_NE(symbols().find("S49999=49999,\n"), std::string::npos);
  EXPECT_NE(symbols().find("H999=1,\n"), std::string::npos);
  int headers = 0;
  int names = 0;
  int stops = 0;
  for (const std::string& line : errors) {
    headers += line.find("CRITICAL: ParseSymbols: fncount > MAX_FNLIST_ENTRIES [") == 0 ? 1 : 0;
    names += line.find("CRITICAL: ParseSymbols: identcnt > MAX_IDENTIFIER_ENTRIES [") == 0 ? 1 : 0;
    stops += line.find("CRITICAL: Stop [") == 0 ? 1 : 0;
  }
  EXPECT_EQ(headers, 2) << "behind each of the two folders";
  EXPECT_EQ(names, 2 * 1001 - 2) << "behind each reading from the defines of a.h on";
  EXPECT_EQ(stops, headers + names);
}

/// Each failing host call in turn: nothing crashes, nothing is left behind, the file is whole or not there.
TEST_F(MakeDistri, SurvivesEveryFailingHostCall) {
  header("a.h", "#define A 1\n#define B (A+1)\n#define C NO\n");
  header("sub/b.h", "enum { D, A, E };\n#define R 1.5\n");
  // Names that a failed call has emptied are seen from the current folder.
  TempFolder elsewhere;
  const fs::path home = fs::current_path();
  fs::current_path(elsewhere.path());
  int calls = 1;
  const fs::path file = app / "resource/bramblesymbols.h";
  for (int failing = 0; failing <= calls; ++failing) {
    fs::remove(file);
    Watch watch(host::hostTables());
    try {
      RecordingView view;
      host::HeadlessHost host({app.path().string(), (app / "prefs").string(), false}, view);
      host.loadModule(VESTA_TEST_MODULE, watch.tables());
      const int before = watch.calls();
      if (failing > 0) watch.failAt(before + failing - 1);
      std::vector<const char*> arguments = {"-createdistribution"};
      host.handleCommandLine(arguments);
      if (failing == 0) calls = watch.calls() - before;
    } catch (const host::ModuleError&) {
    }
    const std::string label = std::to_string(failing) + " " + watch.failedSlot();
    EXPECT_EQ(watch.problems(), Lines{}) << label;
    // A real write that fails makes the host throw the file away; of this one it does not know.
    if (watch.failedSlot() == "FileWriteBytes") continue;
    EXPECT_TRUE(!fs::exists(file) || symbols().find("no symbol header") == std::string::npos) << label;
    if (HasFailure()) break;
  }
  EXPECT_GT(calls, 100);
  fs::current_path(home);
}

}  // namespace
