#include "core.framework/source/ostrak/configuration.h"

namespace ostrak {
namespace {

// Ready before any static registration runs, whatever their order.
constinit ConfigurationRegistry g_registry;

}  // namespace

ConfigurationRegistry& ConfigurationRegistry::Get() { return g_registry; }

bool ConfigurationRegistry::Append(const ConfigurationEntry& entry) {
  if (count_ >= kCapacity) return false;
  entries_[static_cast<std::size_t>(count_++)] = entry;
  return true;
}

bool RegisterConfigurationValue(const char* name, bool* storage, bool defaultValue, uint32_t type,
                                const char* help) {
  if (!ConfigurationRegistry::Get().Append({name, help, type, storage, 0})) *storage = defaultValue;
  return defaultValue;
}

}  // namespace ostrak
