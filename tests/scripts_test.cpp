// The host's scripts: their lists, object files, runs, and the command that shows them.
#include <gtest/gtest.h>

#include "host/script/diagnostics.h"
#include "host/script/object_file.h"
#include "host/script/script_lists.h"
#include "host/services/digest.h"
#include "tests/support/program_test.h"

namespace {

using namespace test;
using host::Script;
using host::ScriptKind;
using host::ScriptLists;
using Lines = std::vector<std::string>;

constexpr int32_t kGerman = 65536 + 'd' * 256 + 'e';

class Scripts : public testing::Test {
 protected:
  fs::path place(const std::string& name) const { return folder / "prefs/scripts" / name; }
  /// The user's scripts, read anew.
  Lines names() {
    said.clear();
    lists = std::make_unique<ScriptLists>(host::ScriptPlaces{
        folder / "app", folder / "prefs", [this](const std::string& line) { said.push_back(line); }});
    Lines names;
    for (const Script& script : lists->list(ScriptKind::User).scripts) names.push_back(script.name);
    return names;
  }
  Script& only() {
    EXPECT_EQ(names().size(), 1U);
    return lists->list(ScriptKind::User).scripts.front();
  }
  std::string allSaid() const {
    std::string all;
    for (const std::string& line : said) all += line + "\n";
    return all;
  }

