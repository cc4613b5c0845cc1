#pragma once
// Digests of bytes.

#include <string>
#include <string_view>

namespace host {

/// SHA-256: 32 bytes.
std::string sha256(std::string_view bytes);
/// The same as 64 lower-case hexadecimal digits.
std::string sha256Hex(std::string_view bytes);

}  // namespace host
