#pragma once
// Text of the host: 16-bit character codes, their encodings, and numbers as text.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace host {

/// How 8-bit text stands for characters. The values are those of the contract.
enum class Encoding : int32_t { Latin1Escaped = 0, Utf8 = 1, Bytes = 2, AsciiEscaped = 3 };

/// The encoding of a code, if there is one.
std::optional<Encoding> encodingOf(int32_t code);

/// Reads bytes. UTF-8: a byte that belongs to no character becomes U+DC80 to U+DCFF. Latin-1 with escapes:
/// backslash, u or U, and four hexadecimal digits are one character; so for ASCII with escapes.
std::u16string decodeText(std::string_view bytes, Encoding encoding);

/// Writes characters. UTF-8: U+DC80 to U+DCFF become the bytes they came from, other lone surrogates three
/// bytes of their own. Bytes: the low eight bits. With escapes (both codes): all but printable ASCII is
/// backslash-u and four lower-case digits, and so is a backslash that stands before u or U.
std::string encodeText(std::u16string_view text, Encoding encoding);

inline std::u16string fromUtf8(std::string_view bytes) { return decodeText(bytes, Encoding::Utf8); }
inline std::string toUtf8(std::u16string_view text) { return encodeText(text, Encoding::Utf8); }

/// Text of `value` with `after` places behind the point (none, and no point, for 0 and below); a positive
/// `before` pads with zeros to that many places before the point. Zero has no sign.
std::string formatReal(double value, int before, int after);

/// Equal but for letter case, by the simple case rules of Unicode.
bool equalIgnoringCase(std::string_view utf8First, std::string_view utf8Second);

}  // namespace host
