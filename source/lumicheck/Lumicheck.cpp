// The driver of a Lumicheck run: mode, result folder, scene table, worker and progress dialog.
#include "lumicheck/Lumicheck.h"

#include <memory>
#include <vector>

#include "vesta.framework/dialog.h"
#include "vesta.framework/file.h"
#include "vesta.framework/memory.h"
#include "vesta.framework/messages.h"
#include "vesta.framework/sort.h"
#include "vesta.framework/system.h"

namespace outfitter {

using namespace vesta;

int32_t g_lumicheckContinue = 0;
int32_t g_lumicheckUseHivecast = 0;
int32_t g_lumicheckOverride = 0;
int32_t g_lumicheckBuildReference = 0;
int32_t g_lumicheckSceneCount = 0;
LumicheckScene* g_lumicheckScenes = nullptr;
constinit ModuleGlobal<FileName> g_lumicheckResultDir;
constinit ModuleGlobal<FileName> g_lumicheckResultFile;
constinit ModuleGlobal<FileName> g_lumicheckReferenceDir;
constinit ModuleGlobal<String> g_lumicheckStatusLine;

void MakeLumicheckGlobals() {
  g_lumicheckResultDir.Make();
  g_lumicheckResultFile.Make();
  g_lumicheckReferenceDir.Make();
  g_lumicheckStatusLine.Make();
}

void ReleaseLumicheckGlobals() {
  g_lumicheckStatusLine.Release();
  g_lumicheckReferenceDir.Release();
  g_lumicheckResultFile.Release();
  g_lumicheckResultDir.Release();
}

namespace {

constexpr int32_t kProgressText = 5000;
constexpr int32_t kProgressWidth = 800;
constexpr const char* kNotEnoughMemory = "Lumicheck: not enough memory";

/// Shows how far the run is, on the main thread, while the worker runs on its own.
class ZDialog : public GeDialog {
 public:
  bool CreateLayout() override {
    SetTitle(g_lumicheckBuildReference != 0 || g_lumicheckContinue != 0
                 ? "Lumicheck - building comparison base"
                 : "Lumicheck - comparing files");
    GroupBegin(0, HOST_GADGET_FILL_WIDTH, 1);
    AddStaticText(kProgressText, HOST_GADGET_FILL_WIDTH, kProgressWidth, "");
    GroupEnd();
    return AddButtonGroup(HOST_BUTTON_CANCEL);
  }

  bool CoreMessage(const MessageView& message, ContainerView& result) override {
    const int32_t id = message.GetId() == HOST_DIALOG_CORE ? message.GetInt32(HOST_MESSAGE_ID) : 0;
    if (id == kLumicheckId) {
      const GlobalThreadLock lock;
      return SetText(kProgressText, *g_lumicheckStatusLine);
    }
    if (id == kLumicheckRunEnded) {
      Close(true);
      const GlobalThreadLock lock;
      return ShowMessage(*g_lumicheckStatusLine);
    }
    return GeDialog::CoreMessage(message, result);
  }
};

/// The table of a run: its records live as long as this object.
class SceneTable {
 public:
  SceneTable() : block_(kLumicheckMaxScenes) {
    g_lumicheckSceneCount = 0;
    g_lumicheckScenes = block_.Get();
    if (g_lumicheckScenes != nullptr)
      std::uninitialized_default_construct_n(g_lumicheckScenes, kLumicheckMaxScenes);
    ForgetLumicheckRows();
  }
  SceneTable(const SceneTable&) = delete;
  SceneTable& operator=(const SceneTable&) = delete;
  ~SceneTable() {
    if (g_lumicheckScenes != nullptr) std::destroy_n(g_lumicheckScenes, kLumicheckMaxScenes);
    g_lumicheckScenes = nullptr;
    ForgetLumicheckRows();
  }
  explicit operator bool() const { return static_cast<bool>(block_); }

