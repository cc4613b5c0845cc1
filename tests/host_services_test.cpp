// Services of the host through its own tables and below them: text, file names, files, listings, containers,
// settings, configuration, null handles.
#include <gtest/gtest.h>

#include <cmath>
#include <thread>

#include "host/services/files.h"
#include "host/services/paths.h"
#include "host/services/text.h"
#include "tests/support/test_host.h"
#include "vesta.framework/contract/slot_types.h"

namespace {

using namespace test;
using host::Encoding;

TEST(Text, EncodingsRoundTripEveryString) {
  std::u16string all;
  for (int code = 1; code < 0x10000; code += 7) all += static_cast<char16_t>(code);
  all += u"\\u0041 \\\\u \\U \\x \" \t\r\n";
  all += u'\0';
  all += u"\xD83D\xDE00 end\\";
  EXPECT_EQ(host::decodeText(host::encodeText(all, Encoding::AsciiEscaped), Encoding::Latin1Escaped), all);
  EXPECT_EQ(host::encodeText(u"a\\u00e9\n\x7F\xE9", Encoding::AsciiEscaped),
            "a\\u005cu00e9\\u000a\\u007f\\u00e9");
  EXPECT_EQ(host::decodeText("\xE9\\u20ac\\U20AC\\u20g0\\u12", Encoding::Latin1Escaped),
            u"\xE9\x20AC\x20AC\\u20g0\\u12");

  // Any bytes come back through UTF-8: those that are no character become byte escapes.
  std::string bytes = "ok \xC3\xA9 \xF0\x9F\x98\x80 ";
  for (int byte = 1; byte < 256; ++byte) bytes += static_cast<char>(byte);
  bytes += "\xC0\xAF \xED\xA0\x80 \xF4\x90\x80\x80 \xE2\x82";
  EXPECT_EQ(host::toUtf8(host::fromUtf8(bytes)), bytes);
  EXPECT_EQ(host::fromUtf8("\xFF"), u"\xDCFF");
  EXPECT_EQ(host::decodeText(bytes, Encoding::Bytes).size(), bytes.size());
  EXPECT_EQ(host::encodeText(host::decodeText(bytes, Encoding::Bytes), Encoding::Bytes), bytes);
}

TEST(Text, NumbersArePaddedAsAsked) {
  EXPECT_EQ(host::formatReal(1, 4, 0), "0001");
  EXPECT_EQ(host::formatReal(12345, 4, 0), "12345");
  EXPECT_EQ(host::formatReal(16.038, 0, 3), "16.038");
  EXPECT_EQ(host::formatReal(16038 * 0.001, -4, 3), "16.038");
  EXPECT_EQ(host::formatReal(-5, -5, 2), "-5.00");
  EXPECT_EQ(host::formatReal(-0.0, -5, 2), "0.00");
  EXPECT_EQ(host::formatReal(-2.5, 3, 1), "-002.5");
  EXPECT_EQ(host::formatReal(std::nan(""), 4, 2).find("nan"), 0U);
}

TEST(Paths, AreNormalisedAndComparedWithoutCase) {
  EXPECT_EQ(host::normalPath("/a//b/./c/../d/"), "/a/b/d");
  EXPECT_EQ(host::normalPath(""), "");
  EXPECT_EQ(host::normalPath("x"), (fs::current_path() / "x").string());
  EXPECT_EQ(host::joinPath("", "x"), "x");
  EXPECT_EQ(host::joinPath("/", "x"), "/x");
  EXPECT_TRUE(host::hasSuffix("/a.b/x.VESTA", "vesta"));
  EXPECT_FALSE(host::hasSuffix("/a.vesta/x", "vesta"));
  EXPECT_FALSE(host::hasSuffix("/a/xvesta", "vesta"));
  EXPECT_FALSE(host::hasSuffix("/a/.vesta-12-0.part", "vesta"));
  EXPECT_EQ(host::withSuffix("/a.b/x", "tif"), "/a.b/x.tif");
  EXPECT_EQ(host::withSuffix("/a.b/x.y.z", "tif"), "/a.b/x.y.tif");
  EXPECT_TRUE(host::samePath("/\xC3\x84.x", "/\xC3\xA4.X"));
  EXPECT_FALSE(host::samePath("/\xFF", "/\xFE"));
}

TEST(Files, AreWholeOrNotThere) {
  TempFolder folder;
  const std::string name = (folder / "f.txt").string();
  const auto names = [&] {
    std::vector<std::string> all;
    for (const auto& entry : fs::directory_iterator(folder.path())) all.push_back(entry.path().filename());
    return all;
  };
  writeText(name, "old");
  {
    host::FileStream file;
    ASSERT_TRUE(file.openForWriting(name));
    EXPECT_TRUE(file.write("new", 3));
    EXPECT_EQ(readText(name), "old");
    EXPECT_EQ(names().size(), 2U);
  }
  EXPECT_EQ(readText(name), "old") << "never closed: thrown away";
  EXPECT_EQ(names(), std::vector<std::string>{"f.txt"});
  host::FileStream file;
  ASSERT_TRUE(file.openForWriting(name));
  EXPECT_TRUE(file.write("new", 3));
  EXPECT_TRUE(file.close());
  EXPECT_FALSE(file.close());
  EXPECT_EQ(readText(name), "new");

  fs::create_symlink(name, folder / "link");
  ASSERT_TRUE(file.openForWriting((folder / "link").string()));
  EXPECT_TRUE(file.write("through", 7) && file.close());
  EXPECT_EQ(readText(name), "through") << "a link stays a link";
  EXPECT_TRUE(fs::is_symlink(folder / "link"));

  ASSERT_TRUE(file.openForWriting("/dev/full"));
  file.write("x", 1);
  EXPECT_FALSE(file.close()) << "a full disk";
  EXPECT_FALSE(file.openForWriting(folder.path().string()));
  EXPECT_FALSE(file.openForWriting((folder / "no/such/f").string()));
  EXPECT_FALSE(file.openForReading(folder.path().string()));
  EXPECT_FALSE(file.openForReading(""));
}

TEST(Files, ListingsAreSortedAndNeverGoRound) {
  TempFolder folder;
  for (const char* name : {"b", "B", "a\xFF", "a.x"}) writeText(folder / name, "");
  fs::create_directories(folder / "one/deep");
  fs::create_directories(folder / "two");
  fs::create_directory_symlink(folder / "two", folder / "one/to-two");
  fs::create_directory_symlink(folder / "one", folder / "two/to-one");
  fs::create_directory_symlink(folder.path(), folder / "one/deep/up");
  fs::create_symlink("nowhere", folder / "dangling");
  std::string names;
  for (const auto& entry : host::listFolder(folder.path().string()))
    names += entry.name + (entry.isFolder ? "/ " : " ");
  EXPECT_EQ(names, "B a.x a\xFF b dangling one/ two/ ");

  int folders = 0;
  const std::function<void(const std::string&)> walk = [&](const std::string& path) {
    ASSERT_LT(++folders, 20) << path;
    for (const auto& entry : host::listFolder(path)) {
      if (entry.isFolder) walk(host::joinPath(path, entry.name));
    }
  };
  walk(folder.path().string());
  EXPECT_THROW(host::listFolder((folder / "none").string()), std::system_error);
}

/// Calls a slot with nothing but zeros.
template <class Failure, class Result, class... Arguments>
void expectFailureOfZeros(const char* name, Result (*slot)(Arguments...), Failure failure) {
  if constexpr (std::is_void_v<Result>) {
    slot(Arguments{}...);
  } else {
    EXPECT_EQ(slot(Arguments{}...), static_cast<Result>(failure)) << name;
  }
}

TEST(Tables, EveryNullHandleAnswersTheFailure) {
  TestHost running;
  const HostTables tables = host::hostTables();
  int calls = 0;
  // Slots without a pointer have no null handle, and a core message needs no data.
#define HOST_AREA_BEGIN(Area, member) \
  {                                   \
    const auto& area = *tables.member;
#define HOST_SLOT(result, Name, arguments, failure)                                                        \
  if (std::string(#arguments).find('*') != std::string::npos && std::string(#Name) != "SendCoreMessage") { \
    expectFailureOfZeros(#Name, area.Name, failure);                                                       \
    ++calls;                                                                                               \
  }
#define HOST_AREA_END(Area, member) }
#include "vesta.framework/contract/all_areas.inc"
#undef HOST_AREA_BEGIN
#undef HOST_SLOT
#undef HOST_AREA_END
  EXPECT_GT(calls, 100);
}

TEST(Tables, ContainersHoldEveryTypeAndAreWalkedInOrder) {
  TestHost running;
  const HostTables t = host::hostTables();
  HostContainer* outer = t.containers->ContainerInit();
  HostContainer* inner = t.containers->ContainerInit();
  HostString* text = t.strings->StringInit();
  HostString* read = t.strings->StringInit();
  HostFileName* name = t.fileNames->FileNameInit();
  t.strings->StringFromCString(text, "text", HOST_ALL, HOST_ENCODING_UTF8);
  t.fileNames->FileNameFromCString(name, "/a/\xFF");
  t.containers->ContainerSetInt32(inner, 1, 11);
  t.containers->ContainerSetContainer(outer, 60, inner);
  t.containers->ContainerSetInt32(inner, 1, 12);
  t.containers->ContainerSetBool(outer, -5, 1);
  t.containers->ContainerSetReal(outer, 20, 1e12);
  t.containers->ContainerSetString(outer, 40, text);
  t.containers->ContainerSetFileName(outer, 50, name);
  std::string walked;
  int32_t id = 0;
  HostContainerValue value{};
  for (const HostContainerEntry* state = nullptr;
       (state = t.containers->ContainerNextEntry(outer, &id, &value, state));) {
    walked += std::to_string(id) + ":" + std::to_string(value.type) + " ";
  }
  EXPECT_EQ(walked, "-5:1 20:3 40:4 50:5 60:6 ");
  EXPECT_EQ(t.containers->ContainerGetInt32(value.container, 1, 0), 11) << "nested containers are copies";
  EXPECT_EQ(t.containers->ContainerGetInt32(outer, 20, 0), INT32_MAX);
  EXPECT_EQ(t.containers->ContainerGetInt32(outer, 40, 7), 7) << "a string is no number";
  EXPECT_EQ(t.containers->ContainerGetString(outer, read, 99, text), 1);
  EXPECT_EQ(t.strings->StringCompare(read, text), 0);

  // What is stored is there after a restart, the bytes of names included.
  ASSERT_TRUE(t.containers->SetPluginSettings(42, outer));
  HostContainer* stored = t.containers->GetPluginSettings(42);
  HostFileName* again = t.fileNames->FileNameInit();
  t.containers->ContainerGetFileName(stored, again, 50);
  EXPECT_EQ(t.fileNames->FileNameCompare(name, again), 0);
  EXPECT_EQ(t.containers->ContainerGetReal(stored, 20, 0), 1e12);
  EXPECT_EQ(t.containers->ContainerGetInt32(t.containers->ContainerGetContainerRef(stored, 60), 1, 0), 11);
  EXPECT_EQ(t.containers->GetPluginSettings(43), nullptr);
  for (HostContainer* container : {outer, inner, stored}) t.containers->ContainerFree(container);
  for (HostString* string : {text, read}) t.strings->StringFree(string);
  for (HostFileName* fileName : {name, again}) t.fileNames->FileNameFree(fileName);
}

TEST(Console, BoxesOfOtherThreadsWaitAndEqualOnesAreShownOnce) {
  TestHost running({.interactive = true});
  host::Console& console = running.services().console;
  std::thread([&] {
    console.showMessage("first");
    for (int i = 0; i < 3; ++i) console.showMessage("same");
    console.print("line");
    console.showMessage("other");
    console.showMessage("same");
  }).join();
  EXPECT_TRUE(running.view().boxes.empty());
  console.flush();
  EXPECT_EQ(running.view().boxes, (std::vector<std::string>{"first", "same", "other"}));
  EXPECT_EQ(running.view().boxTimes, (std::vector<int>{1, 4, 1}));
  EXPECT_TRUE(running.view().hasLine("line"));
}

}  // namespace
