// BRAMBLE: errors and where they are, compiled files, limits, menus, the library behind the contract.
#include <gtest/gtest.h>

#include "host/script/compiler.h"
#include "host/script/container.h"
#include "host/script/diagnostics.h"
#include "host/script/runner.h"
#include "host/tables/handles.h"
#include "tests/support/program_test.h"
#include "tests/support/test_host.h"

namespace {

using namespace test;
using host::MenuItem;
using Lines = std::vector<std::string>;

class Script : public testing::Test {
 protected:
  fs::path write(const std::string& text, const std::string& name = "gui.brm") {
    writeText(folder / name, text);
    return folder / name;
  }
  host::Compilation compile(const std::string& text) { return host::compileScript({write(text), {}, {}}); }
  /// Its messages, with file names as seen from the folder.
  Lines messages(const std::string& text) {
    Lines lines = compile(text).messages;
    for (std::string& line : lines) {
      const std::string prefix = folder.path().string() + "/";
      for (size_t at; (at = line.find(prefix)) != std::string::npos;) line.erase(at, prefix.size());
    }
    return lines;
  }
  MenuItem run(const std::string& text) {
    const host::Compilation compilation = compile(text);
    if (compilation.bytes.empty()) throw std::runtime_error(compilation.messages.at(0));
    return host::runMenuScript(compilation.bytes, folder / "gui.brc");
  }
  std::string failure(const std::string& text) {
    try {
      run(text);
    } catch (const std::runtime_error& error) {
      const std::string line = error.what();
      return line.substr(line.rfind('/') + 1);
    }
    return "";
  }

