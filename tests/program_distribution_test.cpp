// The distribution of the program as it is shipped, its menus, and the account of its symbols.
#include <nlohmann/json.hpp>

#include "tests/support/program_test.h"

namespace {

using namespace test;
using nlohmann::json;

/// A copy of the shipped application that a test may build in.
class Distribution : public ProgramTest {
 protected:
  Distribution() {
    fs::create_directories(app);
    fs::copy(fs::path(VESTA_TEST_APP_DIR) / "resource", app / "resource");
    fs::remove(app / "resource/gui.brc");
    fs::copy(fs::path(VESTA_TEST_APP_DIR) / "frameworks", app / "frameworks", fs::copy_options::recursive);
    fs::create_directory_symlink(fs::path(VESTA_TEST_APP_DIR) / "modules", app / "modules");
  }
  Ended inApp(const Words& arguments) const {
    Words all = {"--app-dir", app};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return vesta(all);
  }

  const fs::path app = folder / "app";
};

TEST_F(Distribution, BuildsWhatIsShippedAndSaysWhenAHeaderChanged) {
  const std::string changed = "bramblesymbols.h has changed";
  const std::string shipped = readText(app / "resource/bramblesymbols.h");
  const Ended first = inApp({"-createdistribution"});
  EXPECT_EQ(first.status, 0) << first.err;
  EXPECT_TRUE(first.saidOut("Created gui.brc\n"));
  EXPECT_TRUE(first.saidOut(" defines in files\nCreated bramblesymbols.h\n")) << first.out;
  EXPECT_FALSE(first.saidOut(changed) || first.saidErr(changed));
  EXPECT_EQ(readText(app / "resource/bramblesymbols.h"), shipped)
      << "build the distribution, and copy the header to app/resource";
  EXPECT_TRUE(shipped.find("\nHOST_COMMAND_LUMICHECK=1001198,\n") != std::string::npos);

  const Ended menu = inApp({"menu"});
  EXPECT_EQ(menu.out,
            "Tests\n  Lumicheck\t1001198\n  ---\n  Crash Vesta\t1022343\n"
            "Strings\n  Import Script Strings\t1001192\n  Export Script Strings\t1001193\n"
            "  ---\n  Translator Locator...\t12432341\n");
  EXPECT_EQ(menu.err, "") << "the compiled script is used";

  writeText(app / "frameworks/vesta.framework/more.h", "#define MORE 1\n");
  const Ended second = inApp({"-createdistribution"});
  EXPECT_TRUE(second.saidOut(changed) || second.saidErr(changed)) << second.out;
  const Ended third = inApp({"-createdistribution"});
  EXPECT_FALSE(third.saidOut(changed) || third.saidErr(changed));

  writeText(app / "resource/gui.brm", "void main() {\n  AddMenu(1;\n}\n");
  const Ended failed = inApp({"-createdistribution"});
  EXPECT_EQ(failed.status, 1);
  EXPECT_EQ(failed.out, "Error: Compiling gui.brc\n");
  EXPECT_TRUE(failed.saidErr("resource/gui.brm:2:12: error: ")) << failed.err;
}

/// What the account says of one folder of headers, place by place.
TEST_F(Distribution, SymbolsExplainsEveryDefineAndEnumerator) {
  const fs::path headers = folder / "headers";
  writeText(headers / "a.h", "");
  writeText(headers / "b.h", "");
  writeText(
      headers / "c.h",
      "#ifndef C_H\n#define C_H\n#define A 8/2\n#define B (A+LATER)\n#define F(x) (x)\n#define G(x) x\n"
      "#define W (1)|(2)\n# define BLANK 1\n#define 7\n#define R 1.5\n#define S \"text\"\n#define BIG "
      "4294967296\n"
      "#define AA B1\n#define U F(1)\n#define VECTOR_X 3\n#define DC 4\n#define D (A+2)\n/* stars **/\n"
      "#define HIDDEN 1\n/* x */\n#define Z 1/0\n#define Y (1<<32)\n"
      "enum {\n E0,\n A,\n E1,\n E2 = A,\n E3 = 5000000000,\n LATER = E1 + 1,\n E4 USED(7),\n E5;\n};\n");
  const Ended ended =
      vesta({"symbols", "--headers", headers, "--explain", "--json", folder / "account.json"});
  EXPECT_EQ(ended.status, 0) << ended.err;
  std::string out = ended.out;
  const std::string prefix = headers.string() + "/";
  for (size_t at; (at = out.find(prefix)) != std::string::npos;) out.erase(at, prefix.size());
  const std::string expected = readText(fs::path(VESTA_TEST_DATA) / "symbols_explained.txt");
  EXPECT_EQ(out.substr(0, out.find("JSON: ")), expected);

  const json account = json::parse(readText(folder / "account.json"));
  size_t sum = 0;
  for (const auto& [kind, count] : account["counts"].items()) sum += count.get<size_t>();
  EXPECT_EQ(sum, account["symbols"].size());
  EXPECT_EQ(sum, account["entries"].get<size_t>());
  EXPECT_EQ(account["headers"], 3);
  EXPECT_EQ(account["overrunComments"][0]["line"], 18);
  const auto entry = [&](const char* name) {
    for (const json& symbol : account["symbols"]) {
      if (symbol["name"] == name) return symbol;
    }
    return json();
  };
  EXPECT_EQ(entry("D")["substituted"], json::parse(R"([{"name": "A", "value": 8}])"));
  EXPECT_EQ(entry("D")["value"], 10);
  EXPECT_EQ(entry("R")["real"], 1.5);

  writeText(headers / "a.h", "enum { A0 }; /* stars **/ enum {\n A1, /* x */ A2 };\n");
  writeText(headers / "b.h", "/* never\nended");
  const Ended comments = vesta({"symbols", "--headers", headers, "--explain"});
  EXPECT_TRUE(
      comments.saidOut("a.h:1: this comment ends with an even number of stars, so it goes on up to line 2; "
                       "the enumeration that begins in it is lost as a whole\n"))
      << comments.out;
  EXPECT_TRUE(comments.saidOut("b.h:2: this comment never ends\n")) << comments.out;
}

/// Notes are handed down chains of names: once each, and not by walking every way through them.
TEST_F(Distribution, SymbolsTakesLongChainsOfNames) {
  std::string chain = "#define N0 8/2\n";
  for (int i = 1; i <= 60000; ++i) {
    const std::string before = "N" + std::to_string(i - 1) + (i > 1 ? "_" : "");
    chain += "#define N" + std::to_string(i) + "_ (" + before + "&" + before + ")\n";
  }
  writeText(folder / "headers/a.h", chain);
  const Ended ended = vesta({"symbols", "--headers", folder / "headers", "--explain"});
  EXPECT_EQ(ended.status, 0) << ended.err;
  EXPECT_TRUE(
      ended.saidOut("N60000_ = (N59999_&N59999_) -> (8&8) = 8\n    note: made of N59999_: see there\n"));
}

TEST_F(Distribution, RefusesWhatMakesNoSense) {
  const auto refused = [&](const Words& words) { return inApp(words).status; };
  EXPECT_EQ(refused({"-createdistribution", "more"}), 2);
  EXPECT_EQ(refused({"menu", "-createdistribution"}), 2);
  EXPECT_FALSE(fs::exists(app / "resource/gui.brc")) << "nothing was built";
  EXPECT_EQ(refused({"symbols", "--headers", ""}), 2);
  EXPECT_EQ(refused({"symbols", "--json", ""}), 2);
  EXPECT_EQ(refused({"symbols", "--headers", app, app}), 2);
  EXPECT_EQ(refused({"symbols", "--headers", app / "resource/gui.brm"}), 2);
  fs::create_directory(folder / "empty");
  EXPECT_EQ(refused({"symbols", "--headers", folder / "empty"}), 2);
}

TEST_F(Distribution, OutputThatIsLostIsAFailure) {
  const Ended ended = Process("/bin/sh", {"-c", "exec \"$0\" \"$@\" >/dev/full", VESTA_TEST_PROGRAM,
                                          "--prefs-dir", preferences.string(), "symbols"})
                          .wait();
  EXPECT_EQ(ended.status, 3);
  EXPECT_TRUE(ended.saidErr("vesta: standard output could not be written\n")) << ended.err;
}

TEST_F(Distribution, SymbolsSaysWhatItCannotRead) {
  EXPECT_EQ(vesta({"symbols", (folder / "nowhere").string()}).status, 2);
  EXPECT_EQ(inApp({"symbols"}).status, 0);
  const Ended shipped = vesta({"symbols", app});
  EXPECT_EQ(shipped.out, inApp({"symbols"}).out);
  EXPECT_EQ(vesta({"symbols", app, "--json", folder / "no/such/folder.json"}).status, 2);
  fs::create_symlink("/proc/self/mem", app / "frameworks/vesta.framework/m.h");
  const Ended unreadable = inApp({"symbols"});
  EXPECT_EQ(unreadable.status, 1);
  EXPECT_TRUE(unreadable.saidErr("m.h: cannot be read: ")) << unreadable.err;
  EXPECT_EQ(inApp({"-createdistribution"}).status, 1);
}

}  // namespace
