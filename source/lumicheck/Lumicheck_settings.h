// The settings dialog of Lumicheck, and its menu command.
#pragma once

#include "vesta.framework/command.h"
#include "vesta.framework/dialog.h"

namespace outfitter {

class LumicheckSettingsDialog : public vesta::GeModalDialog {
 public:
  bool CreateLayout() override;
  bool InitValues() override;
  bool Command(int32_t id, const vesta::MessageView& message) override;
  /// Going on needs a scene path and a reference path.
  virtual void UpdateContinueEnabling();

  vesta::FileName scenePath;
  vesta::FileName referencePath;
  int32_t openGl = 0;
  // Stored beside the others; nothing sets them yet.
  int32_t setting3 = 0;
  int32_t setting4 = 0;

 private:
  bool AddPaths();
  bool AddOptions();
  bool AddOverride();

  HostGadget* sceneGadget_ = nullptr;
  HostGadget* referenceGadget_ = nullptr;
  HostGadget* continueGadget_ = nullptr;
};

class LumicheckData : public vesta::CommandData {
 public:
  bool Execute(HostDocument* document) override;
};

}  // namespace outfitter
