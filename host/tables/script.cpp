// The script library: BRAMBLE for modules.
#include "host/script/compiler.h"
#include "host/tables/areas.h"
#include "host/tables/door.h"
#include "host/tables/handles.h"

namespace host {
namespace {

int32_t GetLanguageVersion() { return kScriptLanguageVersion; }

HostBool Compile(const HostFileName* source, const HostFileName* destination) {
  const Compilation compilation = compileScriptFile(source->path, destination->path);
  for (const std::string& line : compilation.messages) services().console.printError(line);
  return compilation.bytes.empty() ? 0 : 1;
}

}  // namespace

const HostScriptLibrary& scriptLibrary() {
#define HOST_CALLBACK VESTA_DOOR
  static constexpr HostScriptLibrary kLibrary = {
      sizeof(HostScriptLibrary),
#include "vesta.framework/contract/script_library.inc"
  };
#undef HOST_CALLBACK
  return kLibrary;
}

}  // namespace host
