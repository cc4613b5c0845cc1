#include "vesta.framework/command.h"

#include <memory>

namespace vesta {
namespace {

CommandData& Self(void* self) { return *static_cast<CommandData*>(self); }

HostCommandRecord DescribeCommand(CommandData* command, int32_t flags, const void* icon, const String& help) {
  HostCommandRecord record{};
  record.size = HOST_COMMAND_RECORD_SIZE;
  record.flags = flags;
  record.icon = icon;
  record.help = help.Get();
  record.self = command;
  record.Release = [](void* self) noexcept { delete &Self(self); };
  record.Execute = [](void* self, HostDocument* document) noexcept {
    return GuardedTruth([&] { return Self(self).Execute(document); });
  };
  record.HasOptions = [](void* self, HostDocument* document, int32_t part) noexcept {
    return GuardedTruth([&] { return Self(self).HasOptions(document, part); });
  };
  record.ExecuteOptions = [](void* self, HostDocument* document, int32_t part) noexcept {
    return GuardedTruth([&] { return Self(self).ExecuteOptions(document, part); });
  };
  record.GetState = [](void* self, HostDocument* document) noexcept {
    return Guarded(int32_t{0}, [&] { return Self(self).GetState(document); });
  };
  record.IsChecked = [](void* self, HostDocument* document) noexcept {
    return GuardedTruth([&] { return Self(self).IsChecked(document); });
  };
  record.RestoreLayout = [](void* self, void* secondary) noexcept {
    return GuardedTruth([&] { return Self(self).RestoreLayout(secondary); });
  };
  record.GetName = [](void* self, HostString* name) noexcept {
    GuardedVoid([&] { Self(self).GetName(name); });
  };
  record.Notify = [](void* self, int32_t event) noexcept {
    return GuardedTruth([&] { return Self(self).Notify(event); });
  };
  return record;
}

}  // namespace

bool RegisterCommand(int32_t id, const String& name, int32_t flags, const void* icon, const String& help,
                     CommandData* command) {
  if (command == nullptr) return false;
  std::unique_ptr<CommandData> owned(command);
  const HostCommandRecord record = DescribeCommand(command, flags, icon, help);
  if (Host().registration.RegisterPlugin(HOST_PLUGIN_COMMAND, id, name.Get(), &record, sizeof(record)) == 0)
    return false;
  static_cast<void>(owned.release());
  return true;
}

}  // namespace vesta
