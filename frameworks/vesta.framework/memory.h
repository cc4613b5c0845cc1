// Memory from the host.
#pragma once

#include "vesta.framework/handles.h"

namespace vesta {

struct MemoryTraits {
  using Handle = void;
  static void End(void* block) { Host().system.MemFree(block); }
};

/// `count` items of a plain type from the host's allocator, filled with zeros; none when there was no memory.
template <class T>
class HostArray {
 public:
  HostArray() = default;
  explicit HostArray(uint64_t count) : block_(Host().system.MemAlloc(count * sizeof(T))) {}
  T* Get() const { return static_cast<T*>(block_.Get()); }
  explicit operator bool() const { return Get() != nullptr; }

 private:
  Owned<MemoryTraits> block_;
};

}  // namespace vesta
