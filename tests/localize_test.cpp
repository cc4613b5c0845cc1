// Script strings: what an import reads and refuses, what an export writes, and that both undo each other.
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "host/script/script_lists.h"
#include "tests/support/test_host.h"
#include "tests/support/watched_tables.h"

namespace {

using namespace test;
using Lines = std::vector<std::string>;
using Files = std::map<std::string, std::string>;  ///< bytes by name

constexpr int32_t kImport = 1001192;
constexpr int32_t kExport = 1001193;
constexpr int32_t kName = 1;
constexpr int32_t kHelp = 2;

int32_t languageId(const std::string& code) {
  return 65536 + static_cast<unsigned char>(code[0]) * 256 + static_cast<unsigned char>(code[1]);
}

class Localize : public testing::Test {
 protected:
  Localize() {
    for (const fs::path& place : {strings, out, folder / "app/modules/outfitter/resource"})
      fs::create_directories(place);
  }

  void addScript(const fs::path& place, const std::string& name) {
    writeText(place / (name + ".brm"), "void main() {}");
  }
  /// Gives the scripts of both kinds their texts in object files.
  template <class Fill>
  void fillScripts(Fill fill) {
    host::ScriptLists lists({(folder / "app").string(), (folder / "prefs").string(), [](auto&) {}});
    for (const auto kind : {host::ScriptKind::User, host::ScriptKind::Shipped}) {
      for (host::Script& script : lists.list(kind).scripts) {
        fill(script);
        ASSERT_TRUE(lists.save(script, lists.folder(kind) + "/" + script.name + ".csc"));
      }
    }
  }
  static void setText(host::Script& script, const std::string& code, int32_t id, const std::u16string& text) {
    const auto* there = script.data.find<host::NestedContainer>(languageId(code));
    host::Container language = there != nullptr ? there->get() : host::Container();
    language.set(id, text);
    script.data.set(languageId(code), host::NestedContainer(language));
  }

  /// Runs a command on a folder; answers the boxes that it showed.
  Lines run(int32_t id, const fs::path& selected, const HostTables* tables = nullptr) {
    TestHost host({.tables = tables, .preferences = folder / "prefs", .app = folder / "app"});
    return runIn(host, id, selected);
  }
  Lines runIn(TestHost& host, int32_t id, const fs::path& selected) {
    host::DialogScript script;
    if (!selected.empty()) script.selections = {selected.string()};
    host.view().boxes.clear();
    good = host.execute(id, script);
    return host.view().boxes;
  }
  /// Imports one German file.
  Lines import(const std::string& bytes) {
    forget(strings);
    for (const fs::path& place : {user, shipped}) forget(place, ".csc");
    writeText(strings / "script_de.txt", bytes);
    return run(kImport, strings);
  }

  static void forget(const fs::path& place, const std::string& suffix = {}) {
    if (!fs::exists(place)) return;
    for (const auto& entry : fs::directory_iterator(place)) {
      if (suffix.empty() || entry.path().extension() == suffix) fs::remove_all(entry.path());
    }
  }
  static Files filesIn(const fs::path& place) {
    Files files;
    for (const auto& entry : fs::recursive_directory_iterator(place)) {
      if (!entry.is_directory() && entry.path().extension() != ".brm")
        files[entry.path().lexically_relative(place)] = readText(entry.path());
    }
    return files;
  }
  bool nothingWritten() const { return filesIn(folder / "prefs").empty() && filesIn(folder / "app").empty(); }

  /// The data of the scripts of a folder, as their object files hold it.
  std::map<std::string, host::Container> written(const fs::path& place) const {
    std::map<std::string, host::Container> data;
    host::ScriptLists lists({(folder / "app").string(), (folder / "prefs").string(), [](auto&) {}});
    const host::ScriptKind kind = place == user ? host::ScriptKind::User : host::ScriptKind::Shipped;
    for (const host::Script& script : lists.list(kind).scripts) data[script.name] = script.data;
    return data;
  }
  /// "-" when there is no such text.
  static std::u16string text(const host::Container& data, const std::string& code, int32_t id) {
    const auto* language = data.find<host::NestedContainer>(languageId(code));
    const auto* found = language != nullptr ? language->get().find<std::u16string>(id) : nullptr;
    return found != nullptr ? *found : u"-";
  }

