// The text of Lumicheck's result table: fields, and the reader's tokens. Nothing of the host.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace outfitter {

/// Appends `field`, padded with blanks to ten characters; a longer one runs into the next column.
void AppendField(std::string& line, std::string_view field);

/// The word of a scene status, "PENDING" to "SKIPPED".
std::string_view StatusWord(int32_t status);

/// Finds the render times in a result table that comes in blocks of any size. A row begins with one of the
/// words OK, ERROR, CREATED, SKIPPED; the token behind it is its time. Everything else is passed over.
class ReferenceTimeReader {
 public:
  struct Sink {
    std::function<bool()> beginRow;      ///< false: there is no record left for this row
    std::function<void(double)> endRow;  ///< its time in seconds
  };
  explicit ReferenceTimeReader(Sink sink) : sink_(std::move(sink)) {}

  /// False when a row found no record.
  bool Feed(std::string_view block);
  /// The end of the file.
  bool Finish();

 private:
  bool EndToken();

  static constexpr size_t kLongestToken = 254;
  Sink sink_;
  std::string token_;
  bool timeFollows_ = false;
};

/// The number at the beginning of `text`; 0 when there is none.
double NumberOf(std::string_view text);

}  // namespace outfitter
