#pragma once
// The object file of a script, `*.csc`: everything that the script is, as text that can be looked at and kept
// under version control. The first line says what it is and carries the SHA-256 of all bytes behind that
// line:
//
//     VESTA OBJECT 1 scrp 9f86d08...
//     {
//       "data": {"65536 + language": {"type": "container", "value": {"1": name, "2": help}}, ...},
//       "source": the BRAMBLE source,
//       "code": what a compiled file of it holds, in base 64
//     }

#include <string>
#include <string_view>

#include "host/script/script.h"

namespace host {

/// The suffix of object files, and of plain sources.
inline constexpr const char* kObjectSuffix = "csc";
inline constexpr const char* kSourceSuffix = "brm";

/// The bytes of the object file of a script.
std::string packObject(const Script& script);

/// Sets the data, source and compiled code of `script` to what `bytes` hold. Throws ScriptRefused with the
/// reason when they are no undamaged object file of a script.
void unpackObject(std::string_view bytes, Script& script);

}  // namespace host
