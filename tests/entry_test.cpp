// The module's entry: lifecycle, what a host lacks, registration, and the start-up command line.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include "tests/support/test_host.h"
#include "tests/support/tiny_scene.h"
#include "tests/support/watched_tables.h"

namespace {

using namespace test;

HostModuleEntry moduleEntry() {
  void* library = dlopen(VESTA_TEST_MODULE, RTLD_NOW | RTLD_LOCAL);
  return library != nullptr ? reinterpret_cast<HostModuleEntry>(dlsym(library, "vesta_main")) : nullptr;
}

/// A host whose tables a test may spoil; no module is loaded by it.
struct BareHost {
  TempFolder folder;
  RecordingView view;
  host::HeadlessHost host{{VESTA_TEST_APP_DIR, folder.path().string(), false}, view};
  HostTables tables = host::hostTables();
};

TEST(Entry, RefusesHostsItCannotWorkWithAndKeepsNothingOfThem) {
  const HostModuleEntry entry = moduleEntry();
  ASSERT_NE(entry, nullptr);
  BareHost bare;
  const auto attach = [&](auto spoil) {
    HostTables tables = bare.tables;
    spoil(tables);
    return entry(HOST_MODULE_ATTACH, 0, nullptr, &tables);
  };
  EXPECT_EQ(entry(HOST_MODULE_ATTACH, 0, nullptr, nullptr), -3);
  EXPECT_EQ(attach([](HostTables& t) { t.interfaceVersion = 15999; }), -3);
  EXPECT_EQ(attach([](HostTables& t) { t.strings = nullptr; }), -3);
  EXPECT_EQ(attach([](HostTables& t) { t.registration = nullptr; }), -3);
  EXPECT_EQ(attach([](HostTables& t) { t.size = 8; }), -3);
  EXPECT_EQ(attach([](HostTables& t) { t.size = offsetof(HostTables, strings) + 4; }), -3)
      << "half a pointer";
  EXPECT_EQ(entry(HOST_MODULE_START, 0, nullptr, nullptr), -1) << "a refused host is not talked to";
  EXPECT_EQ(entry(HOST_MODULE_DETACH, 0, nullptr, nullptr), 1) << "a detach without an attach";

  EXPECT_EQ(attach([](HostTables& t) { t.interfaceVersion = 16000; }), 1);
  EXPECT_EQ(attach([](HostTables& t) { t.interfaceVersion = 0; }), 1) << "only the first attach looks";
  EXPECT_EQ(entry(HOST_MODULE_VERSION, 0, nullptr, nullptr), 5);
  EXPECT_EQ(entry(5, 0, nullptr, nullptr), -1);
  EXPECT_EQ(entry(99, 0, nullptr, nullptr), -1);
  EXPECT_EQ(entry(HOST_MODULE_DETACH, 0, nullptr, nullptr), 1);
  EXPECT_EQ(entry(HOST_MODULE_START, 0, nullptr, nullptr), 1) << "one attach is left";
  EXPECT_EQ(entry(HOST_MODULE_DETACH, 0, nullptr, nullptr), 1);
  EXPECT_EQ(entry(HOST_MODULE_START, 0, nullptr, nullptr), -1);
}

TEST(Entry, AnswersModuleMessages) {
  const HostModuleEntry entry = moduleEntry();
  BareHost bare;
  ASSERT_EQ(entry(HOST_MODULE_ATTACH, 0, nullptr, &bare.tables), 1);
  HostMessageVersion version{7};
  EXPECT_EQ(entry(HOST_MODULE_MESSAGE, HOST_MESSAGE_VERSION, &version, nullptr), 1);
  EXPECT_EQ(version.version, 10000);
  HostMessageResources resources{reinterpret_cast<HostResources*>(1)};
  EXPECT_EQ(entry(HOST_MODULE_MESSAGE, HOST_MESSAGE_RESOURCES, &resources, nullptr), 1);
  EXPECT_NE(resources.resources, reinterpret_cast<HostResources*>(1));
  EXPECT_NE(resources.resources, nullptr);
  EXPECT_EQ(entry(HOST_MODULE_MESSAGE, 2, &version, nullptr), -1);
  HostCommandLine line{0, nullptr};
  EXPECT_EQ(entry(HOST_MODULE_MESSAGE, HOST_MESSAGE_COMMAND_LINE, &line, nullptr), -1) << "never taken";
  EXPECT_EQ(entry(HOST_MODULE_DETACH, 0, nullptr, nullptr), 1);
}

TEST(Entry, WorksWithAHostThatOffersLess) {
  const HostModuleEntry entry = moduleEntry();
  BareHost bare;
  HostStringsTable shortStrings = *bare.tables.strings;
  shortStrings.size = offsetof(HostStringsTable, StringFromReal) + 4;  // half a slot is none
  HostTables tables = bare.tables;
  tables.strings = &shortStrings;
  tables.documents = nullptr;
  tables.dialogs = nullptr;
  tables.size = offsetof(HostTables, system);  // an older host: the last area is not there
  testing::internal::CaptureStderr();
  ASSERT_EQ(entry(HOST_MODULE_ATTACH, 0, nullptr, &tables), 1);
  const std::string said = testing::internal::GetCapturedStderr();
  for (const char* lacking :
       {"'documents'", "'dialogs'", "'system'", "'strings.StringFromReal'", "'strings.StringToCString'"}) {
    EXPECT_NE(said.find(lacking), std::string::npos) << lacking << " in " << said;
  }
  EXPECT_EQ(said.find("strings.StringInit"), std::string::npos);
  const char* arguments[] = {"-lumicheck", "/nowhere"};
  HostCommandLine line{2, arguments};
  EXPECT_EQ(entry(HOST_MODULE_MESSAGE, HOST_MESSAGE_COMMAND_LINE, &line, nullptr), -1);
  EXPECT_EQ(entry(HOST_MODULE_DETACH, 0, nullptr, nullptr), 1);
}

struct Registered {
  int32_t id;
  const char* name;
  const char* help;
  bool required;  ///< the start fails without it
};
/// In their order.
constexpr Registered kRegistered[] = {
    {1022343, "Crash Vesta", "Crash Vesta", true},
    {12432341, "#$63Translator Locator...", "", false},
    {1001192, "Import Script Strings", "", false},
    {1001193, "Export Script Strings", "", false},
    {1001198, "Lumicheck", "", true},
};

TEST(Entry, RegistersItsCommandsWhenTheSwitchIsOn) {
  {
    TestHost on;
    const auto& commands = on.services().commands.commands();
    ASSERT_EQ(commands.size(), std::size(kRegistered));
    for (size_t i = 0; i < commands.size(); ++i) {
      EXPECT_EQ(commands[i]->id, kRegistered[i].id);
      EXPECT_EQ(commands[i]->name, kRegistered[i].name);
      EXPECT_EQ(commands[i]->help, kRegistered[i].help);
      EXPECT_TRUE(commands[i]->isEnabled()) << kRegistered[i].name;
    }
  }
  TestHost off({.toolsOn = false});
  EXPECT_TRUE(off.services().commands.commands().empty());
}

TEST(Entry, AFailedRegistrationFreesTheCommandAndFailsTheStartIfRequired) {
  for (size_t failing = 0; failing < std::size(kRegistered); ++failing) {
    Watch watch(host::hostTables());
    watch.countOnly("RegisterPlugin");
    watch.failAt(static_cast<int>(failing));
    size_t registered = 0;
    try {
      TestHost host({.tables = &watch.tables()});
      registered = host.services().commands.commands().size();
    } catch (const host::ModuleError&) {
    }
    EXPECT_EQ(registered, kRegistered[failing].required ? 0 : std::size(kRegistered) - 1) << failing;
    EXPECT_EQ(watch.problems(), std::vector<std::string>{}) << failing;
  }
}

struct CommandLineCase {
  std::vector<std::string> arguments;
  std::vector<std::string> left;
  std::string started;  ///< the scene folder that was run, below the test's folder; empty: none
  bool help = false;
};

TEST(CommandLine, ConsumesSkipsAndStops) {
  const std::string a = "A", b = "B";
  const std::vector<CommandLineCase> cases = {
      {{"-help"}, {"-help"}, "", true},
      {{"--help"}, {"--help"}, "", true},
      {{"-HELP", "-lumicheckx"}, {"-HELP", "-lumicheckx"}, "", false},
      {{"-lumicheck", a}, {"", ""}, a, false},
      {{"-lumicheck", a, b, "-help"}, {"", "", "", "-help"}, a, false},
      {{"-lumicheck", a, "-help"}, {"", "", "-help"}, a, false},
      {{"-lumicheck", a, "-x", "-help"}, {"", "", "-x", "-help"}, a, true},
      {{"-lumicheck", a, "-x", "-lumicheck", b}, {"", "", "-x", "", ""}, b, false},
      {{"-lumicheck"}, {""}, "", false},
      {{"-createdistribution", "-help"}, {"", "-help"}, "", false},
      {{"-createdistribution", "x", "-help"}, {"", "x", "-help"}, "", true},
      {{"-help", "-lumicheck", a}, {"-help", "", ""}, a, true},
  };
  TempFolder app;  // a distribution is built in it
  fs::create_directories(app / "modules/outfitter/resource");
  for (const CommandLineCase& test : cases) {
    TestHost host({.app = app.path()});
    const auto resolve = [&](std::vector<std::string> words) {
      for (std::string& word : words) {
        if (word == a || word == b) word = (host.folder() / word).string();
      }
      return words;
    };
    for (const auto& folder : {a, b}) fs::create_directories(host.folder() / folder);
    std::string label;
    for (const auto& argument : test.arguments) label += argument + " ";
    EXPECT_EQ(host.commandLine(resolve(test.arguments)), resolve(test.left)) << label;
    EXPECT_EQ(host.view().hasLine("-lumicheck scenepath [refpath] ... specify the directory to render"),
              test.help)
        << label;
    for (const auto& folder : {a, b}) {
      EXPECT_EQ(fs::exists(host.folder() / folder / "_lumicheck_16.038_1"), test.started == folder)
          << label << folder;
    }
    EXPECT_EQ(host.view().hasLine("missing parameter for -lumicheck"), test.arguments.back() == "-lumicheck")
        << label;
  }
}

TEST(CommandLine, SurvivesNullArguments) {
  TestHost host;
  std::vector<const char*> arguments = {nullptr, "-lumicheck", nullptr, nullptr, "-help"};
  host.host().handleCommandLine(arguments);
  EXPECT_TRUE(host.view().hasLine("Lumicheck Options:"));
  EXPECT_STREQ(arguments[4], "-help");
  HostCommandLine none{2, nullptr};
  EXPECT_EQ(moduleEntry()(HOST_MODULE_MESSAGE, HOST_MESSAGE_COMMAND_LINE, &none, nullptr), -1);
}

}  // namespace
