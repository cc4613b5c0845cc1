#include "vesta_ostrak.framework/core_services.h"

#include "core.framework/source/ostrak/configuration.h"
#include "vesta.framework/host_access.h"

namespace vesta {
namespace {

/// The registry's entries as the contract shows them; lent to the host until the last detach.
HostConfigurationEntry g_declared[ostrak::ConfigurationRegistry::kCapacity];
/// What the values were before the host wrote them.
bool g_defaults[ostrak::ConfigurationRegistry::kCapacity];

}  // namespace

void StartCoreServices() {
  const auto& registry = ostrak::ConfigurationRegistry::Get();
  for (int32_t i = 0; i < registry.count(); ++i) {
    const ostrak::ConfigurationEntry& entry = registry.entry(i);
    g_declared[i] = {entry.name, entry.help, entry.type, entry.storage, entry.state};
    g_defaults[i] = *static_cast<bool*>(entry.storage);
  }
  Host().registration.ConfigurationDeclare(g_declared, registry.count());
}

void StopCoreServices() {
  const auto& registry = ostrak::ConfigurationRegistry::Get();
  for (int32_t i = 0; i < registry.count(); ++i)
    *static_cast<bool*>(registry.entry(i).storage) = g_defaults[i];
}

}  // namespace vesta
