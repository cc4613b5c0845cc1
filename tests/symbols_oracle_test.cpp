// A C compiler as oracle for the symbols of real headers: what both know has one value, or the account says
// why not.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <sstream>

#include "tests/support/process.h"
#include "tests/support/temp_folder.h"

namespace {

using namespace test;
using nlohmann::json;

const fs::path kHeaders = "/usr/include/linux";  // with every C compiler
constexpr size_t kHeaderCount = 40;

/// Differences that no account of these headers alone can explain.
const std::set<std::string> kElsewhere = {
    "KVM_DIRTY_LOG_PAGE_OFFSET",  // a header of the machine has defined it before, so a compiler skips this
                                  // one
};

struct Known {
  uint32_t value = 0;
  bool isDefine = false;
  bool explained = false;  ///< the account tells what a compiler does otherwise
};
using Symbols = std::map<std::string, Known>;

class SymbolOracle : public testing::Test {
 protected:
  /// What the account says of all headers, by header.
  std::map<std::string, Symbols> account() {
    const fs::path file = folder / "account.json";
    const Ended ended = Process(VESTA_TEST_PROGRAM, {"--prefs-dir", (folder / "prefs").string(), "symbols",
                                                     "--headers", kHeaders.string(), "--json", file.string()})
                            .wait();
    EXPECT_EQ(ended.status, 0) << ended.err;
    const json all = json::parse(readText(file));
    std::map<std::string, Symbols> byHeader;
    std::set<std::string> otherwise;  // has other values in other places
    for (const json& entry : all["symbols"]) {
      const std::string name = entry["name"];
      if (entry["outcome"] != "exported") {
        otherwise.insert(name);
        continue;
      }
      byHeader[entry["file"]][name] = {static_cast<uint32_t>(entry["value"].get<int32_t>()),
                                       entry["kind"] == "define", entry.contains("notes")};
    }
    for (auto& [header, symbols] : byHeader) {
      for (auto& [name, known] : symbols) known.explained = known.explained || otherwise.count(name) != 0;
    }
    return byHeader;
  }

  /// What a compiled program knows of those symbols. Empty when the header does not stand alone.
  std::map<std::string, uint32_t> compiled(const std::string& header, const Symbols& symbols) {
    std::set<std::string> strange;
    for (int attempt = 0; attempt < 4; ++attempt) {
      std::map<int, std::string> lines;
      writeText(folder / "oracle.c", program(header, symbols, strange, lines));
      const Ended built =
          Process("/usr/bin/cc", {"-w", "-O0", "-fmax-errors=0", (folder / "oracle.c").string(), "-o",
                                  (folder / "oracle").string()})
              .wait();
      if (built.status == 0) return ran();
      const size_t before = strange.size();
      const std::regex place("oracle\\.c:([0-9]+):[0-9]+: error");
      for (std::sregex_iterator match(built.err.begin(), built.err.end(), place), end; match != end;
           ++match) {
        const auto line = lines.find(std::stoi((*match)[1]));
        if (line != lines.end()) strange.insert(line->second);
      }
      if (strange.size() == before) return {};
    }
    return {};
  }

  /// `lines` receives the name that each line is about.
  static std::string program(const std::string& header, const Symbols& symbols,
                             const std::set<std::string>& without, std::map<int, std::string>& lines) {
    std::string text = "#include \"" + header + "\"\n#include <stdio.h>\nint main(void) {\n";
    int line = 4;
    for (const auto& [name, known] : symbols) {
      if (without.count(name) != 0) continue;
      if (known.isDefine) text += "#ifdef " + name + "\n";
      if (known.isDefine) ++line;
      lines[line++] = name;
      text += "printf(\"" + name + " %u\\n\", (unsigned)(long long)(" + name + "));\n";
      if (known.isDefine) text += "#endif\n";
      if (known.isDefine) ++line;
    }
    return text + "return 0; }\n";
  }

  std::map<std::string, uint32_t> ran() const {
    std::istringstream out(Process((folder / "oracle").string(), {}).wait().out);
    std::map<std::string, uint32_t> values;
    std::string name;
    uint32_t value = 0;
    while (out >> name >> value) values[name] = value;
    return values;
  }

  const TempFolder folder;
};

TEST_F(SymbolOracle, AgreesOnRealHeadersOrTheAccountSaysWhy) {
  if (!fs::exists(kHeaders)) GTEST_SKIP() << "no headers of the system";
  const auto byHeader = account();
  std::vector<std::string> headers;
  for (const auto& [header, symbols] : byHeader) headers.push_back(header);
  std::sort(headers.begin(), headers.end(), [&](const std::string& a, const std::string& b) {
    return byHeader.at(a).size() > byHeader.at(b).size();
  });
  headers.resize(std::min(headers.size(), kHeaderCount));

  size_t compared = 0;
  size_t explained = 0;
  std::string unexplained;
  for (const std::string& header : headers) {
    const Symbols& symbols = byHeader.at(header);
    for (const auto& [name, value] : compiled(header, symbols)) {
      const Known& known = symbols.at(name);
      ++compared;
      if (known.value == value) continue;
      ++explained;
      if (!known.explained && kElsewhere.count(name) == 0) {
        unexplained += header + ": " + name + " is " + std::to_string(known.value) + ", for a compiler " +
                       std::to_string(value) + "\n";
      }
    }
  }
  EXPECT_EQ(unexplained, "");
  EXPECT_GT(compared, 5000U);
  RecordProperty("compared", static_cast<int>(compared));
  RecordProperty("explained", static_cast<int>(explained));
  std::printf("%zu symbols compared, %zu differences that the account explains\n", compared, explained);
}

}  // namespace