  const TempFolder folder;
  const fs::path user = folder / "prefs/scripts";
  const fs::path shipped = folder / "app/resource/modules/vestaplugin/scripts";
  const fs::path strings = folder / "strings";
  const fs::path out = folder / "out";
  bool good = false;
};

TEST_F(Localize, LinesAreReadOrRefused) {
  addScript(user, "A");
  addScript(user, "B b");
  struct Case {
    std::string bytes;
    std::u16string name, help, other;  ///< of A, and the name of B b
    std::string box;
  };
  const auto updated = [](int count) {
    return "1 Languages and " + std::to_string(count) + " Strings updated!";
  };
  const std::string line = "Name:\"A\" \"x\"";
  const auto ofLength = [](size_t bytes) { return "Name:\"A\" \"" + std::string(bytes - 11, 'x') + "\""; };
  const auto nul = [](std::string text) {
    for (char& byte : text) byte = byte == '0' ? '\0' : byte;
    return text;
  };
  const std::vector<Case> cases = {
      {"\n\r\n" + line + "\r\n\n\rHelp:\"A\" \"y\"\rName: \t \"B b\"\t\"z\" \t\n\n", u"x", u"y", u"z",
       updated(3)},
      {"Name:\"A\"\"x\"", u"x", u"-", u"-", updated(1)},
      {"Name:\"A\"", u"", u"-", u"-", updated(1)},
      {"Name:\"A\" \"x  ", u"x  ", u"-", u"-", updated(1)},
      {"Name:\"A\" \"x\" \"\"\t\"", u"x", u"-", u"-", updated(1)},
      {line + "\nName:\"A\" \"\"", u"", u"-", u"-", updated(2)},
      {"Name:\"A\" \"\\u00e4\\U263A\\\\U0041\\\\u00\xe4\\u\"", u"\u00e4\u263a\\A\\\\u00\u00e4\\u", u"-", u"-",
       updated(1)},
      {"\\u004eame:\\u0022A\" \"x\"", u"x", u"-", u"-", updated(1)},
      {nul("Name:\"A\" \"0x0\""), std::u16string(u"\0x\0", 3), u"-", u"-", updated(1)},
      {"\n\n", u"-", u"-", u"-", "No changes!"},
      {"name:\"A\" \"x\"", u"-", u"-", u"-", "Unknown identifier file script_de.txt Line 0"},
      {line + "\n\n\nHelp:\"A\" \"y\" z\n", u"-", u"-", u"-", "Unknown identifier file script_de.txt Line 1"},
      {line + "\r\n" + line + "\nName:\"A\" x \"y\"", u"-", u"-", u"-",
       "Unknown identifier file script_de.txt Line 2"},
      {"Name: x\"A\" \"y\"", u"-", u"-", u"-", "Unknown identifier file script_de.txt Line 0"},
      {"Help", u"-", u"-", u"-", "Unknown identifier file script_de.txt Line 0"},
      {nul("Name:0\"A\" \"x\""), u"-", u"-", u"-", "Unknown identifier file script_de.txt Line 0"},
      {"Name:", u"-", u"-", u"-", "Couldn't assign strings for script "},
      {line + "\nName:\"a\" \"x\"", u"-", u"-", u"-", "Couldn't assign strings for script a"},
      {ofLength(2046), std::u16string(2035, u'x'), u"-", u"-", updated(1)},
      {ofLength(2047) + "\r\n", std::u16string(2036, u'x'), u"-", u"-", updated(1)},
      {ofLength(2048) + "\n", u"-", u"-", u"-", "Unknown identifier file script_de.txt Line 0"},
      {ofLength(2049), u"-", u"-", u"-", "Unknown identifier file script_de.txt Line 0"},
      {line + "\n" + ofLength(2050), u"-", u"-", u"-", "Unknown identifier file script_de.txt Line 1"},
  };
  for (const Case& test : cases) {
    EXPECT_EQ(import(test.bytes), Lines{test.box}) << test.bytes;
    auto data = written(user);
    EXPECT_EQ(text(data["A"], "de", kName), test.name) << test.bytes;
    EXPECT_EQ(text(data["A"], "de", kHelp), test.help) << test.bytes;
    EXPECT_EQ(text(data["B b"], "de", kName), test.other) << test.bytes;
    const bool wrong = test.box[0] == 'U' || test.box[0] == 'C';
    EXPECT_EQ(good, !wrong) << test.bytes;
    EXPECT_TRUE(!wrong || nothingWritten()) << test.bytes;
  }
}

TEST_F(Localize, FoldersAreImportedWholeOrNotAtAll) {
  addScript(user, "A");
  addScript(user, "B");
  addScript(shipped, "A");
  EXPECT_EQ(run(kImport, {}), Lines{});
  EXPECT_FALSE(good) << "cancelled";
  EXPECT_EQ(run(kImport, strings), Lines{"No changes!"});
  EXPECT_TRUE(good);

  const std::string bad = "Name:\"C\" \"x\"\n";
  for (const char* other :
       {"script_deu.txt", "script-de.txt", "script_de.tx", "script_de_txt", "xscript_d.txt"}) {
    writeText(strings / other, bad);
  }
  fs::create_directories(strings / "script_it.txt");
  writeText(strings / "script_es.txt", "");
  EXPECT_EQ(run(kImport, strings), Lines{"No changes!"});
  EXPECT_TRUE(nothingWritten());

  writeText(strings / "SCRIPT_De.TxT", "Name:\"A\" \"De\"\n");
  writeText(strings / "script_de.TXT", "Name:\"A\" \"de\"\nHelp:\"A\" \"help\"\n");
  writeText(strings / "script_\xC3\xA4\xC3\xB6.txt", "Name:\"B\" \"code\"\n");
  TestHost host({.preferences = folder / "prefs", .app = folder / "app"});
  EXPECT_EQ(runIn(host, kImport, strings), Lines{"4 Languages and 7 Strings updated!"});
  EXPECT_TRUE(good);
  for (const fs::path& place : {user, shipped}) {
    const host::Container data = written(place)["A"];
    EXPECT_EQ(text(data, "De", kName), u"De");
    EXPECT_EQ(text(data, "de", kName), u"de");
    EXPECT_EQ(text(data, "de", kHelp), u"help");
  }
  EXPECT_EQ(text(written(user)["B"], "\xE4\xF6", kName), u"code");

  // What a later file spoils is not written, but stays in memory and goes with the next import.
  const Files before = filesIn(folder / "prefs");
  writeText(strings / "script_fr.txt", "Name:\"B\" \"fr\"\n");
  writeText(strings / "script_zz.txt", bad);
  EXPECT_EQ(runIn(host, kImport, strings), Lines{"Couldn't assign strings for script C"});
  EXPECT_FALSE(good);
  EXPECT_EQ(filesIn(folder / "prefs"), before);
  forget(strings);
  writeText(strings / "script_ja.txt", "Name:\"B\" \"ja\"\n");
  EXPECT_EQ(runIn(host, kImport, strings), Lines{"1 Languages and 1 Strings updated!"});
  auto data = written(user);
  EXPECT_EQ(text(data["B"], "fr", kName), u"fr");
  EXPECT_EQ(text(data["B"], "ja", kName), u"ja");
  EXPECT_EQ(text(data["A"], "de", kHelp), u"help");
}

TEST_F(Localize, ExportsWriteAFileForEachLanguage) {
  addScript(user, "A");
  addScript(user, "B \\");
  addScript(user, "none");
  addScript(shipped, "A");
  EXPECT_EQ(run(kExport, {}), Lines{});
  EXPECT_FALSE(good) << "cancelled";
  EXPECT_EQ(run(kExport, out), Lines{});
  EXPECT_TRUE(good);
  EXPECT_TRUE(filesIn(out).empty());

  fillScripts([](host::Script& script) {
    if (script.name == "none") return;
    const bool isA = script.name == "A";
    setText(script, "US", kName, u"English " + std::u16string(script.name.begin(), script.name.end()));
    if (isA) setText(script, "US", kHelp, u"Help");
    if (isA && script.kind == host::ScriptKind::User)
      setText(script, "de", kName, u"\u00c4\t\"\u263a\"\\u0041");
    if (!isA) setText(script, "de", kHelp, u"Hilfe");
    script.data.set(65535, 1);
    script.data.set(131072, 1);
    if (isA) script.data.set(languageId("fr"), 5);
  });
  EXPECT_EQ(run(kExport, out), Lines{});
  const Files expected = {
      {"script_US.TXT",
       "Name:\"A\" \"English A\"\nHelp:\"A\" \"Help\"\nName:\"B \\\" \"English B \\\"\n"
       "Name:\"none\" \"\"\nName:\"A\" \"English A\"\nHelp:\"A\" \"Help\"\n"},
      {"script_de.TXT",
       "Name:\"A\" \"\\u00c4\\u0009\"\\u263a\"\\u005cu0041\"\nHelp:\"A\" \"Help\"\nName:\"B \\\" "
       "\"English B \\\"\nHelp:\"B \\\" \"Hilfe\"\nName:\"none\" \"\"\nName:\"A\" \"English "
       "A\"\nHelp:\"A\" \"Help\"\n"},
      {"script_fr.TXT", filesIn(out)["script_US.TXT"]}};
  EXPECT_EQ(filesIn(out), expected);
  // A double quote cannot be carried: the text ends there, and what follows it is refused.
  EXPECT_EQ(run(kImport, out), Lines{"Unknown identifier file script_de.TXT Line 0"});

  // Languages are written in the order they are found until one cannot be; a file is whole or not there.
  for (const std::string& code : {std::string("a/"), std::string("a\0", 2)}) {
    forget(out);
    fs::create_directory(out / "script_a");
    fillScripts([&](host::Script& script) {
      script.data = host::Container();
      if (script.kind == host::ScriptKind::User) setText(script, "zz", kName, u"x");
      if (script.kind == host::ScriptKind::Shipped) {
        for (const std::string& other : {std::string("AA"), code, std::string("bb")})
          setText(script, other, kName, u"x");
      }
    });
    EXPECT_EQ(run(kExport, out), Lines{"Error writing"});
    EXPECT_TRUE(good);
    const Files written = filesIn(out);
    EXPECT_EQ(written.size(), 2U);
    EXPECT_EQ(written.count("script_AA.TXT") + written.count("script_zz.TXT"), 2U);
    EXPECT_TRUE(fs::is_empty(out / "script_a"));
  }
}

/// Every code but the double quote, in more languages than most programs have.
TEST_F(Localize, ExportAndImportUndoEachOther) {
  constexpr int kCodesOfAText = 300;
  addScript(user, "A");
  addScript(user, "B");
  std::map<std::string, std::u16string> texts = {{"yy", u"\\u0041 \\\\u005c \\u005cu \\U0041 \\u"},
                                                 {"yz", u"u\\"}};
  for (int first = 0; first <= 0xFFFF; first += kCodesOfAText) {
    const int number = first / kCodesOfAText;
    std::u16string& text =
        texts[{static_cast<char>('a' + number / 26), static_cast<char>('a' + number % 26)}];
    for (int code = first; code < first + kCodesOfAText && code <= 0xFFFF; ++code) {
      if (code != '"') text += static_cast<char16_t>(code);
    }
  }
  ASSERT_GT(texts.size(), 105U);
  fillScripts([&](host::Script& script) {
    for (const auto& [code, text] : texts) setText(script, code, script.name == "A" ? kName : kHelp, text);
  });
  EXPECT_EQ(run(kExport, out), Lines{});
  const Files first = filesIn(out);
  ASSERT_EQ(first.size(), texts.size());

  forget(user, ".csc");
  const size_t count = 3 * texts.size();  // B has an empty name in each language
  EXPECT_EQ(run(kImport, out), Lines{std::to_string(texts.size()) + " Languages and " +
                                     std::to_string(count) + " Strings updated!"});
  auto data = written(user);
  for (const auto& [code, expected] : texts) {
    EXPECT_EQ(text(data["A"], code, kName), expected) << code;
    EXPECT_EQ(text(data["B"], code, kHelp), expected) << code;
  }
  forget(out);
  run(kExport, out);
  EXPECT_EQ(filesIn(out), first);
}

/// Under sanitizers every seventh call is failed, elsewhere every one.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kStep = 7;
#else
constexpr int kStep = 1;
#endif

class LocalizeSweep : public Localize {
 protected:
  LocalizeSweep() : before_(fs::current_path()) {
    for (const fs::path& place : {user, shipped}) addScript(place, "A");
    addScript(user, "B");
    fillScripts([](host::Script& script) {
      setText(script, "US", kName, u"old");
      setText(script, "de", kHelp, u"old \u263a");
    });
    writeText(strings / "script_de.txt", "Name:\"A\" \"x\"\nHelp:\"B\" \"\"\n");
    writeText(strings / "script_fr.TXT", "Help:\"A\" \"y\"\r\n");
    // Names that a failed call has emptied are seen from the current folder.
    fs::create_directories(folder / "elsewhere");
    fs::current_path(folder / "elsewhere");
    initial = state();
  }
  ~LocalizeSweep() override { fs::current_path(before_); }

