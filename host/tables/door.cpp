#include "host/tables/door.h"

namespace host {
namespace {

HostServices* g_services = nullptr;

}  // namespace

HostServices& services() { return *g_services; }

void setServices(HostServices* hostServices) { g_services = hostServices; }

void reportSlotFailure(const char* slot, const char* reason) noexcept {
  try {
    services().console.printError(std::string(slot) + ": " + reason);
  } catch (...) {
    // Nobody is left to be told.
  }
}

}  // namespace host
