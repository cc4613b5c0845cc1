// The host's settings containers.
#pragma once

#include "vesta.framework/filename.h"

namespace vesta {

/// What owned and lent containers can do alike; `Self` has Get().
template <class Self>
class ContainerAccess {
 public:
  /// The container's own identifier, -1 when it has none.
  int32_t GetId() const { return Host().containers.ContainerGetId(handle()); }
  bool GetBool(int32_t id, bool fallback = false) const {
    return Host().containers.ContainerGetBool(handle(), id, fallback ? 1 : 0) != 0;
  }
  int32_t GetInt32(int32_t id, int32_t fallback = 0) const {
    return Host().containers.ContainerGetInt32(handle(), id, fallback);
  }
  FileName GetFileName(int32_t id) const {
    FileName result;
    Host().containers.ContainerGetFileName(handle(), result.Get(), id);
    return result;
  }
  /// Sets `result` to the string under `id`, to nothing when there is none.
  bool GetString(int32_t id, String& result) const {
    return Host().containers.ContainerGetString(handle(), result.Get(), id, nullptr) != 0;
  }
  bool SetBool(int32_t id, bool value) {
    return Host().containers.ContainerSetBool(handle(), id, value ? 1 : 0) != 0;
  }
  bool SetInt32(int32_t id, int32_t value) {
    return Host().containers.ContainerSetInt32(handle(), id, value) != 0;
  }
  bool SetFileName(int32_t id, const FileName& value) {
    return Host().containers.ContainerSetFileName(handle(), id, value.Get()) != 0;
  }
  bool SetString(int32_t id, const String& value) {
    return Host().containers.ContainerSetString(handle(), id, value.Get()) != 0;
  }

 private:
  HostContainer* handle() const { return static_cast<const Self*>(this)->Get(); }
};

/// A container that someone else owns; may be none.
class ContainerView : public ContainerAccess<ContainerView> {
 public:
  explicit ContainerView(HostContainer* container) : container_(container) {}
  HostContainer* Get() const { return container_; }
  explicit operator bool() const { return container_ != nullptr; }

  /// The container stored under `id`, or none; lent until that value changes or this container ends.
  ContainerView GetContainer(int32_t id) const {
    return ContainerView(Host().containers.ContainerGetContainerRef(container_, id));
  }
  /// Stores an empty container.
  bool SetEmptyContainer(int32_t id);

 private:
  HostContainer* container_;
};
VESTA_HOLDS_ONLY_ITS_HANDLE(ContainerView);

/// The identifiers of a container's values, in the container's own order. It must not change meanwhile.
class ContainerIds {
 public:
  explicit ContainerIds(const ContainerView& container) : container_(container) {}
  /// Sets `id` to the next one. False behind the last.
  bool Next(int32_t& id) {
    HostContainerValue value{};
    state_ = Host().containers.ContainerNextEntry(container_.Get(), &id, &value, state_);
    return state_ != nullptr;
  }

 private:
  ContainerView container_;
  const HostContainerEntry* state_ = nullptr;
};

/// A message of the host: a container that is only read.
class MessageView {
 public:
  explicit MessageView(const HostContainer* message) : message_(message) {}
  int32_t GetId() const { return Host().containers.ContainerGetId(message_); }
  int32_t GetInt32(int32_t id) const { return Host().containers.ContainerGetInt32(message_, id, 0); }
  const HostContainer* Get() const { return message_; }

 private:
  const HostContainer* message_;
};

struct ContainerTraits {
  using Handle = HostContainer;
  static void End(HostContainer* handle) { Host().containers.ContainerFree(handle); }
};

/// A container of one's own.
class Container : public ContainerAccess<Container> {
 public:
  /// An empty one without identifier.
  Container() : container_(Host().containers.ContainerInit()) {}
  static Container CopyOf(const ContainerView& source) {
    return Container(Host().containers.ContainerCopy(source.Get()));
  }
  /// The settings that the host stores under a plug-in's identifier; empty when there are none.
  static Container StoredSettings(int32_t pluginId) {
    HostContainer* stored = Host().containers.GetPluginSettings(pluginId);
    return stored != nullptr ? Container(stored) : Container();
  }
  bool Store(int32_t pluginId) const { return Host().containers.SetPluginSettings(pluginId, Get()) != 0; }

  HostContainer* Get() const { return container_.Get(); }

 private:
  explicit Container(HostContainer* handle) : container_(handle) {}
  Owned<ContainerTraits> container_;
};
VESTA_HOLDS_ONLY_ITS_HANDLE(Container);

inline bool ContainerView::SetEmptyContainer(int32_t id) {
  return Host().containers.ContainerSetContainer(Get(), id, Container().Get()) != 0;
}

}  // namespace vesta