  const TempFolder folder;
};

TEST_F(Script, ErrorsSayWhereTheyAre) {
  write("enum {\nA=1,\nEND_\n}\nenum { B = 2 } int wrong = nothing; enum{C} int more = none;\n", "symbols.h");
  EXPECT_EQ(messages("#include \"symbols.h\"\nvoid main() {\n  int a;\n  a = b;\n}\n"),
            (Lines{"symbols.h:5:28: error: No matching symbol 'nothing'",
                   "symbols.h:5:56: error: No matching symbol 'none'",
                   "gui.brm:4:7: error: No matching symbol 'b'"}));
  EXPECT_EQ(messages("void f() {}"), Lines{"gui.brm: error: there is no 'void main()'"});
  EXPECT_EQ(messages("void main() {}\nclass A {}"), Lines{"gui.brm:2:1: error: BRAMBLE has no classes"});
  EXPECT_EQ(messages("void main() { try {} catch {} }"),
            Lines{"gui.brm:1:15: error: BRAMBLE has no exceptions to try"});

  std::string many = "void main() {\n";
  for (int i = 0; i < 30; ++i) many += "x;\n";
  const Lines lines = messages(many + "}");
  ASSERT_EQ(lines.size(), 21U);
  EXPECT_EQ(lines[19], "gui.brm:21:1: error: No matching symbol 'x'");
  EXPECT_EQ(lines[20], "10 more errors");

  const host::Compilation warned = compile("void main() {\n  uint a = -1;\n}");
  ASSERT_EQ(warned.messages.size(), 1U);
  EXPECT_NE(warned.messages[0].find(":2:12: warning: "), std::string::npos) << warned.messages[0];
  EXPECT_NE(warned.bytes, "");
}

TEST_F(Script, IncludesAreFilesBesideTheIncludingOne) {
  write("#include \"../shared.brm\"\n#include \"b.brm\"\n", "parts/a.brm");
  write("#include \"../shared.brm\"\nvoid b() { AddMenu(shared()); }\n", "parts/b.brm");
  write("string shared() { return \"once // #include\"; }\n", "shared.brm");
  const MenuItem menus =
      run("// #include \"none\"\n/*\n#include \"none\" */\n#include \"parts/a.brm\"\nvoid main() { b(); }");
  ASSERT_EQ(menus.children.size(), 1U);
  EXPECT_EQ(menus.children.front().title, "once // #include");

  write("#include \"b.brm\"\n", "a.brm");
  write("\n  #include \"a.brm\"\n", "b.brm");
  EXPECT_EQ(messages("#include \"a.brm\"\nvoid main() {}"),
            Lines{"b.brm:2:12: error: 'a.brm' includes itself, directly or through others"});
  EXPECT_EQ(messages("void main() {}\n#include \"none.brm\""),
            Lines{"gui.brm:2:10: error: 'none.brm' cannot be included: No such file or directory"});
  EXPECT_EQ(messages("void main() {}\n#include \"parts\""),
            Lines{"gui.brm:2:10: error: 'parts' cannot be included: Is a directory"});
  EXPECT_EQ(messages("#define X\n#include <a.brm>\nvoid main() {}"),
            (Lines{"gui.brm:1:1: error: '#' begins nothing but #include \"name\"",
                   "gui.brm:2:1: error: '#' begins nothing but #include \"name\""}));
  EXPECT_EQ(host::compileScript({folder / "nowhere.brm", {}, {}}).messages,
            Lines{(folder / "nowhere.brm").string() + ": error: No such file or directory"});
}

TEST_F(Script, SymbolsKeepTheirValues) {
  write("enum {\nLOWEST=-2147483648,\nMINUS=-1,\nHIGHEST=2147483647,\nBRAMBLE_HEADERFILE_END_\n}\n",
        "symbols.h");
  const MenuItem menus =
      run("#include \"symbols.h\"\nvoid main() {\n  Menu@ m = AddMenu(\"n\" + MINUS + \": \" + 1);\n"
          "  m.AddCommand(LOWEST);\n  m.AddCommand(MINUS);\n  m.AddSeparator();\n"
          "  m.AddMenu(\"inner\").AddCommand(HIGHEST);\n}");
  const MenuItem& menu = menus.children.front();
  EXPECT_EQ(menu.title, "n-1: 1");
  std::vector<int32_t> ids;
  for (const MenuItem& item : menu.children) ids.push_back(item.commandId);
  EXPECT_EQ(ids, (std::vector<int32_t>{INT32_MIN, -1, 0, 0}));
  EXPECT_EQ(menu.children.back().children.front().commandId, INT32_MAX);
}

TEST_F(Script, CompiledFilesAreTakenAsTheyWereWrittenOnly) {
  const std::string source =
      "enum { A } const string s = \"x\";\nvoid main() {\n  AddMenu(s).AddCommand(A);\n}\n";
  const std::string bytes = compile(source).bytes;
  writeText(folder / "elsewhere/gui.brm", source);
  EXPECT_EQ(host::compileScript({folder / "elsewhere/gui.brm", {}, {}}).bytes, bytes)
      << "the same source, the same bytes";
  EXPECT_EQ(host::runMenuScript(bytes, "/x").children.size(), 1U);

  for (size_t i = 0; i < bytes.size(); ++i) {
    std::string changed = bytes;
    changed[i] = static_cast<char>(changed[i] ^ 1);
    EXPECT_THROW(host::runMenuScript(changed, "/x"), host::ScriptRefused) << i;
  }
  for (size_t length = 0; length < bytes.size(); length += 7) {
    EXPECT_THROW(host::runMenuScript(bytes.substr(0, length), "/x"), host::ScriptRefused) << length;
  }
  EXPECT_THROW(host::runMenuScript(bytes + "x", "/x"), host::ScriptRefused);
  EXPECT_THROW(host::runMenuScript(host::packScript("code", "another interface"), "/x"), host::ScriptRefused);
  EXPECT_EQ(host::unpackScript(host::packScript("code", "interface"), "interface"), "code");
}

TEST_F(Script, ScriptsThatDoNotEndAreEnded) {
  EXPECT_EQ(failure("void main() {\n  for (;;);\n}"),
            "gui.brm:2:11: error: the script runs too long, in 'void main()'");
  EXPECT_EQ(failure("int f() {\n  for (;;) {}\n  return 1;\n}\nint a = f();\nvoid main() {}"),
            "gui.brm:2:12: error: the script runs too long, in 'int f()'");
  EXPECT_EQ(failure("int f(int a) {\n  return f(a + 1);\n}\nvoid main() { f(1); }"),
            "gui.brm:2:3: error: Stack overflow, in 'int f(int)'");
  EXPECT_EQ(failure("int zero = 0;\nint f() {\n  return 1 / zero;\n}\nvoid main() { f(); }"),
            "gui.brm:3:3: error: Divide by zero, in 'int f()'");
  EXPECT_EQ(failure("void main() {\n  Menu@ m;\n  m.AddCommand(1);\n}"),
            "gui.brm:3:3: error: Null pointer access, in 'void main()'");
  const std::string tooManyStrings = ": error: the strings of the script take more than 16 MiB, in ";
  const std::string doubling = "string s = \"xxxxxxxxxxxxxxxx\"; for (;;) ";
  EXPECT_NE(failure("void main() { " + doubling + "s += s; }").find(tooManyStrings), std::string::npos);
  EXPECT_NE(failure("void main() { " + doubling + "s = s + s; }").find(tooManyStrings), std::string::npos);
  EXPECT_NE(failure("void f(string a) { f(a + a); } void main() { f(\"x\"); }").find(tooManyStrings),
            std::string::npos);
  EXPECT_NE(failure("void main() { string s = s; }").find("before it has a value"), std::string::npos);
  EXPECT_NE(failure("void main() { for (;;) AddMenu(\"m\"); }").find("10000 entries"), std::string::npos);
  EXPECT_NE(
      failure("void main() { Menu@ m = AddMenu(\"m\"); for (;;) @m = m.AddMenu(\"m\"); }").find("16 deep"),
      std::string::npos);
  EXPECT_NE(failure("void main() { AddMenu(\"a\\n\"); }").find("title"), std::string::npos);
}

std::string repeated(int times, const std::string& text) {
  std::string all;
  while (times-- > 0) all += text;
  return all;
}

TEST_F(Script, TheCompilerIsKeptFromWhatItDoesNotStand) {
  constexpr int kMany = 50000;
  const auto inMain = [](const std::string& text) { return "void main() { int a; a = 1; " + text + "; }"; };
  for (const char* opening :
       {"(", "[", "{", "int(", "if (true) ", "while (true) ", "do ",
        "switch (1) { case 1: ", "if (true) {} else ", "a = ", "a = true ? 1 : ", "a::", "f(function() { "}) {
    EXPECT_NE(messages(inMain(repeated(kMany, opening))).at(0).find("nested too deeply"), std::string::npos)
        << opening;
  }
  EXPECT_EQ(messages(inMain(repeated(200, "if (a == 1) a = 2; a += 3; "))), Lines{})
      << "side by side is not nested";
  EXPECT_NE(messages(inMain(repeated(kMany, "a; "))).at(0).find("longer than 20000"), std::string::npos);
  EXPECT_NE(messages("int " + std::string(5000, 'a') + ";").at(0).find("4096 bytes"), std::string::npos);
  EXPECT_NE(messages(std::string(3 << 20, ' ')).at(0).find("2 MiB"), std::string::npos);

  // A big symbol header is no such thing.
  std::string symbols = "enum {\n";
  for (int i = 0; i < 30000; ++i) symbols += "S" + std::to_string(i) + "=" + std::to_string(i - 1000) + ",\n";
  write(symbols + "END_\n}", "symbols.h");
  EXPECT_EQ(messages("#include \"symbols.h\"\nvoid main() { AddMenu(\"\" + S29999); }"), Lines{});

  // What still ends the compiler does not end the host.
  std::string parameters = "int a";
  for (int i = 0; i < 500; ++i) parameters += ", int a" + std::to_string(i);
  EXPECT_EQ(messages("void f(" + parameters + ") {}\nvoid main() {}")
                .at(0)
                .rfind("gui.brm: error: the script engine failed", 0),
            0U);
}

TEST(ScriptLibrary, CompilesForModules) {
  TestHost host;
  const HostTables tables = host::hostTables();
  EXPECT_EQ(tables.system->FindLibrary(42), nullptr);
  const auto* library =
      static_cast<const HostScriptLibrary*>(tables.system->FindLibrary(HOST_LIBRARY_SCRIPT));
  ASSERT_NE(library, nullptr);
  EXPECT_EQ(library->size, sizeof(HostScriptLibrary));
  EXPECT_GT(library->GetLanguageVersion(), 0);

  const auto compile = [&](const std::string& source, const std::string& destination) {
    HostFileName from;
    HostFileName to;
    from.path = source;
    to.path = destination;
    return library->Compile(&from, &to);
  };
  const std::string good = host.folder() / "a.x.brm";
  const std::string bad = host.folder() / "bad.brm";
  writeText(good, "void main() {}");
  writeText(bad, "void main() {\n  x;\n}");
  EXPECT_EQ(compile(good, ""), 1);
  EXPECT_EQ(compile(good, host.folder() / "other"), 1);
  EXPECT_EQ(readText(host.folder() / "a.x.brc"), readText(host.folder() / "other"));
  EXPECT_EQ(host.view().errors, Lines{});
  EXPECT_EQ(compile(bad, ""), 0);
  EXPECT_EQ(host.view().errors, Lines{bad + ":2:3: error: No matching symbol 'x'"});
  EXPECT_FALSE(fs::exists(host.folder() / "bad.brc"));
  EXPECT_EQ(compile(good, "/proc/a.brc"), 0) << "nobody can write there";
  EXPECT_EQ(compile(good, good), 0);
  EXPECT_EQ(readText(good), "void main() {}");
  EXPECT_EQ(compile("", ""), 0);
  EXPECT_EQ(library->Compile(nullptr, nullptr), 0);
}

class MenuProgram : public ProgramTest {
 protected:
  MenuProgram() {
    fs::create_directories(app);
    fs::create_directory_symlink(fs::path(VESTA_TEST_APP_DIR) / "modules", app / "modules");
    writeText(app / "resource/config.json", R"({"g_ostrakOutfitterTools": true})");
  }
  Ended menu() { return vesta({"--app-dir", app, "menu"}); }

