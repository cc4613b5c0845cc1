// The host's files and directory listings.
#pragma once

#include "vesta.framework/filename.h"

namespace vesta {

struct FileTraits {
  using Handle = HostFile;
  static void End(HostFile* handle) { Host().files.FileFree(handle); }
};

/// A host file. What is written takes its name when Close answers true, and is thrown away otherwise.
class File {
 public:
  File() : file_(Host().files.FileAlloc()) {}
  explicit operator bool() const { return static_cast<bool>(file_); }

  /// `access` HOST_FILE_READ or HOST_FILE_WRITE.
  bool Open(const FileName& name, int32_t access);
  bool Close() { return Host().files.FileClose(file_.Get()) != 0; }
  /// The number of bytes read; fewer than `count` only at the end of the file.
  int32_t Read(void* buffer, int32_t count) {
    return Host().files.FileReadBytes(file_.Get(), buffer, count, 1);
  }
  bool Write(const void* buffer, int32_t count) {
    return Host().files.FileWriteBytes(file_.Get(), buffer, count) != 0;
  }
  /// Bytes; negative when the host cannot tell.
  int64_t Length() { return Host().files.FileGetLength(file_.Get()); }

 private:
  Owned<FileTraits> file_;
};
VESTA_HOLDS_ONLY_ITS_HANDLE(File);

struct BrowseTraits {
  using Handle = HostBrowse;
  static void End(HostBrowse* handle) { Host().files.BrowseFree(handle); }
};

/// The entries of one folder, in the host's order. Before the first Next there is no current entry.
class Browse {
 public:
  explicit Browse(const FileName& folder) : browse_(Host().files.BrowseAlloc()) {
    Host().files.BrowseInit(browse_.Get(), folder.Get(), 0);
  }
  explicit operator bool() const { return static_cast<bool>(browse_); }
  bool Next() { return Host().files.BrowseNext(browse_.Get()) != 0; }
  bool IsFolder() const { return Host().files.BrowseIsFolder(browse_.Get()) != 0; }
  /// Sets `name` to the current entry's bare name.
  bool GetName(FileName& name) const { return Host().files.BrowseGetName(browse_.Get(), name.Get()) != 0; }

 private:
  Owned<BrowseTraits> browse_;
};
VESTA_HOLDS_ONLY_ITS_HANDLE(Browse);

}  // namespace vesta
