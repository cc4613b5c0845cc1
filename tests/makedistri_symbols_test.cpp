// Symbols put into expressions, held against the plain rule: search all, replace one, start again.
#include <gtest/gtest.h>

#include <random>

#include "makedistri/makedistri_symbols.h"

namespace {

using outfitter::SymbolTable;

/// The rule as it is told.
std::string substituteByTheRule(const SymbolTable& table, std::string text) {
  for (;;) {
    int32_t best = SymbolTable::kNone;
    for (int32_t i = 0; i < table.Count(); ++i) {
      if (text.find(table.At(i).name) == std::string::npos) continue;
      if (best == SymbolTable::kNone || table.At(i).name.size() > table.At(best).name.size()) best = i;
    }
    if (best == SymbolTable::kNone) return text;
    const outfitter::Symbol& symbol = table.At(best);
    text.replace(text.find(symbol.name), symbol.name.size(), std::to_string(symbol.value));
  }
}

TEST(MakedistriSymbols, AreSubstitutedAsTheRuleSays) {
  std::mt19937 random(7);
  const auto below = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
  const auto word = [&](int longest) {
    std::string text(1, "abA"[below(3)]);
    for (int i = below(longest); i > 0; --i) text += "abA12"[below(5)];
    return text;
  };
  int replaced = 0;
  for (int round = 0; round < 3000; ++round) {
    SymbolTable table;
    for (int i = below(12); i > 0; --i) {
      const std::string name = word(5);
      if (table.Find(name) == SymbolTable::kNone) table.Add(name, below(2) == 0 ? below(30) : -below(3));
    }
    std::string text;
    for (int i = below(8); i > 0; --i) {
      // Values that end in the size that a name of the table's own wants: "sizeof(Int" and "16)".
      text += below(9) == 0 ? "sizeof(Int1" : below(9) == 0 ? "6)" : word(6);
      if (below(2) == 0) text += "+";
    }
    const std::string expected = substituteByTheRule(table, text);
    const std::string before = text;
    std::vector<int32_t> used;
    const bool changed = table.Substitute(text, &used);
    ASSERT_EQ(text, expected) << before;
    ASSERT_EQ(changed, before != expected) << before;
    ASSERT_EQ(changed, !used.empty());
    replaced += static_cast<int>(used.size());
  }
  EXPECT_GT(replaced, 3000);
}

TEST(MakedistriSymbols, TheLongestNameWinsAlsoInsideWords) {
  SymbolTable table;
  table.Add("V", 4);
  table.Add("VERY", 10);
  table.Add("RYLO", 20);
  std::string text = "(VERYLONG+1)V";
  EXPECT_TRUE(table.Substitute(text));
  EXPECT_EQ(text, "(10LONG+1)4") << "of equally long names the one that was found first";
  text = "sizeof(Int16)*sizeof(PIX_F)";
  EXPECT_TRUE(table.Substitute(text));
  EXPECT_EQ(text, "2*4");
  text = "nothing";
  EXPECT_FALSE(table.Substitute(text));
  EXPECT_EQ(table.Find("VER"), SymbolTable::kNone);
}

/// A million places in one text; the plain rule would take hours.
TEST(MakedistriSymbols, LongTextsTakeNoLongerThanTheyAre) {
  SymbolTable table;
  table.Add("A", -7);
  table.Add("AB", 1);
  table.Add(std::string(300, 'x'), 1);
  std::string text;
  for (int i = 0; i < 300000; ++i) text += "A+AB+";
  EXPECT_TRUE(table.Substitute(text));
  EXPECT_EQ(text.substr(0, 10), "-7+1+-7+1+");
  EXPECT_EQ(text.size(), 300000U * 5);
}

}  // namespace
