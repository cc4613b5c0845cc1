#pragma once
// UTF-8 that may be none: paths and texts come as any bytes, and terminals take only some of them.

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
/// bytes that are not UTF-8 become \xHH or \u{HHHH}, so that a file name cannot steer the terminal. The
/// characters in `kept` stay.
std::string visible(std::string_view text, std::string_view kept = {});

}  // namespace host
