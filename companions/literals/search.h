#pragma once
// The texts in a tree of sources: the same files, in the same order, and the same texts as in the list of the
// translator locator, with their places.

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace companion {

/// One text in its place. Lent for the length of the call.
struct PlacedText {
  const std::string& file;
  int64_t line;              ///< from 1
  size_t column;             ///< of the opening quote, from 1, in bytes
  std::string_view written;  ///< as it stands between the quotes
};

struct UnreadableSource {
  std::string file;
  std::string reason;
};

/// What a search went through.
struct SearchedFiles {
  size_t count = 0;  ///< that could be read
  std::vector<UnreadableSource> unreadable;
};

/// Finds the texts below a folder. Between two files `stopped` is asked. Thread: any.
SearchedFiles findTexts(const std::string& folder, const std::function<void(const PlacedText&)>& take,
                        const std::function<bool()>& stopped);

}  // namespace companion
