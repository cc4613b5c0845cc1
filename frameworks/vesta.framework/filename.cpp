#include "vesta.framework/filename.h"

namespace vesta {

String FileName::GetString() const {
  String result;
  Host().fileNames.FileNameGetString(Get(), result.Get());
  return result;
}

FileName FileName::Join(const FileName& name) const {
  FileName result;
  Host().fileNames.FileNameJoin(result.Get(), Get(), name.Get());
  return result;
}

FileName GetStartupFolder() {
  FileName folder;
  Host().fileNames.GetStartupFolder(folder.Get());
  return folder;
}

FileName GetHostFolder(int32_t number) {
  FileName folder;
  Host().fileNames.GetHostFolder(folder.Get(), number);
  return folder;
}

bool SelectFolder(FileName& folder) {
  constexpr int32_t kAnyType = 0;
  const String none;
  return Host().fileNames.SelectFileName(folder.Get(), kAnyType, HOST_SELECT_FOLDER, none.Get(),
                                         none.Get()) != 0;
}

}  // namespace vesta