  const fs::path app = folder / "app";
  const fs::path source = app / "resource/gui.brm";
  const fs::path compiled = app / "resource/gui.brc";
};

TEST_F(MenuProgram, ShowsWhatTheScriptLaysOut) {
  // Of these ids one is registered.
  writeText(source,
            "void main() {\n  Menu@ a = AddMenu(\"A\");\n  a.AddSeparator();\n  a.AddCommand(1001198);\n"
            "  a.AddSeparator();\n  a.AddCommand(7);\n  a.AddSeparator();\n"
            "  Menu@ deep = a.AddMenu(\"Deep\");\n  deep.AddCommand(1001198);\n  deep.AddSeparator();\n"
            "  deep.AddCommand(8);\n  a.AddSeparator();\n"
            "  AddMenu(\"Empty\").AddMenu(\"Inner\").AddCommand(7);\n}\n");
  const std::string golden = "A\n  Lumicheck\t1001198\n  ---\n  Deep\n    Lumicheck\t1001198\n";
  const Ended inMemory = menu();
  EXPECT_EQ(inMemory.status, 0);
  EXPECT_EQ(inMemory.out, golden);
  EXPECT_EQ(inMemory.err,
            compiled.string() + " is not used: No such file or directory; gui.brm is compiled instead\n");

  EXPECT_TRUE(vesta({"--app-dir", app, "-createdistribution"}).saidOut("Created gui.brc\n"));
  fs::rename(source, folder / "kept.brm");
  const Ended fromFile = menu();
  EXPECT_EQ(fromFile.status, 0);
  EXPECT_EQ(fromFile.out, golden);
  EXPECT_EQ(fromFile.err, "");

  std::string damaged = readText(compiled);
  damaged.back() = static_cast<char>(damaged.back() ^ 1);
  writeText(compiled, damaged);
  const Ended nothing = menu();
  EXPECT_EQ(nothing.status, 2);
  EXPECT_EQ(nothing.out, "");
  EXPECT_TRUE(nothing.saidErr("gui.brc is not used: it is damaged; gui.brm is compiled instead\n"))
      << nothing.err;
  EXPECT_TRUE(nothing.saidErr("gui.brm: error: No such file or directory\n")) << nothing.err;
  fs::rename(folder / "kept.brm", source);
  EXPECT_EQ(menu().out, golden);
}

TEST_F(MenuProgram, SaysWhatIsWrongWithTheScript) {
  writeText(source, "void main() {\n  for (;;);\n}\n");
  EXPECT_TRUE(vesta({"--app-dir", app, "-createdistribution"}).saidOut("Created gui.brc\n"));
  const Ended endless = menu();
  EXPECT_EQ(endless.status, 2);
  EXPECT_EQ(endless.err, source.string() + ":2:11: error: the script runs too long, in 'void main()'\n");
}

TEST(ShippedMenus, AreGood) {
  const std::string source = fs::path(VESTA_TEST_APP_DIR) / "resource/gui.brm";
  const host::Compilation compilation = host::compileScript({source, {}, {}});
  EXPECT_EQ(compilation.messages, Lines{});
  EXPECT_FALSE(host::runMenuScript(compilation.bytes, source).children.empty());
}

}  // namespace
