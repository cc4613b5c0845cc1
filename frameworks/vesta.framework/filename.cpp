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

}  // namespace vesta
