// File names, and what can be asked of them.
#include <cstdlib>

#include "host/services/paths.h"
#include "host/services/text.h"
#include "host/tables/areas.h"
#include "host/tables/door.h"
#include "host/tables/handles.h"

namespace host {
namespace {

std::string homeFolder() {
  const char* home = std::getenv("HOME");
  return home != nullptr && folderExists(home) ? normalPath(home) : services().options.preferencesFolder;
}

HostFileName* FileNameInit() { return new HostFileName; }

void FileNameFree(HostFileName* name) { delete name; }

HostBool FileNameCopy(const HostFileName* source, HostFileName* destination) {
  destination->path = source->path;
  return 1;
}

HostBool FileNameFromString(HostFileName* name, const HostString* string) {
  name->path = toUtf8(string->text);
  return 1;
}

HostBool FileNameFromCString(HostFileName* name, const char* text) {
  name->path = text;
  return 1;
}

HostBool FileNameGetString(const HostFileName* name, HostString* destination) {
  destination->text = fromUtf8(name->path);
  return 1;
}

int32_t FileNameCompare(const HostFileName* first, const HostFileName* second) {
  return samePath(normalPath(first->path), normalPath(second->path)) ? 0 : 1;
}

HostBool FileNameJoin(HostFileName* destination, const HostFileName* folder, const HostFileName* name) {
  destination->path = joinPath(normalPath(folder->path), name->path);
  return 1;
}

HostBool FileNameSetSuffix(HostFileName* name, const HostString* suffix) {
  if (name->path.empty()) return 0;
  name->path = withSuffix(name->path, toUtf8(suffix->text));
  return 1;
}

HostBool FileNameHasSuffix(const HostFileName* name, const HostString* suffix) {
  return hasSuffix(name->path, toUtf8(suffix->text)) ? 1 : 0;
}

HostBool SelectFileName(HostFileName* name, int32_t, int32_t mode, const HostString*, const HostString*) {
  constexpr int32_t kChooseFolder = 2;
  const auto chosen = services().dialogs.selectFile(name->path, mode == kChooseFolder);
  if (!chosen) return 0;
  name->path = normalPath(*chosen);
  return 1;
}

HostBool GetStartupFolder(HostFileName* destination) {
  destination->path = services().options.appFolder;
  return 1;
}

HostBool GetHostFolder(HostFileName* destination, int32_t number) {
  switch (number) {
    case HOST_FOLDER_PREFERENCES:
      destination->path = services().options.preferencesFolder;
      return 1;
    case HOST_FOLDER_LIBRARY:
      destination->path = joinPath(services().options.appFolder, "library");
      return 1;
    case HOST_FOLDER_HOME:
      destination->path = homeFolder();
      return 1;
    default:
      return 0;
  }
}

HostBool FileExists(const HostFileName* name) { return fileExists(name->path) ? 1 : 0; }

HostBool FolderExists(const HostFileName* name) { return folderExists(name->path) ? 1 : 0; }

HostBool CreateFolder(const HostFileName* name) { return createFolder(name->path) ? 1 : 0; }

HostBool DeleteFile(const HostFileName* name, HostBool force) {
  return deleteFile(name->path, force != 0) ? 1 : 0;
}

}  // namespace

const HostFileNamesTable& fileNamesTable() {
#include "vesta.framework/contract/tagged_words.h"
#define HOST_SLOT VESTA_DOOR
  static constexpr HostFileNamesTable kTable = {
      sizeof(HostFileNamesTable),
#include "vesta.framework/contract/filename_slots.inc"
  };
#undef HOST_SLOT
#include "vesta.framework/contract/no_words.h"
  return kTable;
}

}  // namespace host
