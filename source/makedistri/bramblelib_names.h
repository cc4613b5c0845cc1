// The names that never stand in the symbol header, although they count as symbols.
#pragma once

#include <algorithm>
#include <array>
#include <string_view>

namespace outfitter {

inline bool IsNeverWritten(std::string_view name) {
  constexpr std::array<std::string_view, 7> kNames = {
      "NOTINDEX", "LITTLE_ENDIAN", "GE_LITTLE_ENDIAN", "VESTAPL_MEMBERMULTIPLIER",
      "VECTOR_X", "VECTOR_Y",      "VECTOR_Z"};
  return std::find(kNames.begin(), kNames.end(), name) != kNames.end();
}

}  // namespace outfitter
