// Script string files, one file a language: the lines of a file, and what one line says. A line holds a tag,
// the name of a script and a text:
//
//     Name:"Sphere Tool" "Kugelwerkzeug"
//     Help:"Sphere Tool" "Macht eine Kugel"
//
// Text in, text out.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace outfitter {

/// What a line is about.
enum class EntryKind : uint32_t { Name = 0, Help = 1 };

/// Puts the bytes of a file together to lines.
class EntryLine {
 public:
  /// The bytes of the longest line.
  static constexpr std::size_t kLongest = 2047;

  /// Takes the next byte of the file; true when it ended a line. Empty lines do not count. Each
  /// backslash before "U" is followed by "u" instead, whether an escape begins there or not. Of a line that
  /// is too long the rest is dropped.
  bool Add(char byte);
  /// Whether there is a line so far: at the end of the file it counts as one.
  bool IsEmpty() const { return bytes_.empty(); }
  bool IsTooLong() const { return isTooLong_; }
  const std::string& Bytes() const { return bytes_; }
  /// Begins the next line.
  void Clear();

 private:
  std::string bytes_;
  bool afterBackslash_ = false;
  bool isTooLong_ = false;
};

/// What the characters of a line say.
struct ParsedEntry {
  bool good = false;
  std::size_t column = 0;  ///< from 0: where the first character stands that cannot stand there
  EntryKind kind = EntryKind::Name;
  std::u16string identifier;  ///< the name of the script as the host shows it
  std::u16string text;
  std::size_t identifierStart = 0;  ///< where in the line they begin; each is one piece of it
  std::size_t textStart = 0;
  int quotes = 0;  ///< how many double quotes the line holds; a whole entry has four
};

/// Reads one line, without its line end, escapes already turned into characters.
ParsedEntry ParseEntry(std::u16string_view line);

}  // namespace outfitter