  /// What stands in the folders that a command may write to.
  Files state() const {
    Files all;
    for (const char* place : {"prefs", "app", "out", "elsewhere"}) {
      for (const auto& [name, bytes] : filesIn(folder / place)) all[std::string(place) + "/" + name] = bytes;
    }
    return all;
  }
  /// Touches only what has changed: file systems are slow at making and removing files.
  void restore() {
    for (const auto& [name, bytes] : state()) {
      if (initial.count(name) == 0) fs::remove(folder / name);
    }
    for (const auto& [name, bytes] : initial) {
      if (!fs::exists(folder / name) || readText(folder / name) != bytes) writeText(folder / name, bytes);
    }
  }

  /// Runs a command with each of its host calls failing in turn; `check` is told which slot it was.
  template <class Check>
  void sweep(int32_t id, const fs::path& selected, Check check) {
    int calls = 1;
    for (int failing = 0; failing <= calls; failing += kStep) {
      restore();
      Watch watch(host::hostTables());
      Lines boxes;
      {
        TestHost host({.tables = &watch.tables(), .preferences = folder / "prefs", .app = folder / "app"});
        const int before = watch.calls();
        if (failing > 0) watch.failAt(before + failing - 1);
        boxes = runIn(host, id, selected);
        if (failing == 0) calls = watch.calls() - before;
      }
      const std::string label = "call " + std::to_string(failing) + ", " + watch.failedSlot();
      EXPECT_EQ(watch.problems(), Lines{}) << label;
      check(watch.failedSlot(), boxes, label);
      if (HasFailure()) break;
    }
    EXPECT_GT(calls, 200);
  }

