#pragma once
// The account of a symbol build: every define and enumerator of the headers, and what became of it.

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "makedistri/makedistri_header.h"

namespace companion {

using outfitter::Fate;

struct Place {
  std::string file;
  int32_t line = 0;
};

/// A symbol that was put into a value.
struct Replacement {
  std::string name;
  int32_t value = 0;
  size_t times = 1;
};

struct Entry {
  Place place;
  bool isEnumerator = false;
  Fate fate = Fate::Exported;
  std::string name;
  std::string rawText;  ///< as it stood in the header, without blanks
  std::string text;     ///< after everything was put in
  std::vector<Replacement> used;
  outfitter::Evaluation found;
  int32_t number = 0;
  int32_t symbol = outfitter::SymbolTable::kNone;
  bool isFunctionLike = false;
  bool lostBehindSlash = false;
  bool neverWritten = false;
  bool behindOverrun = false;  ///< an enumerator counted on from one that a comment may hide
  bool passedOver = false;     ///< something behind an enumerator's name was passed over
  bool behindOddity = false;   ///< counted on from an enumerator that was left out or is read otherwise
  bool isOdd = false;          ///< its value may not be what a compiler makes of it
};

struct UnreadableHeader {
  std::string file;
  std::string reason;
};

/// A comment that ends for a compiler, but goes on for the symbol build, which hides what stands behind it.
struct OverrunComment {
  Place place;                    ///< of its end for a compiler; of its last line where it never ends
  int32_t lastLine = 0;           ///< up to which it goes on
  bool hidesEnumeration = false;  ///< one begins in it, and is lost with what stands behind the comment
  bool neverEnds = false;         ///< for a compiler as well
};

struct Account {
  std::vector<std::string> headers;  ///< in the order they are read
  std::vector<UnreadableHeader> unreadable;
  std::vector<OverrunComment> overruns;
  std::vector<Entry> entries;        ///< in the order they were found
  std::vector<size_t> firstEntries;  ///< the entry of each symbol of the table; the seeds have none
  static constexpr size_t kNoEntry = static_cast<size_t>(-1);

  /// The entry that gave a symbol its value, or null.
  const Entry* entryOf(int32_t symbol) const;
  /// The entry that gave a name its value, whenever it was read, or null.
  const Entry* entryOf(std::string_view name) const;

  outfitter::SymbolTable symbols;
  std::set<std::string, std::less<>> functionLike;  ///< names of macros with parameters
};

/// Reads the headers below the folders as a symbol build does, in the same order, and keeps account. A folder
/// that is not there has no headers. Between two headers `stopped` is asked. Thread: any.
Account readHeaders(const std::vector<std::string>& folders, const std::function<bool()>& stopped);

}  // namespace companion
