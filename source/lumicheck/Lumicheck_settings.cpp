#include "lumicheck/Lumicheck_settings.h"

#include <new>

#include "lumicheck/Lumicheck.h"

namespace outfitter {

using namespace vesta;

namespace {

enum Gadget : int32_t {
  kSceneGadget = 1000,
  kReferenceGadget = 1001,
  kContinueGadget = 1002,
  kHivecastGadget = 1003,
  kOverrideGadget = 1004,
  kOpenGlGadget = 1005
};

enum StoredSetting : int32_t {
  kStoredScenePath = 1,
  kStoredReferencePath = 2,
  kStoredSetting3 = 3,
  kStoredSetting4 = 4,
  kStoredOpenGl = 5
};

constexpr int32_t kPathWidth = 800;

}  // namespace

bool LumicheckSettingsDialog::CreateLayout() {
  return AddPaths() && AddOptions() && AddOverride() && AddButtonGroup(HOST_BUTTON_OK | HOST_BUTTON_CANCEL);
}

bool LumicheckSettingsDialog::AddPaths() {
  Container selectsFolder;
  selectsFolder.SetBool(HOST_FILENAME_SELECTS_FOLDER, true);
  const auto addPath = [&](int32_t id, const char* label) {
    AddStaticText(0, 0, 0, label);
    return AddCustomGadget(id, HOST_GADGET_FILENAME, HOST_GADGET_FILL_WIDTH, kPathWidth, selectsFolder);
  };
  GroupBegin(0, HOST_GADGET_FILL_WIDTH, 2);
  sceneGadget_ = addPath(kSceneGadget, "Scene Path");
  referenceGadget_ = addPath(kReferenceGadget, "Reference Path");
  return GroupEnd();
}

bool LumicheckSettingsDialog::AddOptions() {
  GroupBegin(0, 0, 1);
  continueGadget_ =
      AddCheckBox(kContinueGadget, HOST_GADGET_DISABLED, "Continue interrupted reference build");
  AddCheckBox(kHivecastGadget, 0, "Use Hivecast");
  AddCheckBox(kOpenGlGadget, 0, "OpenGL Rendering");
  return GroupEnd();
}

bool LumicheckSettingsDialog::AddOverride() {
  constexpr const char* kEntries[] = {"None", "Physical - Standard", "Physical - Embree Faster",
                                      "Physical - Embree Smaller"};
  GroupBegin(0, 0, 2);
  AddStaticText(0, 0, 0, "Override");
  AddComboBox(kOverrideGadget, 0);
  for (int32_t i = 0; i < 4; ++i) AddComboEntry(kOverrideGadget, i, kEntries[i]);
  return GroupEnd();
}

bool LumicheckSettingsDialog::InitValues() {
  SetGadgetFileName(sceneGadget_, scenePath);
  SetGadgetFileName(referenceGadget_, referencePath);
  UpdateContinueEnabling();
  return true;
}

bool LumicheckSettingsDialog::Command(int32_t id, const MessageView& message) {
  switch (id) {
    case kSceneGadget:
      scenePath = GetGadgetFileName(sceneGadget_);
      break;
    case kReferenceGadget:
      referencePath = GetGadgetFileName(referenceGadget_);
      break;
    case kContinueGadget:
      if (continueGadget_ != nullptr) GetValue(kContinueGadget, g_lumicheckContinue);
      break;
    case kHivecastGadget:
      GetValue(kHivecastGadget, g_lumicheckUseHivecast);
      break;
    case kOverrideGadget:
      GetValue(kOverrideGadget, g_lumicheckOverride);
      break;
    case kOpenGlGadget:
      GetValue(kOpenGlGadget, openGl);
      break;
    default:
      break;
  }
  if (id >= kSceneGadget && id <= kHivecastGadget) UpdateContinueEnabling();
  return GeModalDialog::Command(id, message);
}

void LumicheckSettingsDialog::UpdateContinueEnabling() {
  EnableGadget(continueGadget_, !scenePath.IsEmpty() && !referencePath.IsEmpty());
}

bool LumicheckData::Execute(HostDocument*) {
  LumicheckSettingsDialog dialog;
  Container settings = Container::StoredSettings(kLumicheckId);
  dialog.scenePath = settings.GetFileName(kStoredScenePath);
  dialog.referencePath = settings.GetFileName(kStoredReferencePath);
  if (!dialog.Open(kLumicheckId)) return true;

  settings.SetFileName(kStoredScenePath, dialog.scenePath);
  settings.SetFileName(kStoredReferencePath, dialog.referencePath);
  settings.SetBool(kStoredSetting3, dialog.setting3 != 0);
  settings.SetInt32(kStoredSetting4, dialog.setting4);
  settings.SetInt32(kStoredOpenGl, dialog.openGl);
  settings.Store(kLumicheckId);

  if (!dialog.scenePath.IsEmpty()) RunLumicheck(dialog.scenePath, dialog.referencePath, dialog.openGl);
  return true;
}

bool RegisterLumicheck() {
  return RegisterCommand(kLumicheckId, "Lumicheck", 0, nullptr, "", new (std::nothrow) LumicheckData);
}

}  // namespace outfitter
