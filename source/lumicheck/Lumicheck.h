// Lumicheck, the render-regression tester: renders every scene below a folder, and compares the pictures and
// times with those of an earlier run.
#pragma once

#include "vesta.framework/contract/command_ids.h"
#include "vesta.framework/filename.h"
#include "vesta.framework/module_global.h"
#include "vesta.framework/thread.h"

namespace outfitter {

/// The command's id; also the key of its stored settings and of the core message that a scene has started.
inline constexpr int32_t kLumicheckId = HOST_COMMAND_LUMICHECK;
/// The core message that a run has ended.
inline constexpr int32_t kLumicheckRunEnded = 1001199;

/// The most scenes of one run; further ones are dropped.
inline constexpr int32_t kLumicheckMaxScenes = 100000;

enum LumicheckStatus : int32_t {
  kScenePending = 0,
  kSceneOk = 1,
  kSceneError = 2,
  kSceneCreated = 3,
  kSceneSkipped = 4
};

/// One scene file of a run. Filled with zeros it is a scene without a name that was never looked at.
struct LumicheckScene {
  vesta::FileName path{nullptr};  ///< full path of the scene file
  double timeReference = 0;       ///< seconds, from the reference's table; 0: none
  double timeNew = 0;             ///< seconds, cut to whole hundredths
  double diff = 0;                ///< mean absolute difference of the pictures, 0 to 1
  int32_t status = kScenePending;
};

// Options of the settings dialog. Zero when the module is loaded; they keep their values from run to run.
extern int32_t g_lumicheckContinue;     ///< go on with a reference build that was interrupted
extern int32_t g_lumicheckUseHivecast;  ///< render through the host's network rendering
extern int32_t g_lumicheckOverride;     ///< 0 none, 1 to 3 the physical renderer and its ray tracing build

// State of the run that goes on, shared by the driver, the worker, the table and the progress dialog.
extern int32_t g_lumicheckBuildReference;  ///< 1 building a reference, 0 comparing with one
extern int32_t g_lumicheckSceneCount;      ///< used records of the table
extern LumicheckScene*
    g_lumicheckScenes;  ///< kLumicheckMaxScenes records, from the start of a run to its end
extern vesta::ModuleGlobal<vesta::FileName> g_lumicheckResultDir;
extern vesta::ModuleGlobal<vesta::FileName> g_lumicheckResultFile;
extern vesta::ModuleGlobal<vesta::FileName> g_lumicheckReferenceDir;
/// The progress text. Under the host's global lock while a worker runs.
extern vesta::ModuleGlobal<vesta::String> g_lumicheckStatusLine;

void MakeLumicheckGlobals();
void ReleaseLumicheckGlobals();

/// Registers the menu command.
bool RegisterLumicheck();

/// One whole run. Answers 0 when the reference is outdated, 1 when the result folder could not be made, and
/// otherwise whether the worker could be started. Thread: main.
int32_t RunLumicheck(const vesta::FileName& scenePath, const vesta::FileName& referencePath, int32_t openGl);

/// Appends every scene file below `folder` to the table of the run, in the order of the host's listing. False
/// when the host ran out of memory: a table that lacks a scene would shift every row behind it.
bool CollectScenes(const vesta::FileName& folder);

/// Writes the whole result table of the run. What cannot be written is told in a message box.
void WriteLumicheckResult(const vesta::FileName& name);

/// Reads the render times of a reference into the table of the run, row by row. False when the file cannot
/// be read or has more rows than the run has scenes.
bool ReadLumicheckResult(const vesta::FileName& name);

/// Forgets the formatted rows of the run before.
void ForgetLumicheckRows();

/// Works through the scenes of a run: load, render, save, compare, table.
class PreviewThread : public vesta::VestaThread {
 public:
  explicit PreviewThread(int32_t openGl) : openGl_(openGl) {}
  void Main() override;
  const char* GetThreadName() override { return "Lumicheck Thread"; }

 private:
  enum class Outcome { NotLoaded, Done, EndRun };

  void Announce(int32_t index, bool missing);
  /// One scene from its announcement to its row in the table. False ends the run.
  bool ProcessScene(int32_t index);
  Outcome WorkOn(LumicheckScene& scene, const vesta::String& number, bool compare);
  void EndRun(int32_t handled);

  vesta::String line_;
  int32_t openGl_;
};

}  // namespace outfitter
