// Where scripts lie, and the registration of the two commands.
#include "localize/localize.h"

#include <initializer_list>
#include <new>

#include "vesta.framework/contract/command_ids.h"

namespace outfitter {

using namespace vesta;

namespace {

/// The folder that `elements` lead to. Empty when the host failed on the way: what is left out of a path
/// makes it the path of something else.
FileName Below(FileName folder, std::initializer_list<const char*> elements) {
  for (const char* name : elements) {
    const FileName element(name);
    if (folder.IsEmpty() || element.IsEmpty()) return FileName();
    folder = folder.Join(element);
  }
  return folder;
}

}  // namespace

FileName GetScriptFolder(int32_t kind) {
  switch (kind) {
    case HOST_SCRIPT_USER:
      return Below(GetHostFolder(HOST_FOLDER_PREFERENCES), {"scripts"});
    case HOST_SCRIPT_SHIPPED:
      return Below(GetStartupFolder(), {"resource", "modules", "vestaplugin", "scripts"});
    case 2:
      return Below(GetHostFolder(HOST_FOLDER_LIBRARY), {"scripts"});
    default:
      return FileName();
  }
}

bool RegisterScriptStrings() {
  const bool import = RegisterCommand(HOST_COMMAND_IMPORT_SCRIPT_STRINGS, "Import Script Strings", 0, nullptr,
                                      "", new (std::nothrow) ImportCmd);
  const bool exported = RegisterCommand(HOST_COMMAND_EXPORT_SCRIPT_STRINGS, "Export Script Strings", 0,
                                        nullptr, "", new (std::nothrow) ExportCmd);
  return import && exported;
}

}  // namespace outfitter