 private:
  HostArray<LumicheckScene> block_;
};

/// The first numbered folder in the scene folder that does not exist yet; made. False when it cannot be.
bool CreateResultDir(const FileName& scenePath, FileName& folder) {
  const String stem = String("_lumicheck_") + String::FromReal(GetHostVersion() / 1000.0, 0, 3) + "_";
  for (int32_t counter = 1; counter < INT32_MAX; ++counter) {
    folder = scenePath.Join(stem + String::FromInt(counter));
    if (FolderExists(folder) || FileExists(folder)) continue;
    if (CreateFolder(folder)) return true;
    // Another run may just have taken the name.
    if (!FolderExists(folder)) return false;
  }
  return false;
}

/// Sorts the table by path. Reference and comparing run match rows by position, so both sort alike.
void SortScenes() {
  const auto count = static_cast<size_t>(g_lumicheckSceneCount);
  std::vector<String> keys;
  keys.reserve(count);
  for (size_t i = 0; i < count; ++i) keys.push_back(g_lumicheckScenes[i].path.GetString());
  const auto order = SortedOrder(static_cast<uint32_t>(count),
                                 [&](uint32_t a, uint32_t b) { return keys[a].Compare(keys[b]) < 0; });

  std::vector<FileName> paths;
  paths.reserve(count);
  for (const uint32_t i : order) paths.push_back(std::move(g_lumicheckScenes[i].path));
  for (size_t i = 0; i < count; ++i) g_lumicheckScenes[i].path = std::move(paths[i]);
}

/// Decides between building and comparing; in comparing mode reads the reference's times.
bool ChooseMode(const FileName& referencePath) {
  g_lumicheckBuildReference = FolderExists(referencePath) ? 0 : 1;
  return g_lumicheckBuildReference != 0 || ReadLumicheckResult(referencePath.Join("_result.txt"));
}

int32_t RunWorker(int32_t openGl) {
  PreviewThread worker(openGl);
  if (!HasUserInterface()) {
    worker.Main();
    return 1;
  }
  const bool started = worker.Start();
  if (started) {
    ZDialog dialog;
    dialog.Open(HOST_DIALOG_MODAL, kLumicheckId);
    worker.End();
  }
  return started ? 1 : 0;
}

}  // namespace

int32_t RunLumicheck(const FileName& scenePath, const FileName& referencePath, int32_t openGl) {
  if (g_lumicheckScenes != nullptr) {
    PrintConsole("Lumicheck: a run goes on already");
    return 0;
  }
  g_lumicheckBuildReference = 0;
  const SceneTable table;
  if (!table) {
    ShowMessage(kNotEnoughMemory);
    return 0;
  }

  const bool fellBack = !referencePath.IsEmpty() && !FolderExists(referencePath);
  if (fellBack) ShowMessage("Reference folder not found - falling back to reference building mode...");

  FileName resultDir = referencePath;
  const bool resumes = g_lumicheckContinue != 0 && !fellBack;
  if (!resumes && !CreateResultDir(scenePath, resultDir)) {
    ShowMessage("Error creating resultdir");
    return 1;
  }
  PrintConsole(String("start lumicheck to: ") + resultDir.GetString());

  if (!CollectScenes(scenePath)) {
    ShowMessage(kNotEnoughMemory);
    return 0;
  }
  if (g_lumicheckSceneCount > 1) SortScenes();

  *g_lumicheckResultDir = resultDir;
  *g_lumicheckResultFile = resultDir.Join("_result.txt");
  *g_lumicheckStatusLine = String();
  *g_lumicheckReferenceDir = referencePath;
  if (!ChooseMode(referencePath)) {
    ShowMessage("Outdated reference");
    return 0;
  }
  return RunWorker(openGl);
}

bool CollectScenes(const FileName& folder) {
  const String suffix("vesta");
  FileName name;
  Browse entries(folder);
  if (suffix.IsEmpty() || name.Get() == nullptr || !entries) return false;
  while (g_lumicheckSceneCount < kLumicheckMaxScenes && entries.Next()) {
    if (!entries.GetName(name)) return false;
    if (entries.IsFolder()) {
      if (!CollectScenes(folder.Join(name))) return false;
    } else if (name.HasSuffix(suffix)) {
      FileName path = folder.Join(name);
      if (path.IsEmpty()) return false;
      g_lumicheckScenes[g_lumicheckSceneCount++].path = std::move(path);
    }
  }
  return true;
}

}  // namespace outfitter
