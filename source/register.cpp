#include "register.h"

#include "crash/crashobject.h"
#include "localize/localize.h"
#include "lumicheck/Lumicheck.h"
#include "makedistri/translatorlocator.h"

namespace outfitter {
namespace {

struct Registration {
  bool (*run)();
  bool required;  ///< its failure ends the start
};

constexpr Registration kRegistrations[] = {
    {RegisterCrashTest, true},
    {RegisterTranslatorLocator, false},
    {RegisterScriptStrings, false},
    {RegisterLumicheck, true},
};

}  // namespace

bool RegisterCommands() {
  for (const Registration& registration : kRegistrations) {
    if (!registration.run() && registration.required) return false;
  }
  return true;
}

}  // namespace outfitter
