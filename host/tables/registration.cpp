// Plug-in registration and configuration.
#include <cstring>

#include "host/services/text.h"
#include "host/tables/areas.h"
#include "host/tables/door.h"
#include "host/tables/handles.h"

namespace host {
namespace {

/// A command of a module, reached through its record.
class ModuleCommand : public Command {
 public:
  explicit ModuleCommand(const HostCommandRecord& record) : record_(record) {}
  ~ModuleCommand() override {
    if (accepted) record_.Release(record_.self);
  }
  bool execute() override { return record_.Execute(record_.self, nullptr) != 0; }
  bool isEnabled() override { return (record_.GetState(record_.self, nullptr) & HOST_COMMAND_ENABLED) != 0; }

  bool accepted = false;  ///< from then on the module's object is the host's

 private:
  HostCommandRecord record_;
};

bool isComplete(const HostCommandRecord& record) {
  return record.self != nullptr && record.Release != nullptr && record.Execute != nullptr &&
         record.GetState != nullptr;
}

HostBool RegisterPlugin(int32_t kind, int32_t id, const HostString* name, const void* record,
                        int32_t recordSize) {
  if (kind != HOST_PLUGIN_COMMAND || recordSize < HOST_COMMAND_RECORD_SIZE) return 0;
  HostCommandRecord given;
  std::memcpy(&given, record, sizeof(given));
  if (!isComplete(given)) return 0;
  auto owned = std::make_unique<ModuleCommand>(given);
  owned->id = id;
  owned->name = toUtf8(name->text);
  if (given.help != nullptr) owned->help = toUtf8(given.help->text);
  ModuleCommand* command = owned.get();
  std::unique_ptr<Command> registered = std::move(owned);
  if (!services().commands.add(registered)) return 0;
  command->accepted = true;
  return 1;
}

HostBool ConfigurationDeclare(const HostConfigurationEntry* entries, int32_t count) {
  for (int32_t i = 0; i < count; ++i) {
    const HostConfigurationEntry& entry = entries[i];
    const bool isSwitch =
        entry.type == HOST_CONFIGURATION_SWITCH || entry.type == HOST_CONFIGURATION_TOOLS_SWITCH;
    if (!isSwitch || entry.name == nullptr || entry.storage == nullptr) continue;
    services().configuration.declareSwitch(entry.name, entry.help != nullptr ? entry.help : "",
                                           static_cast<unsigned char*>(entry.storage));
  }
  return 1;
}

}  // namespace

const HostRegistrationTable& registrationTable() {
#include "vesta.framework/contract/tagged_words.h"
#define HOST_SLOT VESTA_DOOR
  static constexpr HostRegistrationTable kTable = {
      sizeof(HostRegistrationTable),
#include "vesta.framework/contract/registration_slots.inc"
  };
#undef HOST_SLOT
#include "vesta.framework/contract/no_words.h"
  return kTable;
}

}  // namespace host
