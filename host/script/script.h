#pragma once
// One script as the host keeps it.

#include <string>

#include "host/services/values.h"

namespace host {

enum class ScriptKind { User = 0, Shipped = 1 };

struct Script {
  std::string name;  ///< UTF-8, the stem of its file
  ScriptKind kind = ScriptKind::User;
  std::string file;              ///< where it was read from
  std::string source;            ///< BRAMBLE
  std::string compiled;          ///< what a compiled file of the source holds
  Container data;                ///< a container for each language
  const Script* next = nullptr;  ///< the script behind it in its list
};

}  // namespace host
