// `vesta strings check`: what it finds in script string files, where, and what was dismissed.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/support/program_test.h"

namespace {

using namespace test;

class StringsCheck : public ProgramTest {
 protected:
  StringsCheck() {
    // The user's script is the only one.
    script("A");
    fs::create_directories(folder / "app");
    fs::create_directory_symlink(fs::path(VESTA_TEST_APP_DIR) / "modules", folder / "app/modules");
  }
  void script(const std::string& name) {
    writeText(preferences / "scripts" / (name + ".brm"), "void main() {}");
  }
  void file(const std::string& name, const std::string& text) { writeText(strings / name, text); }

  Ended check(const Words& more = {}) const {
    Words words = {"--app-dir", folder / "app", "strings", "check", strings};
    words.insert(words.end(), more.begin(), more.end());
    return vesta(words);
  }
  /// The findings, without the folder, and the summary.
  std::string found(const Words& more = {}) const {
    std::string out = check(more).out;
    const std::string prefix = strings.string() + "/";
    for (size_t at; (at = out.find(prefix)) != std::string::npos;) out.erase(at, prefix.size());
    return out;
  }

  const fs::path strings = folder / "strings";
};

TEST_F(StringsCheck, LinesThatTheImportRefusesOrReadsOtherwise) {
  file("strings_dismissed.json", "{\"vestaStringsDismissed\":1}\n{\"kind\":\"no-us\"}\n");
  const std::string longest = "Help:\"A\" \"" + std::string(2047 - 11, 'x') + "\"";
  file("script_de.txt",
       "Name:\"A\" \"n\"\r\n\r\nname:\"A\" \"n\"\rHelp:\"A\" \"say \"hi\"\"\n"
       "Name:\"Z\\u00e9\" \"n\"\nHelp:\"Z\\u00e9\" \"n\"\n" +
           longest + "\n" + longest + " \n \t\nHelp:\"A\" \"two\"\"\nName:\"A\"\nName:\\u0022A\" x");
  EXPECT_EQ(
      found(),
      "script_de.txt:3:1: malformed: a line begins with Name: or Help:\n"
      "script_de.txt:4:16: malformed: nothing may stand behind the text; a text cannot hold a double quote\n"
      "script_de.txt:5:7: unknown-script: the host keeps no script 'Z\xc3\xa9'\n"
      "script_de.txt:8:2048: malformed: the line is longer than 2047 bytes\n"
      "script_de.txt:9:1: malformed: a line begins with Name: or Help:\n"
      "script_de.txt:10:7: duplicate: the help text of 'A' stands in line 7 as well; the later one counts\n"
      "script_de.txt:10:11: quote: a double quote too many, which the import leaves out: a text cannot hold "
      "one\n"
      "script_de.txt:11:7: incomplete: the line holds 2 double quotes instead of four: something of it is "
      "missing\n"
      "script_de.txt:11:7: duplicate: the name of 'A' stands in line 1 as well; the later one counts\n"
      "script_de.txt:12:15: malformed: this cannot stand outside of the double quotes\n"
      "files: 1, entries: 6, findings: 10, dismissed: 1\n");
  EXPECT_EQ(check().status, 1);
}

TEST_F(StringsCheck, TextsBesideTheFallbackAndEachOther) {
  script("C");
  file("script_US.txt",
       "Name:\"A\" \"Open %1$s of {count}\"\nHelp:\"A\" \"Opens it...\"\nName:\"C\" \"Close\"\nHelp:\"C\" "
       "\"100 % done.\"\n");
  file("script_de.TXT",
       "Name:\"A\" \"{count}: %s\"\nHelp:\"A\" \"\\u00d6ffnet es\\u2026\"\nName:\"C\" "
       "\"Geschlossen\"\nHelp:\"C\" \"100 % fertig\"\n");
  file("script_fr.txt",
       "Name:\"A\" \"Ouvrir %s de {nombre}\"\nHelp:\"A\" \" Il ouvre ... \"\nName:\"C\" \"Fermer\"\n");
  // As wide as 16 letters, and so wider by half than the next one.
  file("script_ja.txt",
       "Name:\"A\" \"%s {count}\"\nHelp:\"A\" \"\\u958b\\u304f\\u3002\"\n"
       "Name:\"C\" \"\\u9589\\u3058\\u308b\\u9589\\u3058\\u308b\\u9589\\u3058\\u308b\"\nHelp:\"C\" \"100 "
       "%\\u3002\"\n");
  EXPECT_EQ(
      found(),
      "script_de.TXT:4:11: punctuation: '100 % fertig' does not end as '100 % done.' in US\n"
      "script_fr.txt:1:11: placeholder: placeholders: %1$s, {nombre}; in US: %1$s, {count}\n"
      "script_fr.txt:2:11: blank: ' Il ouvre ... ' does not begin and end as 'Opens it...' in US: blanks\n"
      "script_fr.txt:3:7: missing-text: the help text of 'C' is missing; there is one in US, de, ja\n"
      "script_ja.txt:2:11: punctuation: '\xe9\x96\x8b\xe3\x81\x8f\xe3\x80\x82' does not end as 'Opens it...' "
      "in US\n"
      "script_ja.txt:3:11: long-name: "
      "'\xe9\x96\x89\xe3\x81\x98\xe3\x82\x8b\xe9\x96\x89\xe3\x81\x98\xe3\x82\x8b\xe9\x96\x89\xe3\x81\x98\xe3"
      "\x82\x8b'"
      " takes 18 columns; in the other languages the name takes at most 11\n"
      "files: 4, entries: 15, findings: 6\n");
}

TEST_F(StringsCheck, PlaceholdersKeepTheirNumbers) {
  struct {
    const char* fallback;
    const char* text;
    const char* said;  ///< nothing: they fit
  } const kCases[] = {
      {"%s of %d", "%2$d: %1$s", ""},
      {"%s of %d", "%d: %s", "placeholders: %1$d, %2$s; in US: %1$s, %2$d"},
      {"%1$s of %2$s", "%1$s of %1$s", "placeholders: %1$s, %1$s; in US: %1$s, %2$s"},
      {"%5.1f%% {0}", "{0} %5.1f%%", ""},
      {"100 % done", "100 % de tout", ""},
      {"%d", "no", "placeholders: none; in US: %1$d"},
  };
  for (const auto& test : kCases) {
    file("script_US.txt", "Help:\"A\" \"" + std::string(test.fallback) + "\"\n");
    file("script_fr.txt", "Help:\"A\" \"" + std::string(test.text) + "\"\n");
    const std::string line = "script_fr.txt:1:11: placeholder: " + std::string(test.said) + "\n";
    EXPECT_EQ(found(), (*test.said != 0 ? line + "files: 2, entries: 2, findings: 1\n"
                                        : "files: 2, entries: 2, findings: 0\n"))
        << test.text;
  }
}

TEST_F(StringsCheck, WithoutTheFallbackItSaysThatNothingIsCompared) {
  file("script_fr.txt", "Name:\"A\" \"n\"\n");
  const Ended ended = check();
  EXPECT_EQ(ended.status, 1);
  EXPECT_TRUE(ended.saidOut("strings: no-us: there is no script_US.txt")) << ended.out;
  check({"--dismiss"});
  fs::rename(strings, folder / "elsewhere");
  EXPECT_EQ(vesta({"--app-dir", folder / "app", "strings", "check", folder / "elsewhere"}).status, 0);
}

TEST_F(StringsCheck, FilesThatAreNoneAndScriptsThatCannotBeWritten) {
  script("B \"quoted\"");
  file("script_US.txt", "Name:\"A\" \"n\"\nName:\"B \"quoted\"\" \"n\"\n");
  file("script_us.txt", "Name:\"A\" \"n\"\n");
  file("Script_US.TXT", "Name:\"A\" \"n\"\n");
  file("script_de.txt", "\xef\xbb\xbfName:\"A\" \"n\"\n");
  file("script_pl.txt", std::string("\xff\xfeN\0", 4));
  file("script_fr.txt", "Name:\"A\" \"n\"\nHelp:\"A\" \"\xc3\xa9\"\n");
  file("script_deu.txt", "");
  file("script_de.text", "");
  file("notes.txt", "nothing of ours");
  fs::create_directory(strings / "script_xx.txt");
  const std::string all = found();
  for (const char* line :
       {"script_deu.txt: not-taken: the import does not take this name: it wants script_, two characters and "
        ".txt\n",
        "script_de.text: not-taken: the import does not take this name",
        "script_xx.txt: not-taken: the import passes over it: it is a folder\n",
        "script_US.txt: same-language: the same language as Script_US.TXT, which is imported before it\n",
        "script_us.txt: same-language: another language than that of Script_US.TXT: letter case counts in "
        "language codes\n",
        "B \"quoted\": quote: the name of a script holds a double quote, which string files cannot carry\n",
        "script_de.txt:1:1: encoding: the file begins with a byte order mark, which the import takes for a "
        "part of the first tag\n",
        "script_pl.txt:1:1: encoding: the file is UTF-16; the import reads bytes\n",
        "script_fr.txt:2:11: encoding: the file is UTF-8; the import takes each byte for a Latin-1 "
        "character: write \\u and four digits\n"}) {
    EXPECT_NE(all.find(line), std::string::npos) << line << all;
  }
  EXPECT_EQ(all.find("notes.txt"), std::string::npos);
}

TEST_F(StringsCheck, DismissalsHoldUntilTheTextChangesAndTheCheckChangesNothing) {
  file("script_US.txt", "Name:\"A\" \"n\"\nHelp:\"A\" \"Text.\"\n");
  file("script_de.txt", "Name:\"A\" \"n\"\nHelp:\"A\" \"Text\"\nHelp:\"Z\" \"z\"\n");
  EXPECT_EQ(check().status, 1);
  EXPECT_FALSE(fs::exists(strings / "strings_dismissed.json"));
  const Ended dismissed = check({"--dismiss"});
  EXPECT_EQ(dismissed.status, 1) << "what the import refuses cannot be dismissed";
  EXPECT_TRUE(dismissed.saidOut("findings: 1, dismissed: 1\n")) << dismissed.out;
  const std::string kept = readText(strings / "strings_dismissed.json");
  EXPECT_EQ(kept,
            "{\"vestaStringsDismissed\":1}\n{\"kind\":\"punctuation\",\"language\":\"de\",\"script\":\"A\","
            "\"tag\":\"Help\","
            "\"text\":\"Text\",\"beside\":\"Text.\"}\n");
  const std::string german = "\n\nHelp:\"A\" \"Text\"\nName:\"A\" \"n\"\n";
  file("script_de.txt", german);
  EXPECT_EQ(check().status, 0) << "other lines, the same texts";
  EXPECT_TRUE(check({"--show-dismissed"}).saidOut("script_de.txt:3:11: punctuation:"));
  EXPECT_EQ(readText(strings / "script_de.txt"), german);
  file("script_US.txt", "Name:\"A\" \"n\"\nHelp:\"A\" \"Another text.\"\n");
  const Ended again = check();
  EXPECT_EQ(again.status, 1) << "compared with another text";
  EXPECT_TRUE(again.saidOut("findings: 1, dismissals that fit nothing any more: 1\n")) << again.out;
  EXPECT_TRUE(
      check({"--show-dismissed"})
          .saidOut("strings_dismissed.json: fits nothing any more: punctuation 'de' 'A' 'Help' 'Text'\n"));
  EXPECT_EQ(readText(strings / "strings_dismissed.json"), kept);
  file("strings_dismissed.json", kept + "{\"kind\":1}\n");
  const Ended broken = check();
  EXPECT_EQ(broken.status, 2);
  EXPECT_TRUE(broken.saidErr("strings_dismissed.json:3: not a string")) << broken.err;
}

TEST_F(StringsCheck, DismissalsOutliveAFileThatCannotBeUsedForNow) {
  const std::string german = "Help:\"A\" \"Text\"\n";
  file("script_US.txt", "Help:\"A\" \"Text.\"\n");
  for (const std::string& unusable :
       {"\xef\xbb\xbf" + german, "x\n" + german, std::string("Help:\"Z\" \"Text\""), std::string()}) {
    file("script_de.txt", german);
    EXPECT_EQ(check({"--dismiss"}).status, 0);
    if (unusable.empty()) {
      fs::remove(strings / "script_de.txt");
      fs::create_symlink("nowhere", strings / "script_de.txt");
    } else {
      file("script_de.txt", unusable);
    }
    EXPECT_EQ(check({"--dismiss"}).status, 1);
    fs::remove(strings / "script_de.txt");
    file("script_de.txt", german);
    EXPECT_EQ(check().status, 0) << unusable;
  }
}

TEST_F(StringsCheck, FilesOfNoMeasureAreNamedAndTheOthersChecked) {
  file("script_US.txt", "Help:\"A\" \"Text.\"\n");
  file("script_de.txt", "Help:\"A\" \"Text\"\n");
  file("script_fr.txt", "");
  fs::resize_file(strings / "script_fr.txt", uintmax_t{1} << 40);
  std::string lines;
  for (int i = 0; i <= 200'000; ++i) lines += "x\n";
  file("script_it.txt", lines);
  const Ended ended = check({"--json", folder / "found.json"});
  EXPECT_EQ(ended.status, 1);
  EXPECT_TRUE(ended.saidErr("script_fr.txt: cannot be read: it is larger than 64 MiB")) << ended.err;
  EXPECT_TRUE(ended.saidErr("script_it.txt: cannot be read: it has more than 200000 lines")) << ended.err;
  EXPECT_TRUE(ended.saidOut("script_de.txt:1:11: punctuation:")) << ended.out;
  const auto json = nlohmann::json::parse(readText(folder / "found.json"));
  EXPECT_EQ(json["unreadable"].size(), 2U);
  EXPECT_EQ(json["unreadable"][0]["reason"], "it is larger than 64 MiB");
  fs::remove(strings / "script_US.txt");
  fs::remove(strings / "script_de.txt");
  EXPECT_EQ(check().status, 2) << "nothing was checked";
}

TEST_F(StringsCheck, JsonExitStatusesAndHostileFiles) {
  EXPECT_EQ(check().status, 2) << "no folder";
  file("notes.txt", "");
  EXPECT_TRUE(check().saidErr("There is no script string file"));
  file("script_de.txt", std::string(20'000'000, 'x') + std::string(1000, '\0') + "\n\x1b[31mName:\n");
  const Ended ended = check({"--json", folder / "found.json"});
  EXPECT_EQ(ended.status, 1);
  EXPECT_EQ(ended.out.find('\x1b'), std::string::npos);
  const auto json = nlohmann::json::parse(readText(folder / "found.json"));
  ASSERT_EQ(json["findings"].size(), 3U);
  EXPECT_EQ(json["findings"][0]["kind"], "no-us");
  EXPECT_EQ(json["findings"][1]["column"], 2048);
  EXPECT_EQ(json["findings"][2]["line"], 2);
  EXPECT_EQ(check({"--json", folder / "nowhere/found.json"}).status, 2);
  EXPECT_EQ(check({"--json", ""}).status, 2);
  fs::remove(preferences / "scripts/A.brm");
  fs::remove(strings / "script_de.txt");
  file("script_US.txt", "Name:\"Any\" \"n\"\n");
  const Ended without = check();
  EXPECT_EQ(without.status, 0);
  EXPECT_TRUE(without.saidErr("The host keeps no scripts")) << without.err;
}

}  // namespace
