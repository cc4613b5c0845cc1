// The program's command line: configuration, commands with their dialogs, stored settings, exit statuses.
#include "tests/support/program_test.h"

namespace {

using namespace test;

class ProgramCommand : public ProgramTest {
 protected:
  /// An application folder of the test's own, with the real modules.
  fs::path appFolder(const std::string& configuration) {
    fs::path app = folder / "app";
    writeText(app / "resource/config.json", configuration);
    std::error_code exists;
    fs::create_directory_symlink(fs::path(VESTA_TEST_APP_DIR) / "modules", app / "modules", exists);
    return app;
  }
  Ended lumicheckCommand(const Words& more) {
    Words arguments = {"execute", "1001198"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return vesta(arguments);
  }
};

constexpr const char* kOn = R"({"g_ostrakOutfitterTools": true})";
constexpr const char* kOff = R"({"g_ostrakOutfitterTools": "off"})";

TEST_F(ProgramCommand, TheStrongestOfFourSourcesConfiguresIt) {
  const std::string listed =
      "1022343\tCrash Vesta\n12432341\tTranslator Locator...\n1001192\tImport Script "
      "Strings\n1001193\tExport Script Strings\n"
      "1001198\tLumicheck\n";
  EXPECT_EQ(vesta({"commands"}).out, listed) << "as it is shipped";
  const fs::path app = appFolder(kOff);
  const Words commands = {"--app-dir", app, "commands"};
  const Ended off = vesta(commands);
  EXPECT_EQ(off.status, 0) << off.err;
  EXPECT_EQ(off.out + off.err, "");
  writeText(preferences / "config.json", kOn);
  EXPECT_EQ(vesta(commands).out, listed);
  const ProcessOptions environment = {.environment = {"VESTA_g_ostrakOutfitterTools=0"}};
  EXPECT_EQ(vesta(commands, environment).out, "");
  EXPECT_EQ(vesta({"-g", "g_ostrakOutfitterTools=yes", "--app-dir", app, "commands"}, environment).out,
            listed);
}

TEST_F(ProgramCommand, NamesConfigurationThatIsWrong) {
  const auto expectRefused = [&](const Words& arguments, const ProcessOptions& options,
                                 const std::string& sentence) {
    const Ended ended = vesta(arguments, options);
    EXPECT_EQ(ended.status, 2) << sentence;
    EXPECT_EQ(ended.out, "") << sentence;
    EXPECT_TRUE(ended.saidErr(sentence)) << ended.err;
  };
  expectRefused({"-g", "g_nothing=1", "commands"}, {},
                "there is no configuration value 'g_nothing' (command line)");
  expectRefused({"-g", "g_vestaThreads=1025", "commands"}, {},
                "'1025' (command line) is no value of g_vestaThreads");
  expectRefused({"-g", "g_vestaThreads", "commands"}, {}, "-g wants NAME=VALUE, not 'g_vestaThreads'");
  expectRefused({"commands"}, {.environment = {"VESTA_g_vestaThreads=-1"}},
                "'-1' (environment) is no value of g_vestaThreads");
  expectRefused({"commands", "-g"}, {}, "-g");
  expectRefused({"-g"}, {}, "missing value for -g");
  writeText(preferences / "config.json", R"({"g_vestaTiffCompression": 7, "g_unknown": 1})");
  expectRefused({"commands"}, {}, "'7' (" + (preferences / "config.json").string() + ")");

  for (const char* damaged : {"{", "[1]", ""}) {
    writeText(preferences / "config.json", damaged);
    const Ended ended = vesta({"commands"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_NE(ended.out, "");
    EXPECT_TRUE(ended.saidErr("'" + (preferences / "config.json").string() + "' is left out: ")) << ended.err;
  }
}

TEST_F(ProgramCommand, ListsTheConfigurationAndWhereItComesFrom) {
  const fs::path app = appFolder(R"({"g_ostrakOutfitterTools": true, "g_vestaTiffCompression": "zip"})");
  const fs::path file = preferences / "config.json";
  writeText(file, R"({"g_vestaTiffCompression": "none", "g_enablDebugBreak": false})");
  const Ended ended = vesta({"--app-dir", app, "-g", "g_enableDebugBreak=false", "config"},
                            {.environment = {"VESTA_g_vestaThreads=3"}});
  EXPECT_EQ(ended.status, 0);
  EXPECT_EQ(ended.err, "not known: g_enablDebugBreak (" + file.string() + ")\n");
  const std::string shipped = (app / "resource/config.json").string();
  const size_t width = std::max(shipped.size(), file.string().size());
  const auto from = [&](std::string place) {
    place.resize(width, ' ');
    return place;
  };
  EXPECT_EQ(ended.out, "name                    value  default  " + from("from") + "  help\n" +
                           "g_enableDebugBreak      false  true     " + from("command line") +
                           "  enable debug breaks (when debugger is attached)\n" +
                           "g_enableParallelFor     true   true     " + from("default") +
                           "  enable parallel execution of all ParallelFor loops\n" +
                           "g_ostrakOutfitterTools  true   false    " + shipped + "\n" +
                           "g_vestaOutsideFiles     false  false    " + from("default") +
                           "  scenes may name files outside their folder\n" +
                           "g_vestaThreads          3      0        " + from("environment") +
                           "  threads that render; 0: one for each core\n" +
                           "g_vestaTiffCompression  none   lzw      " + from(file.string()) +
                           "  compression of the TIFF files that are written\n");
  EXPECT_EQ(vesta({"-g", "g_enableParallelFor=2", "config"}).status, 2);
}

TEST_F(ProgramCommand, TheDialogsPathsAreStoredForTheNextTime) {
  const fs::path odd = folder / "od\xff d";
  writeTinyScene(odd / "a.vesta");
  EXPECT_EQ(lumicheckCommand({}).status, 2) << "nothing was ever stored";
  EXPECT_EQ(lumicheckCommand({"--set", "1000=" + odd.string()}).status, 0);
  EXPECT_EQ(statuses(odd / "_lumicheck_16.038_1"), "CREATED ");
  EXPECT_EQ(lumicheckCommand({}).status, 0);
  EXPECT_EQ(statuses(odd / "_lumicheck_16.038_2"), "CREATED ");

  const Ended cancelled = lumicheckCommand({"--set", "1000=" + scenes.string(), "--cancel"});
  EXPECT_EQ(cancelled.status, 0);
  EXPECT_EQ(cancelled.out + cancelled.err, "");
  const std::string reference = (odd / "_lumicheck_16.038_1").string();
  EXPECT_EQ(lumicheckCommand({"--set", "1001=" + reference}).status, 0);
  EXPECT_EQ(statuses(odd / "_lumicheck_16.038_3"), "OK ");
  EXPECT_EQ(vesta({"--interactive", "execute", "1001198"}).status, 0);
  EXPECT_EQ(statuses(odd / "_lumicheck_16.038_4"), "OK ");
  EXPECT_TRUE(fs::is_empty(scenes)) << "what was cancelled was forgotten";
}

TEST_F(ProgramCommand, DamagedSettingsAreNamedAndKeptAside) {
  addScene("a.vesta");
  const fs::path settings = preferences / "settings.json";
  writeText(settings, "{\"1001198\": {");
  const Ended ended = lumicheckCommand({"--set", "1000=" + scenes.string()});
  EXPECT_EQ(ended.status, 0);
  EXPECT_TRUE(ended.saidErr(settings.string() + ".damaged")) << ended.err;
  EXPECT_EQ(readText(settings.string() + ".damaged"), "{\"1001198\": {");
  EXPECT_EQ(lumicheckCommand({}).err, "");
  EXPECT_EQ(statuses(result(2)), "CREATED ");

  // A store that cannot be written is told of, and the run goes on.
  fs::remove(settings);
  fs::create_directory(settings);
  const Ended unstored = lumicheckCommand({"--set", "1000=" + scenes.string()});
  EXPECT_TRUE(unstored.saidErr("the settings cannot be saved to '" + settings.string())) << unstored.err;
  EXPECT_EQ(statuses(result(3)), "CREATED ");
}

TEST_F(ProgramCommand, WhatADialogCannotTakeIsRefusedBeforeTheRun) {
  addScene("a.vesta");
  const std::string path = "1000=" + scenes.string();
  struct Case {
    Words arguments;
    std::string sentence;
  };
  const std::vector<Case> cases = {
      {{"--set", path, "--set", "1002=1"}, "('Continue interrupted reference build') is disabled"},
      {{"--set", path, "--set", "1004=4"}, "'4' is no value of gadget 1004"},
      {{"--set", path, "--set", "1003=maybe"}, "'maybe' is no value of gadget 1003"},
      {{"--set", path, "--set", "77=1"}, "the dialog has no gadget 77"},
      {{"--set", "1000"}, "--set wants GADGET=VALUE"},
      {{"--set", "x=1"}, "--set wants GADGET=VALUE"},
      {{"--set", "99999999999=1"}, "--set wants GADGET=VALUE"},
      {{"--set", path, "--max-diff", "101"}, "--max-diff"},
      {{"--sett", path}, "--sett"},
  };
  for (const Case& refused : cases) {
    const Ended ended = lumicheckCommand(refused.arguments);
    EXPECT_EQ(ended.status, 2) << refused.sentence;
    EXPECT_TRUE(ended.saidErr(refused.sentence)) << ended.err;
    EXPECT_FALSE(fs::exists(result(1))) << refused.sentence;
    EXPECT_FALSE(fs::exists(preferences / "settings.json")) << refused.sentence;
  }
  const Ended unknown = vesta({"execute", "42"});
  EXPECT_EQ(unknown.status, 2);
  EXPECT_TRUE(unknown.saidErr("There is no command 42")) << unknown.err;
  const Ended taken =
      lumicheckCommand({"--set", path, "--set", "1004=Physical - Standard", "--set", "1003=true"});
  EXPECT_FALSE(taken.saidErr("gadget")) << taken.err;
  EXPECT_TRUE(fs::exists(result(1) / "_result.txt"));
}

TEST_F(ProgramCommand, RunsThatTestNothingSaySo) {
  addScene("a.vesta");
  fs::create_directory(folder / "empty");
  writeText(folder / "models/one.gltf", tinySceneText());
  writeText(folder / "models/two.glb", "x");
  const std::string nowhere = folder / "nowhere", file = scenes / "a.vesta";
  struct Case {
    Words arguments;
    std::string sentence;
  };
  const std::vector<Case> cases = {
      {{"-lumicheck"}, "missing parameter for -lumicheck"},
      {{"-lumicheck", nowhere}, "Error creating resultdir"},
      {{"-lumicheck", file}, "Error creating resultdir"},
      {{"-lumicheck", folder / "empty"}, "no scene in its table, nothing was tested"},
      {{"--interactive", "-lumicheck", folder / "empty"}, "no scene in its table, nothing was tested"},
      {{"-lumicheck", folder / "models"}, "2 glTF files are there. 'vesta adopt "},
      {{"-lumicheck", scenes, nowhere},
       "Reference folder not found - falling back to reference building mode..."},
      {{"check", nowhere}, "is not a folder"},
      {{"check", folder / "empty"}, "_result.txt"},
  };
  for (const Case& wrong : cases) {
    const Ended ended = vesta(wrong.arguments);
    EXPECT_EQ(ended.status, 2) << wrong.sentence;
    EXPECT_NE((ended.out + ended.err).find(wrong.sentence), std::string::npos) << ended.out << ended.err;
  }
  EXPECT_EQ(statuses(result(1)), "CREATED ") << "without a reference one is built";
}

TEST_F(ProgramCommand, WrongOptionsAreRefusedBeforeTheRun) {
  addScene("a.vesta");
  const std::vector<Words> wrong = {{"--max-dif", "1"},
                                    {"--max-diff", "x"},
                                    {"--max-diff", "-1"},
                                    {"--max-diff", "nan"},
                                    {"--junit"},
                                    {"reference", "more"},
                                    {"--max-slower", "nan"},
                                    {"-x"},
                                    {"commands", "--verbose", "y"}};
  for (Words arguments : wrong) {
    const std::string label = arguments[0];
    arguments.insert(arguments.begin(), {"-lumicheck", scenes});
    const Ended ended = vesta(arguments);
    EXPECT_EQ(ended.status, 2) << label;
    EXPECT_NE(ended.err, "") << label;
    EXPECT_FALSE(fs::exists(result(1))) << label;
  }
  for (const Words& arguments :
       std::vector<Words>{{}, {"nonsense"}, {"--app-dir"}, {"render"}, {"commands", "x"}}) {
    const Ended ended = vesta(arguments);
    EXPECT_EQ(ended.status, 2);
    EXPECT_NE(ended.err, "");
  }
}

TEST_F(ProgramCommand, AHostWithoutItsModulesHasFailed) {
  EXPECT_EQ(vesta({"--app-dir", folder / "nowhere", "commands"}).status, 2) << "no such folder";
  const Ended none = vesta({"--app-dir", scenes, "commands"});
  EXPECT_EQ(none.status, 3);
  EXPECT_TRUE(none.saidErr((scenes / "modules").string())) << none.err;
  writeText(folder / "app/modules/outfitter/outfitter.so", "no library");
  const Ended damaged = vesta({"--app-dir", folder / "app", "-lumicheck", scenes});
  EXPECT_EQ(damaged.status, 3);
  EXPECT_TRUE(damaged.saidErr("modules/outfitter/outfitter.so")) << damaged.err;
  EXPECT_TRUE(fs::is_empty(scenes));
}

TEST_F(ProgramCommand, HelpAndTheToolsOwnSwitches) {
  const Ended help = vesta({"-help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_TRUE(
      help.out.starts_with("Lumicheck Options:\n-lumicheck scenepath [refpath] ... specify the directory to "
                           "render\n\nVesta, a host"))
      << help.out;
  EXPECT_TRUE(help.saidOut("Exit status: 0 good;")) << help.out;
  EXPECT_EQ(vesta({"--help"}).out, help.out);
  EXPECT_EQ(vesta({"render", "--help"}).status, 0);
  EXPECT_EQ(vesta({"--version"}).out, "Vesta 16.038\n");

  const fs::path app = appFolder(kOff);
  writeText(app / "resource/gui.brc", "old");
  const Ended distribution = vesta({"--app-dir", app, "-createdistribution"});
  EXPECT_EQ(distribution.status, 1);
  EXPECT_EQ(distribution.out, "Error: Compiling gui.brc\n");
  EXPECT_FALSE(fs::exists(app / "resource/gui.brc"));
}

TEST_F(ProgramCommand, RendersOneScene) {
  addScene("a.vesta");
  build();
  writeText(scenes / "broken.vesta", R"({"asset":{"version":"2.0"},"meshes":7})");
  const fs::path scene = scenes / "a.vesta";
  EXPECT_EQ(vesta({"render", scene, folder / "a.tif"}).status, 0);
  EXPECT_EQ(readText(folder / "a.tif"), images(result(1)).at("0001.tif"));
  EXPECT_EQ(vesta({"render", "a.vesta", "a.png"}, {.workingFolder = scenes}).status, 0);
  EXPECT_EQ(readText(scenes / "a.png").substr(1, 3), "PNG");
  const std::vector<Words> wrong = {{scenes / "broken.vesta", folder / "x.tif"},
                                    {folder / "none.vesta", folder / "x.tif"},
                                    {scenes, folder / "x.tif"},
                                    {scene, folder / "x.jpg"},
                                    {scene, folder / "nowhere/x.tif"},
                                    {scene, scene / "x.tif"},
                                    {scene, "/dev/full"}};
  for (const Words& pair : wrong) {
    const Ended ended = vesta({"render", pair[0], pair[1]});
    EXPECT_EQ(ended.status, 2) << pair[0] << " " << pair[1];
    EXPECT_NE(ended.err, "") << pair[0] << " " << pair[1];
    EXPECT_FALSE(fs::exists(folder / "x.tif"));
  }
}

TEST_F(ProgramCommand, RendersWithOtherSettingsThanTheScenes) {
  const fs::path scene = folder / "a.vesta", picture = folder / "a.png";
  // As bright as white, without the tone curve; a lamp post that spills light, switched off in the file.
  writeTinyScene(
      scene,
      {.renderer = 0, .videoPosts = R"(,"videoPosts":[{"type":1001015,"bits":4,"settings":{"1000":0.5}}])"});
  const auto rendered = [&](const Words& more) {
    Words words = {"render", scene, picture};
    words.insert(words.end(), more.begin(), more.end());
    EXPECT_EQ(vesta(words).status, 0);
    return readText(picture);
  };
  const std::string plain = rendered({});
  EXPECT_EQ(rendered({"--renderer", "standard", "--size", "20x12"}), plain);
  EXPECT_EQ(rendered({"--renderer", "preview"}), rendered({"--set", "5300=1"}));
  EXPECT_NE(rendered({"--renderer", "preview"}), plain);
  EXPECT_NE(rendered({"--size", "24x12"}), plain);
  const std::string bright = rendered({"--set", "7102=1", "--set", "7103=9.5"});
  EXPECT_NE(bright, plain);
  const std::string glowing =
      rendered({"--set", "7102=1", "--set", "7103=9.5", "--post", "1001015:1000=0.5"});
  EXPECT_NE(glowing, bright) << "a post that the command line sets is switched on";
  writeTinyScene(scene, {.renderer = 0});
  EXPECT_EQ(rendered({"--set", "7102=1", "--set", "7103=9.5"}), bright) << "one that is off does nothing";
  EXPECT_EQ(rendered({"--set", "7102=1", "--set", "7103=9.5", "--post", "1001015:1000=0.5"}), glowing);
  EXPECT_NE(rendered({"--set", "7102=1", "--set", "7103=0.9"}),
            rendered({"--set", "7102=1", "--set", "7103=0.9", "--set", "7101=false"}));

  for (const Words& wrong : std::vector<Words>{{"--renderer", "foo"},
                                               {"--size", "3"},
                                               {"--size", "0x3"},
                                               {"--size", "99999x3"},
                                               {"--set", "x=1"},
                                               {"--set", "1=x"},
                                               {"--set", "5300=1.5"},
                                               {"--set", "7100=nan"},
                                               {"--set", "1"},
                                               {"--post", "1=2"},
                                               {"--post", "a:1=2"}}) {
    fs::remove(picture);
    Words words = {"render", scene, picture};
    words.insert(words.end(), wrong.begin(), wrong.end());
    const Ended ended = vesta(words);
    EXPECT_EQ(ended.status, wrong[1] == "99999x3" ? 1 : 2) << wrong[0] << " " << wrong[1];
    EXPECT_NE(ended.err, "") << wrong[0] << " " << wrong[1];
    EXPECT_FALSE(fs::exists(picture));
  }
}

TEST_F(ProgramCommand, AdoptedFilesAreScenes) {
  const fs::path models = folder / "models", links = folder / "links";
  writeText(models / "one.gltf", tinySceneText());
  writeText(models / "deep/two.gltf", tinySceneText({.renderer = 0}));
  const Ended adopted = vesta({"adopt", models, links});
  EXPECT_EQ(adopted.status, 0) << adopted.err;
  EXPECT_TRUE(adopted.saidOut("2 new links, 0 links kept, 0 files refused")) << adopted.out;
  const Ended run = vesta({"-lumicheck", links});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(statuses(links / "_lumicheck_16.038_1"), "CREATED CREATED ");
  EXPECT_TRUE(vesta({"adopt", models, links}).saidOut("0 new links, 2 links kept"));
  fs::remove(links / "one.vesta");
  writeText(links / "one.vesta", "mine");
  EXPECT_EQ(vesta({"adopt", models, links}).status, 1);
  EXPECT_EQ(readText(links / "one.vesta"), "mine");
  EXPECT_EQ(vesta({"adopt", folder / "nowhere", links}).status, 2);
  EXPECT_EQ(vesta({"adopt", scenes, links}).status, 2) << "nothing to adopt";
}

}  // namespace