  const TempFolder folder;
  std::unique_ptr<ScriptLists> lists;
  Lines said;
};

TEST_F(Scripts, AreListedByNameAndWhatIsBrokenIsNamedAndLeftOut) {
  EXPECT_EQ(names(), Lines{}) << "there need be no folder";
  writeText(place("b.brm"), "void main() {}");
  writeText(place("a.BRM"), "void main() {}");
  writeText(place("wrong.brm"), "void main() { int a = b; }");
  writeText(place("my.tool.brm"), "void main() {}");
  writeText(place("damaged.csc"), "VESTA OBJECT 1 scrp 00\n{}\n");
  writeText(place("other.csc"), "VESTA OBJECT 2 scrp 00\n{}\n");
  writeText(place("notes.txt"), "no script");
  writeText(place("huge.brm"), "");
  fs::resize_file(place("huge.brm"), uintmax_t{40} << 30);
  fs::create_directory(place("folder.brm"));
  EXPECT_EQ(names(), (Lines{"a", "b"}));
  const std::string all = allSaid();
  EXPECT_EQ(said.size(), 7U) << all;
  const std::string in = folder / "prefs/scripts/";
  EXPECT_NE(all.find(in + "folder.brm: cannot be read: Is a directory\n"), std::string::npos) << all;
  EXPECT_NE(all.find(in + "huge.brm: not used: it is longer than 2 MiB\n"), std::string::npos) << all;
  EXPECT_NE(all.find(in + "wrong.brm:1:23: error: No matching symbol 'b'\n"), std::string::npos) << all;
  EXPECT_NE(all.find(in + "wrong.brm: not used: it does not compile\n"), std::string::npos) << all;
  EXPECT_NE(all.find(in + "my.tool.brm: not used: the name of a script holds no point\n"), std::string::npos);
  EXPECT_NE(all.find(in + "damaged.csc: not used: it is damaged: its digest does not fit\n"),
            std::string::npos);
  EXPECT_NE(all.find(in + "other.csc: not used: it is an object of another kind or version\n"),
            std::string::npos);
}

TEST_F(Scripts, ObjectFilesKeepEverythingAndHideTheirSource) {
  writeText(place("tool.brm"), "#include \"numbers.h\"\nvoid main() { Print(\"\" + kSeven); }");
  writeText(folder / "app/resource/numbers.h", "const int kSeven = 7;");
  Script& script = only();
  host::Container german;
  std::u16string text;
  for (int code = 0; code <= 0xFFFF; ++code) text += static_cast<char16_t>(code);
  german.set(1, text + u"\\u0041 \\\\U0041 \\");
  german.set(2, std::u16string());
  script.data.set(kGerman, host::NestedContainer(german));
  script.data.set(5, true);
  ASSERT_TRUE(lists->save(script, place("tool.csc"))) << allSaid();

  const std::string source = script.source;  // the next reading of the lists ends this one
  writeText(place("tool.brm"), "changed");
  fs::remove(folder / "app/resource/numbers.h");
  Script& again = only();
  EXPECT_EQ(again.file, place("tool.csc"));
  EXPECT_EQ(again.source, source);
  EXPECT_TRUE(again.data.getBool(5));
  const auto* texts = again.data.find<host::NestedContainer>(kGerman);
  ASSERT_NE(texts, nullptr);
  EXPECT_EQ(*texts->get().find<std::u16string>(1), *german.find<std::u16string>(1));
  EXPECT_EQ(*texts->get().find<std::u16string>(2), u"");
  EXPECT_EQ(lists->run(again, {}).lines, Lines{"7"}) << "the code needs no include any more";
  EXPECT_EQ(host::packObject(again), readText(place("tool.csc"))) << "the same script gives the same file";
}

TEST_F(Scripts, WhatTheHostWroteHidesWhatAnotherSystemNamed) {
  writeText(place("Up.BRM"), "void main() { Print(\"old\"); }");
  Script& script = only();
  ASSERT_TRUE(lists->save(script, place("Up.CSC")));
  script.data.set(kGerman, host::NestedContainer(host::Container()));
  ASSERT_TRUE(lists->save(script, place("Up.csc")));
  EXPECT_EQ(only().file, place("Up.csc"));
  writeText(place("a.b.brm"), "void main() {}");
  said.clear();
  EXPECT_NE(lists->find("Up"), nullptr);
  EXPECT_EQ(allSaid(), "") << "another script's fault is not this one's";
  EXPECT_EQ(lists->find("a.b"), nullptr);
}

TEST_F(Scripts, ObjectsThatWereForgedAreRefused) {
  const auto reason = [](const std::string& data) -> std::string {
    const std::string body = "{\"data\":" + data + ",\"source\":\"\",\"code\":\"\"}";
    Script read;
    try {
      host::unpackObject("VESTA OBJECT 1 scrp " + host::sha256Hex(body) + "\n" + body, read);
    } catch (const host::ScriptRefused& refusal) {
      return refusal.what();
    }
    return "";
  };
  EXPECT_EQ(reason("{}"), "");
  EXPECT_EQ(reason("{\" 65x\":{\"type\":\"bool\",\"value\":true}}"),
            "it cannot be read: ' 65x' is no identifier");
  EXPECT_EQ(reason("{\"5\":{\"type\":\"integer\",\"value\":1e300}}"),
            "it cannot be read: an integer does not fit 32 bits");
  EXPECT_EQ(reason("{\"5\":{\"type\":\"integer\",\"value\":4294967296}}"),
            "it cannot be read: an integer does not fit 32 bits");
  EXPECT_EQ(reason("{\"5\":[]}"), "it cannot be read: a container holds what is no value");
  EXPECT_EQ(reason("[]"), "it cannot be read: not a container");
}

TEST_F(Scripts, EveryChangedByteOfAnObjectFileIsFound) {
  Script script;
  script.source = "void main() {}";
  script.compiled = "any \xff code";
  const std::string bytes = host::packObject(script);
  for (size_t i = 0; i < bytes.size(); ++i) {
    std::string changed = bytes;
    changed[i] = static_cast<char>(changed[i] ^ 1);
    Script read;
    EXPECT_THROW(host::unpackObject(changed, read), host::ScriptRefused) << i;
    EXPECT_THROW(host::unpackObject(bytes.substr(0, i), read), host::ScriptRefused) << i;
  }
}

TEST_F(Scripts, AFileThatCannotBeWrittenStaysAndIsNamed) {
  writeText(place("tool.brm"), "void main() {}");
  const Script& script = only();
  fs::create_directories(place("tool.csc"));
  EXPECT_FALSE(lists->save(script, place("tool.csc")));
  EXPECT_EQ(allSaid(), place("tool.csc").string() + ": not written: Is a directory\n");
  writeText(folder / "file", "x");
  EXPECT_FALSE(lists->save(script, folder / "file/tool.csc"));
  EXPECT_TRUE(lists->save(script, folder / "new/folder/tool.csc")) << "a missing folder is made";
}

TEST_F(Scripts, RunWithArgumentsAndWithinTheirLimits) {
  const auto run = [&](const std::string& source, const Lines& arguments = {}) {
    writeText(place("tool.brm"), source);
    Script& script = only();
    return lists->run(script, arguments);
  };
  const host::ScriptRun good =
      run("void main() { for (uint i = 0; i < ArgumentCount(); ++i) { string a = Argument(i);"
          "  Print(a + \":\" + a.length() + \":\" + a.find(\"b\") + \":\" + a.part(1, 9));"
          "  if (a.isNumber()) Print(FormatNumber(Power(a.toNumber(), 2), 2)); } }",
          {"abc", "", "-1.5"});
  EXPECT_EQ(good.lines, (Lines{"abc:3:1:bc", ":0:-1:", "-1.5:4:-1:1.5", "2.25"}));
  EXPECT_EQ(good.failure, "");
  const host::ScriptRun failed = run("void main() { Print(\"before\"); Fail(\"no!\"); Print(\"behind\"); }");
  EXPECT_EQ(failed.lines, Lines{"before"});
  EXPECT_EQ(failed.failure, "no!");
  const auto failure = [&](const std::string& body) {
    const std::string text = run("void main() { " + body + " }").failure;
    return text.substr(text.find("error: ") == std::string::npos ? 0 : text.find("error: ") + 7);
  };
  EXPECT_EQ(failure("Argument(0);"), "there is no argument 0, in 'void main()'");
  EXPECT_EQ(failure("for (;;) Print(\"0123456789012345678901234567890123456789\");"),
            "the script prints more than 1 MiB, in 'void main()'");
  EXPECT_EQ(failure("\"x\".toNumber();"), "a string that is no number is used as one, in 'void main()'");
  EXPECT_EQ(failure("\"x\".byteAt(1);"), "a byte behind the end of a string is asked for, in 'void main()'");
  EXPECT_EQ(failure("ReadText(\"/nowhere\");"),
            "/nowhere cannot be read: No such file or directory, in 'void main()'");
  EXPECT_EQ(failure("string@ s; Print(s);"), "Null pointer access, in 'void main()'");
  EXPECT_EQ(failure("Fail(\"\");"), "it failed");
}

TEST_F(Scripts, CodeOfAnotherVersionIsCompiledAnew) {
  writeText(place("tool.brm"), "void main() { Print(\"here\"); }");
  Script& script = only();
  script.compiled = "of another version";
  ASSERT_TRUE(lists->save(script, place("tool.csc")));
  Script& again = only();
  EXPECT_EQ(lists->run(again, {}).lines, Lines{"here"});
}

class ScriptsProgram : public ProgramTest {};

TEST_F(ScriptsProgram, ShowsRunsAndPrintsScripts) {
  writeText(fs::path(preferences) / "scripts/Light Units.brm",
            "void main() { Print(\"mine \" + Argument(0)); }\n");
  const Ended run = vesta({"scripts", "run", "Light Units", "--x"});
  EXPECT_EQ(run.out, "mine --x\n") << "the user's script comes before the shipped one";
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(vesta({"scripts", "run", "Light Units", "-1", "x", "--y"}).out, "mine -1\n") << "in their order";
  EXPECT_EQ(vesta({"scripts", "source", "Light Units"}).out,
            "void main() { Print(\"mine \" + Argument(0)); }\n");
  const Ended wrong = vesta({"scripts", "run", "Frame Time", "soon"});
  EXPECT_EQ(wrong.status, 1);
  EXPECT_TRUE(wrong.saidErr("Frame Time wants a frame")) << wrong.err;
  EXPECT_EQ(vesta({"scripts", "run", "Frame Time", "1234", "25"}).out, "00:00:49:09\n");
  EXPECT_EQ(vesta({"scripts", "run", "Four Characters", "scrp"}).out, "'scrp' is 1935897200\n");
  EXPECT_EQ(vesta({"scripts", "run", "Nothing"}).status, 2);
  writeText(fs::path(preferences) / "scripts/Broken.brm", "void");
  const Ended list = vesta({"scripts"});
  EXPECT_EQ(list.status, 1) << "a broken script is something wrong";
  EXPECT_TRUE(list.saidOut("Light Units\tuser\t")) << list.out;
  EXPECT_TRUE(list.saidErr("Broken.brm: not used: it does not compile")) << list.err;
}

}  // namespace
