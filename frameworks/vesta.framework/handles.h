// One owner for every handle of the host.
#pragma once

#include <utility>

#include "vesta.framework/host_access.h"

namespace vesta {

/// Owns one handle and nothing else; null after moving from it and after Reset. `Traits` names the handle's
/// type and the slot that ends it.
template <class Traits>
class Owned {
 public:
  using Handle = typename Traits::Handle;

  Owned() noexcept = default;
  /// Takes over `handle`, which may be null.
  explicit Owned(Handle* handle) noexcept : handle_(handle) {}
  Owned(Owned&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  // By value, so that assigning an object to itself ends the old handle only after the new one is held.
  Owned& operator=(Owned other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
  }
  ~Owned() { Reset(); }

  Handle* Get() const noexcept { return handle_; }
  explicit operator bool() const noexcept { return handle_ != nullptr; }
  void Reset() noexcept {
    if (handle_ != nullptr) Traits::End(std::exchange(handle_, nullptr));
  }

 private:
  Handle* handle_ = nullptr;
};

/// A wrapper holds its handle and nothing else, so that it costs what a pointer costs.
#define VESTA_HOLDS_ONLY_ITS_HANDLE(Wrapper) \
  static_assert(sizeof(Wrapper) == sizeof(void*), #Wrapper " holds its handle and nothing else")

}  // namespace vesta
