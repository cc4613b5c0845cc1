// The pure parts of Lumicheck: fields, tokens, arithmetic; and the configuration registry.
#include "lumicheck/Lumicheck_table.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "lumicheck/Lumicheck_compare.h"

namespace {

using outfitter::ReferenceTimeReader;

/// What the reader finds in `text` when it comes in blocks of `blockSize`, with room for `capacity` rows.
struct Found {
  bool good = true;
  std::vector<double> times;
};

Found readTimes(const std::string& text, size_t capacity, size_t blockSize) {
  Found found;
  size_t begun = 0;
  ReferenceTimeReader reader(
      {[&] { return begun++ < capacity; }, [&](double t) { found.times.push_back(t); }});
  for (size_t i = 0; i < text.size() && found.good; i += blockSize)
    found.good = reader.Feed(text.substr(i, blockSize));
  found.good = found.good && reader.Finish();
  return found;
}

TEST(LumicheckTable, ReaderFindsTheTimesWhateverTheBlocks) {
  const std::string longToken(300, 'x');
  struct Case {
    std::string text;
    size_t capacity;
    bool good;
    std::vector<double> times;
  };
  const std::vector<Case> cases = {
      {"", 0, true, {}},
      {"1 OK 0.50 0.40 +25.00% None /a b.vesta\n2 PENDING 0.00 /c\n3 ERROR 0.00 /d\r\n", 3, true, {0.5, 0}},
      {"CREATED 1.25\tSKIPPED\n2.5", 2, true, {1.25, 2.5}},
      {"1 OK 0.50 /dir OK 7/x.vesta", 2, true, {0.5, 7}},  // a path with a status word starts a row
      {"1 OK 0.50 /dir OK", 2, true, {0.5, 0}},            // at the very end it has no time
      {"1 OK 0.50 /dir OK 7", 1, false, {0.5}},            // and can be a row too many
      {"OK OK OK 3", 2, true, {0, 3}},                     // the token behind a word is its time, always
      {"ok OKAY " + longToken + "OK 5", 0, true, {}},
      {std::string(254, 'y') + "OK 5", 0, true, {}},  // cut tokens drop their rest, not split it
      {"ERROR nan CREATED inf OK 1e2x SKIPPED +3", 4, true, {0, 0, 100, 3}},
  };
  for (const Case& test : cases) {
    for (const size_t block : {1U, 3U, 4096U}) {
      const Found found = readTimes(test.text, test.capacity, block);
      EXPECT_EQ(found.good, test.good) << test.text << " in blocks of " << block;
      EXPECT_EQ(found.times, test.times) << test.text << " in blocks of " << block;
    }
  }
}

TEST(LumicheckTable, LongFieldsRunIntoTheNextColumn) {
  std::string line;
  outfitter::AppendField(line, "OK");
  outfitter::AppendField(line, "1234567.89");
  outfitter::AppendField(line, "+123456.78%");
  outfitter::AppendField(line, "");
  EXPECT_EQ(line, "OK        1234567.89+123456.78%          ");
}

TEST(LumicheckCompare, MeansAreRightAndWrapAsTheyAlwaysDid) {
  std::vector<uint8_t> now(300), reference(300);
  for (size_t i = 0; i < 300; ++i) {
    now[i] = static_cast<uint8_t>(i * 7);
    reference[i] = static_cast<uint8_t>(i * 13 + 5);
  }
  uint32_t expected = 0;
  std::vector<uint8_t> differences(300);
  for (size_t i = 0; i < 300; ++i) {
    differences[i] = static_cast<uint8_t>(std::abs(int(reference[i]) - int(now[i])));
    expected += differences[i];
  }
  EXPECT_EQ(outfitter::SubtractRow(now.data(), reference.data(), 300), expected);
  EXPECT_EQ(reference, differences);

  EXPECT_EQ(outfitter::MeanDifference(0, 100, 100), 0.0);
  EXPECT_EQ(outfitter::MeanDifference(100U * 100 * 765, 100, 100), 1.0);
  EXPECT_DOUBLE_EQ(outfitter::MeanDifference(1, 2, 1), 1.0 / 1530);
  // 3840 x 2160: the divisor reads 2050248704, and white against black still reads 1.
  EXPECT_DOUBLE_EQ(outfitter::MeanDifference(1000, 3840, 2160), 1000 / 2050248704.0);
  EXPECT_EQ(outfitter::MeanDifference(static_cast<uint32_t>(3840ULL * 2160 * 765), 3840, 2160), 1.0);
  EXPECT_LT(outfitter::MeanDifference(0x80000000U, 3840, 2160), 0);
}

}  // namespace
