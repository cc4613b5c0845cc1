#pragma once
// The header of symbols that GUI scripts are compiled with.

#include <optional>
#include <string>

#include "host/services/console.h"

namespace host {

/// Remembers the symbol header of an application folder as it is before a distribution build: the build
/// compiles the GUI script first and writes the header then.
class SymbolHeader {
 public:
  explicit SymbolHeader(const std::string& appFolder);
  /// Says so if the GUI script was compiled with another header than there is now.
  void tellIfChanged(Console& console) const;

 private:
  std::optional<std::string> read() const;

  const std::string file_;
  const std::optional<std::string> before_;
};

}  // namespace host