  Files initial;

 private:
  const fs::path before_;
};

TEST_F(LocalizeSweep, AnImportWritesWhatTheGoodOneDoesOrNothing) {
  // Their failure looks like an end, like nothing there: what the last box counts differs then.
  const std::set<std::string> passedOver = {"BrowseInit",      "BrowseNext",
                                            "FileOpen",        "FileReadBytes",
                                            "FileNameCompare", "GetScriptList",
                                            "ListFirst",       "ListNext",
                                            "ScriptGetData",   "ContainerGetContainerRef",
                                            "ContainerInit",   "ContainerSetContainer"};
  Lines goodBoxes;
  Files goodState;
  sweep(kImport, strings, [&](const std::string& slot, const Lines& boxes, const std::string& label) {
    if (slot.empty()) {
      goodBoxes = boxes;
      goodState = state();
      ASSERT_EQ(boxes, Lines{"2 Languages and 5 Strings updated!"});
    } else if (!good) {
      EXPECT_EQ(state(), initial) << label;
    } else if (slot != "SaveScriptFile") {
      const bool counted = passedOver.count(slot) != 0 && boxes != goodBoxes;
      EXPECT_TRUE(counted || state() == goodState) << label << testing::PrintToString(boxes);
    }
  });
}

TEST_F(LocalizeSweep, AnExportWritesGoodFilesOrTellsWhyNot) {
  // Their failure looks like an end, like nothing there; or the text says that it is passed over.
  const std::set<std::string> quiet = {"GetScriptList",      "ListFirst",     "ListNext",
                                       "ScriptGetData",      "MemAlloc",      "ContainerGetContainerRef",
                                       "ContainerNextEntry", "FileWriteBytes"};
  Files goodState;
  sweep(kExport, out, [&](const std::string& slot, const Lines& boxes, const std::string& label) {
    if (slot.empty()) {
      goodState = state();
      ASSERT_EQ(goodState.count("out/script_de.TXT") + goodState.count("out/script_US.TXT"), 2U);
    }
    if (quiet.count(slot) != 0) return;
    const Files now = state();
    for (const auto& [name, bytes] : now) {
      EXPECT_TRUE(goodState.count(name) != 0 && goodState.at(name) == bytes) << label << ": " << name;
    }
    const bool untold = slot == "FileClose" || slot == "ShowMessage";
    EXPECT_TRUE(!good || !boxes.empty() || untold || now == goodState) << label;
  });
}

}  // namespace
