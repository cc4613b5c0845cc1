// The host itself: version, run mode, timer, memory, resources, libraries.
#include <chrono>
#include <cstdlib>
#include <filesystem>

#include "host/services/paths.h"
#include "host/tables/areas.h"
#include "host/tables/door.h"
#include "host/tables/handles.h"

/// The resource folder of a module.
struct HostResources {
  std::string folder;
};

namespace host {
namespace {

int32_t GetHostVersion() { return kHostVersion; }

int32_t GetRunMode() { return services().options.interactive ? 0 : HOST_RUN_MODE_NO_USER_INTERFACE; }

int64_t GetTimer() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

/// Tools ask for as much as a file says it has, and a file may say so without having it.
constexpr uint64_t kLargestBlock = uint64_t{1} << 30;

void* MemAlloc(uint64_t bytes) {
  if (bytes > kLargestBlock) return nullptr;
  void* block = std::calloc(1, std::max<uint64_t>(bytes, 1));
  if (block != nullptr) countHandle(HandleKind::Memory, 1);
  return block;
}

void MemFree(void* block) {
  std::free(block);
  countHandle(HandleKind::Memory, -1);
}

HostResources* LoadModuleResources(const HostFileName* moduleFolder) {
  static std::map<std::string, HostResources> loaded;
  const std::string folder = joinPath(moduleFolder->path, "resource");
  if (!folderExists(folder)) return nullptr;
  return &loaded.insert_or_assign(folder, HostResources{folder}).first->second;
}

const void* FindLibrary(int32_t id) { return id == HOST_LIBRARY_SCRIPT ? &scriptLibrary() : nullptr; }

}  // namespace

const HostSystemTable& systemTable() {
#include "vesta.framework/contract/tagged_words.h"
#define HOST_SLOT VESTA_DOOR
  static constexpr HostSystemTable kTable = {
      sizeof(HostSystemTable),
#include "vesta.framework/contract/system_slots.inc"
  };
#undef HOST_SLOT
#include "vesta.framework/contract/no_words.h"
  return kTable;
}

}  // namespace host
