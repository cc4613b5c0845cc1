// The texts of one source file that people may read: string literals that look like it. Bytes in, bytes out.
//
// It is a search for a translator's eye and no compiler: block comments, character constants and raw strings
// are not known, so that a quote inside one begins a literal. Nothing is copied but the literal at hand,
// however long the line is.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>

namespace outfitter {

/// A literal that looks like a text. What it refers to is lent for the length of the call.
struct FoundLiteral {
  std::string_view written;  ///< between the quotes, as in the file
  std::string_view lowered;  ///< the same with A to Z in lower case
  std::string_view line;     ///< from the start of the line to the literal's last byte, as in the file
  size_t offset = 0;         ///< of the opening quote in the file

  /// The byte of its line that is the opening quote, from 1.
  size_t Column() const { return line.size() - written.size(); }
};

/// Whether a literal, in lower case, names a header: as a file name it has the suffix "h".
using HeaderNameTest = std::function<bool(std::string_view lowered)>;
/// Receives a literal; false ends the search.
using LiteralTaker = std::function<bool(const FoundLiteral& literal)>;
/// Receives bytes one piece after the other; a piece may be as long as the file.
using PieceTaker = std::function<void(std::string_view piece)>;

/// Finds the literals of a file in their order.
void FindLiterals(std::string_view file, const HeaderNameTest& isHeaderName, const LiteralTaker& take);

/// The test where there is no host to ask: a suffix is what follows the last point of a name.
bool IsHeaderName(std::string_view name);

/// Hands out the line about a literal in a list for translators: the literal in lower case, padded with
/// blanks, and its source line up to there without tabs.
void WriteListLine(const FoundLiteral& literal, std::string_view lineEnd, const PieceTaker& write);

/// Counts the lines of a file from 1; a carriage return with its line feed ends one.
class LineCounter {
 public:
  explicit LineCounter(std::string_view file) : file_(file) {}
  /// The line of the byte at `offset`, which is never before that of the last call.
  int64_t LineAt(size_t offset);

 private:
  std::string_view file_;
  size_t counted_ = 0;
  int64_t line_ = 1;
};

}  // namespace outfitter
