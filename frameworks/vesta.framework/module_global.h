// Module globals that hold host values.
#pragma once

#include <new>

namespace vesta {

/// Room for a T that lives from the first attach to the last detach. It has no static constructor and no
/// destructor, because the host's tables are there only in between.
template <class T>
class ModuleGlobal {
 public:
  constexpr ModuleGlobal() = default;
  ModuleGlobal(const ModuleGlobal&) = delete;
  ModuleGlobal& operator=(const ModuleGlobal&) = delete;

  void Make() { new (storage_) T; }
  void Release() { (**this).~T(); }
  T& operator*() { return *std::launder(reinterpret_cast<T*>(storage_)); }
  T* operator->() { return &**this; }

 private:
  alignas(T) unsigned char storage_[sizeof(T)]{};
};

}  // namespace vesta
