#pragma once
// Bytes that claim to be text: paths come as any bytes, terminals and XML take only some of them.

#include <cstddef>
#include <string>
#include <string_view>

#include "host/services/utf8.h"

namespace host {

/// `text` for an XML 1.0 attribute in double quotes or an element: the five reserved characters escaped,
/// tab and line ends as character references; characters that XML cannot carry, and bytes that are not
/// UTF-8, become U+FFFD.
std::string xmlEscaped(std::string_view text);

/// `text` as one word of a shell's command line: a backslash before what a shell takes as its own.
std::string shellEscaped(std::string_view text);

/// printf for std::string; numbers have a decimal point whatever the locale.
[[gnu::format(printf, 1, 2)]] std::string formatted(const char* format, ...);

/// "1 scene", "2 scenes".
std::string counted(std::size_t count, std::string_view noun);

}  // namespace host
