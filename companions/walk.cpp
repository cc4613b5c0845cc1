#include "companions/walk.h"

#include <system_error>

#include "host/services/files.h"
#include "host/services/paths.h"

namespace companion {

void walkTree(const std::string& folder, const WalkVisitor& visitor) {
  std::vector<host::ListedEntry> entries;
  try {
    entries = host::listFolder(folder);
  } catch (const std::system_error& error) {
    visitor.folderFailed(folder, host::reasonOf(error));
  }
  for (const host::ListedEntry& entry : entries) {
    const std::string path = host::joinPath(folder, entry.name);
    if (!entry.isFolder) {
      visitor.takeFile(path, entry.name);
    } else if (visitor.entersFolder(entry.name)) {
      walkTree(path, visitor);
    }
  }
}

}  // namespace companion
