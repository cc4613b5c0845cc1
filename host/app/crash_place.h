#pragma once
// Which library an address of this process is in. Everything here is safe in a signal handler.

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace host {

/// What is in memory at an address.
template <typename Type>
Type* addressed(uintptr_t address) {
  return std::bit_cast<Type*>(address);
}

/// A place in the file of a library or of the program.
struct CodePlace {
  const char* module = nullptr;  ///< its path; null: the address is in none. Lives as long as it is loaded
  uintptr_t base = 0;            ///< what to take from an address to get the file's own
  uintptr_t start = 0;           ///< the first address in memory
  uintptr_t end = 0;             ///< behind the last one

  explicit operator bool() const { return module != nullptr; }
};

CodePlace findCode(uintptr_t address);

/// The build id of the library that `place` is in: bytes in memory, empty when it has none.
std::string_view buildIdOf(const CodePlace& place);

/// The last element of a path.
std::string_view leafOf(std::string_view path);

}  // namespace host
