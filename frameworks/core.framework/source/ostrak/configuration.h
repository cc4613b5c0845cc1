// The registry of configuration values: name, help, type and storage; the host changes the values.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace ostrak {

/// One configuration value. Texts are constants.
struct ConfigurationEntry {
  const char* name;
  const char* help;
  uint32_t type;
  void* storage;   ///< one byte, 0 or 1
  uint32_t state;  ///< 0 at registration
};

/// A fixed table, filled by static registrations while the module is loaded, read afterwards.
class ConfigurationRegistry {
 public:
  static constexpr int32_t kCapacity = 256;

  /// The module's registry.
  static ConfigurationRegistry& Get();

  /// False, and nothing is kept, when the table is full.
  bool Append(const ConfigurationEntry& entry);
  int32_t count() const { return count_; }
  const ConfigurationEntry& entry(int32_t index) const { return entries_[static_cast<std::size_t>(index)]; }

 private:
  std::array<ConfigurationEntry, kCapacity> entries_{};
  int32_t count_ = 0;
};

/// Registers a switch; answers `defaultValue`, which the caller stores as the first content. With the table
/// full the default is written straight into `storage`.
bool RegisterConfigurationValue(const char* name, bool* storage, bool defaultValue, uint32_t type,
                                const char* help);

}  // namespace ostrak
