// Files and directory listings.
#include <cerrno>
#include <system_error>

#include "host/tables/areas.h"
#include "host/tables/door.h"
#include "host/tables/handles.h"

namespace host {
namespace {

const ListedEntry* currentEntry(const HostBrowse* browse) {
  return browse->next == 0 || browse->next > browse->entries.size() ? nullptr
                                                                    : &browse->entries[browse->next - 1];
}

HostFile* FileAlloc() { return new HostFile; }

void FileFree(HostFile* file) { delete file; }

HostBool FileOpen(HostFile* file, const HostFileName* name, int32_t access, int32_t, int32_t, int32_t,
                  int32_t) {
  file->name = name->path;
  file->readFailed = false;
  if (access == HOST_FILE_READ) return file->stream.openForReading(name->path) ? 1 : 0;
  if (access != HOST_FILE_WRITE || !file->stream.openForWriting(name->path)) return 0;
  services().runLog.openedForWriting(name->path);
  return 1;
}

HostBool FileClose(HostFile* file) {
  const bool isWritten = file->stream.isWritten();
  if (file->stream.close()) return 1;
  // Not every tool asks whether what it wrote is there.
  if (isWritten) {
    services().runLog.fileFailed();
    services().console.printError(file->name + ": not written: " + file->stream.failure().message());
  }
  return 0;
}

int32_t FileReadBytes(HostFile* file, void* buffer, int32_t count, HostBool) {
  const int64_t got = file->stream.read(buffer, count);
  if (got >= 0) return static_cast<int32_t>(got);
  // A tool takes it for the end of the file.
  if (!file->readFailed) {
    const std::string reason = std::generic_category().message(errno);
    services().runLog.fileFailed();
    services().console.printError(file->name + ": cannot be read: " + reason);
  }
  file->readFailed = true;
  return 0;
}

HostBool FileWriteBytes(HostFile* file, const void* buffer, int32_t count) {
  return file->stream.write(buffer, count) ? 1 : 0;
}

int64_t FileGetLength(HostFile* file) { return file->stream.length(); }

HostBrowse* BrowseAlloc() { return new HostBrowse; }

void BrowseFree(HostBrowse* browse) { delete browse; }

HostBool BrowseInit(HostBrowse* browse, const HostFileName* folder, int32_t) {
  browse->next = 0;
  browse->entries.clear();
  try {
    browse->entries = listFolder(folder->path);
    return 1;
  } catch (const std::system_error& error) {
    services().runLog.fileFailed();
    services().console.printError(folder->path + ": the folder cannot be listed: " + reasonOf(error));
    return 0;
  }
}

HostBool BrowseNext(HostBrowse* browse) {
  if (browse->next <= browse->entries.size()) ++browse->next;
  return currentEntry(browse) != nullptr ? 1 : 0;
}

HostBool BrowseGetName(const HostBrowse* browse, HostFileName* destination) {
  const ListedEntry* entry = currentEntry(browse);
  if (entry == nullptr) return 0;
  destination->path = entry->name;
  return 1;
}

HostBool BrowseIsFolder(const HostBrowse* browse) {
  const ListedEntry* entry = currentEntry(browse);
  return entry != nullptr && entry->isFolder ? 1 : 0;
}

}  // namespace

const HostFilesTable& filesTable() {
#include "vesta.framework/contract/tagged_words.h"
#define HOST_SLOT VESTA_DOOR
  static constexpr HostFilesTable kTable = {
      sizeof(HostFilesTable),
#include "vesta.framework/contract/file_slots.inc"
  };
#undef HOST_SLOT
#include "vesta.framework/contract/no_words.h"
  return kTable;
}

}  // namespace host
