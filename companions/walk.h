#pragma once
// A tree of source files as the tools walk it.

#include <functional>
#include <string>

namespace companion {

/// What happens to each thing that a walk comes to.
struct WalkVisitor {
  std::function<bool(const std::string& leaf)> entersFolder;
  std::function<void(const std::string& path, const std::string& leaf)> takeFile;
  std::function<void(const std::string& folder, const std::string& reason)> folderFailed;
};

/// Visits what stands below `folder` in the order of the host's listings. Thread: any.
void walkTree(const std::string& folder, const WalkVisitor& visitor);

}  // namespace companion
