#pragma once
// The file that holds a compiled script. Byte code is code that the engine trusts: what was not written by
// this very version for this very interface, or changed by one bit since, never reaches it.

#include <string>
#include <string_view>

namespace host {

/// The bytes of the file for `code`, compiled against the interface that `interfaceText` describes.
std::string packScript(std::string_view code, std::string_view interfaceText);

/// The code in `bytes`. Throws ScriptRefused with the reason when it must not be used.
std::string_view unpackScript(std::string_view bytes, std::string_view interfaceText);

}  // namespace host
