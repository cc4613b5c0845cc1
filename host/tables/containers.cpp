// Settings containers and stored settings.
#include "host/tables/areas.h"
#include "host/tables/door.h"
#include "host/tables/handles.h"

namespace host {
namespace {

HostContainer* give(Container container) {
  auto* owned = new Container(std::move(container));
  countHandle(HandleKind::Container, 1);
  return handleOf(owned);
}

HostBool store(HostContainer* container, int32_t id, Value value) {
  behind(container).set(id, std::move(value));
  return 1;
}

HostContainer* ContainerInit() { return give(Container()); }

HostContainer* ContainerCopy(const HostContainer* source) { return give(behind(source)); }

void ContainerFree(HostContainer* container) {
  delete &behind(container);
  countHandle(HandleKind::Container, -1);
}

int32_t ContainerGetId(const HostContainer* container) { return behind(container).id(); }

HostBool ContainerGetBool(const HostContainer* container, int32_t id, HostBool fallback) {
  return behind(container).getBool(id, fallback != 0) ? 1 : 0;
}

int32_t ContainerGetInt32(const HostContainer* container, int32_t id, int32_t fallback) {
  return behind(container).getInt32(id, fallback);
}

double ContainerGetReal(const HostContainer* container, int32_t id, double fallback) {
  return behind(container).getReal(id, fallback);
}

HostBool ContainerGetString(const HostContainer* container, HostString* result, int32_t id,
                            const HostString* fallback) {
  const auto* text = behind(container).find<std::u16string>(id);
  if (text != nullptr) {
    result->text = *text;
  } else if (fallback != nullptr) {
    result->text = fallback->text;
  } else {
    result->text.clear();
  }
  return 1;
}

HostBool ContainerGetFileName(const HostContainer* container, HostFileName* result, int32_t id) {
  const auto* path = behind(container).find<PathValue>(id);
  result->path = path != nullptr ? path->bytes : std::string();
  return 1;
}

HostContainer* ContainerGetContainerRef(const HostContainer* container, int32_t id) {
  const auto* nested = behind(container).find<NestedContainer>(id);
  return nested != nullptr ? handleOf(&nested->get()) : nullptr;
}

HostBool ContainerSetBool(HostContainer* container, int32_t id, HostBool value) {
  return store(container, id, value != 0);
}

HostBool ContainerSetInt32(HostContainer* container, int32_t id, int32_t value) {
  return store(container, id, value);
}

HostBool ContainerSetReal(HostContainer* container, int32_t id, double value) {
  return store(container, id, value);
}

HostBool ContainerSetString(HostContainer* container, int32_t id, const HostString* value) {
  return store(container, id, value->text);
}

HostBool ContainerSetFileName(HostContainer* container, int32_t id, const HostFileName* value) {
  return store(container, id, PathValue{value->path});
}

HostBool ContainerSetContainer(HostContainer* container, int32_t id, const HostContainer* value) {
  return store(container, id, NestedContainer(behind(value)));
}

/// Shows a value as the contract does.
struct Shown {
  HostContainerValue operator()(bool truth) const { return {HOST_VALUE_BOOL, truth ? 1 : 0, 0, nullptr, {}}; }
  HostContainerValue operator()(int32_t integer) const { return {HOST_VALUE_INT32, integer, 0, nullptr, {}}; }
  HostContainerValue operator()(double real) const { return {HOST_VALUE_REAL, 0, real, nullptr, {}}; }
  HostContainerValue operator()(const std::u16string&) const {
    return {HOST_VALUE_STRING, 0, 0, nullptr, {}};
  }
  HostContainerValue operator()(const PathValue&) const { return {HOST_VALUE_FILENAME, 0, 0, nullptr, {}}; }
  HostContainerValue operator()(const NestedContainer& nested) const {
    return {HOST_VALUE_CONTAINER, 0, 0, handleOf(&nested.get()), {}};
  }
};

using Entry = std::map<int32_t, Value>::value_type;

const HostContainerEntry* ContainerNextEntry(const HostContainer* container, int32_t* id,
                                             HostContainerValue* value, const HostContainerEntry* state) {
  const auto& values = behind(container).values();
  const auto next =
      state == nullptr ? values.begin() : values.upper_bound(reinterpret_cast<const Entry*>(state)->first);
  if (next == values.end()) return nullptr;
  *id = next->first;
  *value = std::visit(Shown{}, next->second);
  return reinterpret_cast<const HostContainerEntry*>(&*next);
}

HostContainer* GetPluginSettings(int32_t pluginId) {
  auto stored = services().settings.load(pluginId);
  return stored ? give(std::move(*stored)) : nullptr;
}

HostBool SetPluginSettings(int32_t pluginId, const HostContainer* settings) {
  return services().settings.store(pluginId, behind(settings)) ? 1 : 0;
}

}  // namespace

const HostContainersTable& containersTable() {
#include "vesta.framework/contract/tagged_words.h"
#define HOST_SLOT VESTA_DOOR
  static constexpr HostContainersTable kTable = {
      sizeof(HostContainersTable),
#include "vesta.framework/contract/container_slots.inc"
  };
#undef HOST_SLOT
#include "vesta.framework/contract/no_words.h"
  return kTable;
}

}  // namespace host
