#pragma once
// The script string files of a folder, read as the import reads them, but to their ends, with places.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "localize/localize_entry.h"

namespace companion {

/// A place in a file, from 1; columns are bytes. Line 0: the file as a whole.
struct Place {
  int64_t line = 0;
  std::size_t column = 0;
};

/// One entry of a file.
struct PlacedEntry {
  outfitter::ParsedEntry entry;
  Place identifier;  ///< where its identifier begins
  Place text;        ///< where its text begins
};

/// A line that the import refuses.
struct RefusedLine {
  Place place;
  std::string reason;
};

struct StringFile {
  std::string path;
  std::u16string language;  ///< two characters
  std::vector<PlacedEntry> entries;
  std::vector<RefusedLine> refused;
  std::string encodingProblem;  ///< why its bytes are not what the import takes them for; empty: nothing
  Place encodingPlace;
  bool isUnreadable = false;  ///< the import refuses it for its encoding
};

/// Whether a bare name is one that the import takes: "script_", two characters, ".txt".
bool isStringFileName(const std::u16string& name);
/// Whether it only looks like one.
bool isAlmostStringFileName(const std::string& name);

/// What a file holds at most: far beyond any real one, and what is found in a hostile one fits in memory.
inline constexpr std::uintmax_t kLargestFile = 64 << 20;  // bytes
inline constexpr std::size_t kMostLines = 200'000;

/// Reads the bytes of a file into `file`. Throws std::runtime_error when they are more than kMostLines lines.
void readEntries(std::string_view bytes, StringFile& file);

}  // namespace companion
