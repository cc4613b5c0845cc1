// A menu command that crashes the host on purpose, so that its crash handling can be tried.
#pragma once

#include "vesta.framework/command.h"

namespace outfitter {

class CrashObjectDialogCommand : public vesta::CommandData {
 public:
  /// Writes to address zero, with or without a document.
  bool Execute(HostDocument* document) override;
};

/// False when the host does not take the command.
bool RegisterCrashTest();

}  // namespace outfitter
