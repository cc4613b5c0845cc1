// Which headers are read, and in which order: it decides which of two equal names wins.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "makedistri/makedistri_header.h"

namespace outfitter {

/// Folders that are not searched, with everything below them.
inline bool IsSkippedFolder(std::string_view leaf) {
  return leaf == "vesta_scaling" || leaf == "vesta_preview" || leaf == "description";
}

inline bool IsSkippedHeader(std::string_view leaf) {
  return leaf == "xvesta_colors.h" || leaf == "vesta_gl.h" || leaf.substr(0, 6) == "ge_mac";
}

/// Headers of a lower rank come first; those of the same rank in the order of their names.
inline int32_t HeaderRank(std::string_view leaf) {
  return leaf == "ge_win_math.h" ? -2 : leaf == "lib_description.h" ? -1 : 0;
}

/// Calls `parse(index, pass)` for each reading of `count` sorted headers: of the first two the enumerations
/// before the defines, so that defines can use them; of all others the defines first.
template <class Parse>
void ForEachParse(size_t count, Parse parse) {
  const size_t first = count < 2 ? count : 2;
  for (size_t i = 0; i < first; ++i) parse(i, HeaderPass::Enums);
  for (size_t i = 0; i < first; ++i) parse(i, HeaderPass::Defines);
  for (size_t i = first; i < count; ++i) parse(i, HeaderPass::Defines);
  for (size_t i = first; i < count; ++i) parse(i, HeaderPass::Enums);
}

}  // namespace outfitter
