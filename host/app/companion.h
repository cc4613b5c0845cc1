#pragma once
// Commands of the program whose code stands in rooms of their own beside the host. The program knows them by
// their registration only.

#include <CLI/CLI.hpp>
#include <vector>

#include "host/services/host_services.h"

namespace host {

/// One such command; a static object that lives as long as the program.
class Companion {
 public:
  Companion() { all().push_back(this); }
  Companion(const Companion&) = delete;
  Companion& operator=(const Companion&) = delete;
  virtual ~Companion() = default;

  /// Adds the command to the program's and answers it. Options are bound to the object.
  virtual CLI::App* describe(CLI::App& program) = 0;
  /// Does the work. Answers the exit status. Thread: main.
  virtual int run(HostServices& services) = 0;

  static std::vector<Companion*>& all() {
    static std::vector<Companion*> companions;
    return companions;
  }
};

}  // namespace host
