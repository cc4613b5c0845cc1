#include "makedistri/makedistri.h"

#include "makedistri/makedistri_symbolbuild.h"
#include "vesta.framework/filename.h"
#include "vesta.framework/messages.h"

namespace outfitter {

using namespace vesta;

namespace {

/// Compiles with the host's script library; false as well where the host has none.
bool CompileScript(const FileName& source) {
  const auto* library = static_cast<const HostScriptLibrary*>(Host().system.FindLibrary(HOST_LIBRARY_SCRIPT));
  constexpr size_t kNeeded = offsetof(HostScriptLibrary, Compile) + sizeof(library->Compile);
  if (library == nullptr || library->size < kNeeded || library->Compile == nullptr) return false;
  return library->Compile(source.Get(), FileName().Get()) != 0;
}

}  // namespace

void CreateDistribution() {
  const FileName resources = GetStartupFolder().Join("resource");
  // A script that fails must not leave an older one behind.
  DeleteFile(resources.Join("gui.brc"), false);
  if (!CompileScript(resources.Join("gui.brm"))) {
    PrintConsoleStatus("Error: Compiling gui.brc");
    return;
  }
  PrintConsoleStatus("Created gui.brc");
  // Headers of any size are read: also when memory runs out the build ends with its line.
  const bool created = Guarded(false, ParseSymbols);
  PrintConsoleStatus(created ? "Created bramblesymbols.h" : "Error: Creating bramblesymbols.h");
}

}  // namespace outfitter
