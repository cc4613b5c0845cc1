#pragma once
// Bytes that claim to be text: paths come as any bytes, terminals and XML take only some of them.

#include <cstddef>
#include <string>
#include <string_view>

namespace host {

/// One decoded character, or one byte that is not UTF-8.
struct CodePoint {
  char32_t value = 0;      ///< the character; of an invalid byte, the byte
  std::size_t length = 1;  ///< bytes taken, 1 to 4
  bool valid = true;       ///< false: overlong, a surrogate, beyond U+10FFFF, cut off, or a stray byte
};

/// Decodes the character at `position`, which must be below text.size().
CodePoint decodeUtf8(std::string_view text, std::size_t position);

/// True when every byte of `text` belongs to a valid character.
bool isUtf8(std::string_view text);

/// `text` for a terminal: control characters, marks that turn the reading direction, line separators and
/// bytes that are not UTF-8 become \xHH or \u{HHHH}, so that a file name cannot steer the terminal.
std::string visible(std::string_view text);

/// `text` for an XML 1.0 attribute in double quotes or an element: the five reserved characters escaped,
/// tab and line ends as character references; characters that XML cannot carry, and bytes that are not
/// UTF-8, become U+FFFD.
std::string xmlEscaped(std::string_view text);

/// printf for std::string; numbers have a decimal point whatever the locale.
[[gnu::format(printf, 1, 2)]] std::string formatted(const char* format, ...);

/// "1 scene", "2 scenes".
std::string counted(std::size_t count, std::string_view noun);

}  // namespace host
