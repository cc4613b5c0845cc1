// The host's file names and what can be asked of them.
#pragma once

#include "vesta.framework/string.h"

namespace vesta {

struct FileNameTraits {
  using Handle = HostFileName;
  static void End(HostFileName* handle) { Host().fileNames.FileNameFree(handle); }
};

/// A host file name. An empty one names nothing.
class FileName {
 public:
  /// An empty name.
  FileName() : name_(Host().fileNames.FileNameInit()) {}
  /// No name at all: holds no handle and costs no call, for tables of many records.
  explicit FileName(std::nullptr_t) noexcept {}
  explicit FileName(const char* bytes) : FileName() { Host().fileNames.FileNameFromCString(Get(), bytes); }
  explicit FileName(const String& text) : FileName() {
    Host().fileNames.FileNameFromString(Get(), text.Get());
  }
  FileName(const FileName& other) : FileName() { Host().fileNames.FileNameCopy(other.Get(), Get()); }
  FileName(FileName&&) noexcept = default;
  FileName& operator=(FileName other) noexcept {
    std::swap(name_, other.name_);
    return *this;
  }
  ~FileName() = default;

  String GetString() const;
  bool IsEmpty() const { return GetString().IsEmpty(); }
  /// This folder with `name` appended as a new element.
  FileName Join(const FileName& name) const;
  FileName Join(const String& name) const { return Join(FileName(name)); }
  void SetSuffix(const String& suffix) { Host().fileNames.FileNameSetSuffix(Get(), suffix.Get()); }
  bool HasSuffix(const String& suffix) const {
    return Host().fileNames.FileNameHasSuffix(Get(), suffix.Get()) != 0;
  }

  HostFileName* Get() const { return name_.Get(); }

 private:
  Owned<FileNameTraits> name_;
};
VESTA_HOLDS_ONLY_ITS_HANDLE(FileName);

inline bool FileExists(const FileName& name) { return Host().fileNames.FileExists(name.Get()) != 0; }
inline bool FolderExists(const FileName& name) { return Host().fileNames.FolderExists(name.Get()) != 0; }
inline bool CreateFolder(const FileName& name) { return Host().fileNames.CreateFolder(name.Get()) != 0; }
/// A missing file is no error; `force` deletes a write-protected one too.
inline bool DeleteFile(const FileName& name, bool force) {
  return Host().fileNames.DeleteFile(name.Get(), force ? 1 : 0) != 0;
}
/// Equal by the host's rules for file names.
inline bool IsSameFileName(const FileName& first, const FileName& second) {
  return Host().fileNames.FileNameCompare(first.Get(), second.Get()) == 0;
}
/// The application folder.
FileName GetStartupFolder();
/// One of the host's numbered folders, HOST_FOLDER_*; empty when there is none of that number.
FileName GetHostFolder(int32_t number);
/// Lets the user choose a folder, in a dialog without a title that starts in `folder`. False, with `folder`
/// unchanged, when that was cancelled. Thread: main.
bool SelectFolder(FileName& folder);

}  // namespace vesta
