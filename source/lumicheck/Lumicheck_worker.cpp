// The worker of a Lumicheck run: what happens to one scene after the other.
#include <cmath>

#include "lumicheck/Lumicheck.h"
#include "lumicheck/Lumicheck_compare.h"
#include "vesta.framework/document.h"
#include "vesta.framework/memory.h"
#include "vesta.framework/messages.h"
#include "vesta.framework/system.h"

namespace outfitter {

using namespace vesta;

namespace {

// What the host does with these is its own business; a run forces them all the same, so that two runs of one
// host are alike.
struct ForcedInteger {
  int32_t id;
  int32_t value;
};
constexpr ForcedInteger kForcedIntegers[] = {
    {5016, 1}, {5035, 0}, {5077, 0}, {HOST_RENDER_SETTING_SAVE_FORMAT, HOST_FORMAT_TIFF}};
constexpr int32_t kForcedOff[] = {5076, 6014, 5036, 5202, 5024};

constexpr int32_t kWarmUpSize = 16;
constexpr int32_t kLoadFlags = HOST_LOAD_OBJECTS | HOST_LOAD_MATERIALS;

void ChooseRenderer(const Document& document, bool openGl) {
  ContainerView settings = document.GetRenderSettings();
  if (openGl) {
    settings.SetInt32(HOST_RENDER_SETTING_RENDERER, HOST_RENDERER_OPENGL);
    return;
  }
  if (g_lumicheckOverride == 0) return;
  settings.SetInt32(HOST_RENDER_SETTING_RENDERER, HOST_RENDERER_PHYSICAL);
  settings.SetInt32(HOST_RENDER_SETTING_OVERRIDDEN, 1);
  const VideoPost physical = document.FindVideoPost(HOST_RENDERER_PHYSICAL);
  if (!physical) {
    PrintConsole("Could not create physical VP");
    return;
  }
  physical.GetParameters().SetInt32(HOST_PHYSICAL_KERNEL_BUILD, g_lumicheckOverride - 1);
}

void AdjustVideoPosts(const Document& document) {
  VideoPost flagged = document.FindVideoPost(HOST_VIDEO_POST_FLAGGED);
  if (flagged) flagged.SetFlags(flagged.GetFlags() | HOST_VIDEO_POST_FLAG);
  const VideoPost physical = document.FindVideoPost(HOST_RENDERER_PHYSICAL);
  if (!physical) return;
  ContainerView parameters = physical.GetParameters();
  if (parameters.GetInt32(HOST_PHYSICAL_MODE) == 2) parameters.SetInt32(HOST_PHYSICAL_MODE, 1);
}

/// A copy of the active render settings with what every run forces: one frame, nothing saved or shown by the
/// host itself, and whole pixels.
Container ForcedSettings(const Document& document) {
  AdjustVideoPosts(document);
  Container settings = Container::CopyOf(document.GetRenderSettings());
  settings.SetInt32(HOST_RENDER_SETTING_WIDTH, settings.GetInt32(HOST_RENDER_SETTING_WIDTH));
  settings.SetInt32(HOST_RENDER_SETTING_HEIGHT, settings.GetInt32(HOST_RENDER_SETTING_HEIGHT));
  for (const ForcedInteger& forced : kForcedIntegers) settings.SetInt32(forced.id, forced.value);
  for (const int32_t id : kForcedOff) settings.SetBool(id, false);
  if (settings.GetInt32(HOST_RENDER_SETTING_RENDERER) == HOST_RENDERER_REPLACED) {
    settings.SetInt32(HOST_RENDER_SETTING_RENDERER, HOST_RENDERER_STANDARD);
  }
  return settings;
}

/// A tiny render, so that what is loaded at the first use does not count as render time. False when there is
/// no bitmap for it.
bool WarmUp(const Document& document, HostThread* thread) {
  Container settings = ForcedSettings(document);
  settings.SetInt32(HOST_RENDER_SETTING_WIDTH, kWarmUpSize);
  settings.SetInt32(HOST_RENDER_SETTING_HEIGHT, kWarmUpSize);
  settings.SetBool(HOST_RENDER_SETTING_ANTIALIASING, false);
  settings.SetBool(HOST_RENDER_SETTING_WARM_UP, true);
  Bitmap bitmap;
  if (!bitmap.Init(kWarmUpSize, kWarmUpSize)) return false;
  document.Render(settings, bitmap, HOST_RENDER_EXTERNAL, thread);
  return true;
}

/// Pixels.
struct Size {
  int32_t width;
  int32_t height;
};

/// Turns `reference` into the difference image row by row, so that memory does not grow with the height.
/// Both have `size`. False when a row could not be had.
bool Subtract(const Bitmap& current, Bitmap& reference, Size size, double& diff) {
  const int32_t rowBytes = 3 * size.width;
  const HostArray<uint8_t> buffer(2 * static_cast<uint64_t>(rowBytes));
  if (!buffer) return false;
  uint8_t* currentRow = buffer.Get();
  uint8_t* referenceRow = currentRow + rowBytes;
  uint32_t sum = 0;
  for (int32_t y = 0; y < size.height; ++y) {
    if (!current.GetLine(y, currentRow) || !reference.GetLine(y, referenceRow)) return false;
    sum += SubtractRow(currentRow, referenceRow, rowBytes);
    if (!reference.SetLine(y, referenceRow)) return false;
  }
  diff = MeanDifference(sum, size.width, size.height);
  return true;
}

/// The comparison of one scene. False ends the run; a difference image that cannot be saved does not.
bool CompareWithReference(LumicheckScene& scene, const Bitmap& current, Size size, const String& number) {
  scene.status = kSceneError;
  Bitmap reference;
  if (!reference.InitFromFile(g_lumicheckReferenceDir->Join(number + ".tif"))) return false;
  if (reference.GetWidth() != size.width || reference.GetHeight() != size.height) return false;
  scene.diff = 0;
  if (!Subtract(current, reference, size, scene.diff)) return false;
  if (reference.SaveTiff(g_lumicheckResultDir->Join(number + "d.tif"))) scene.status = kSceneOk;
  return true;
}

double WholeHundredths(int64_t milliseconds) {
  return std::floor(static_cast<double>(milliseconds) * 0.1) / 100;
}

String SceneNumber(int32_t index) { return String::FromReal(index + 1, 4, 0); }

bool StandsInReference(const String& number) {
  return FileExists(g_lumicheckReferenceDir->Join(number + ".tif"));
}

}  // namespace

void PreviewThread::Main() {
  int32_t index = 0;
  // Whatever happens, the run comes to its end and says so: a dialog waits for it.
  GuardedVoid([&] {
    while (index < g_lumicheckSceneCount && !TestBreak() && ProcessScene(index)) ++index;
  });
  GuardedVoid([&] { EndRun(index); });
  SendCoreMessage(kLumicheckRunEnded);
}

bool PreviewThread::ProcessScene(int32_t index) {
  LumicheckScene& scene = g_lumicheckScenes[index];
  const String number = SceneNumber(index);
  const bool missing = g_lumicheckContinue != 0 && !StandsInReference(number);
  if (g_lumicheckContinue != 0 && !missing) scene.status = kSceneSkipped;
  Announce(index, missing);
  if (scene.status == kSceneSkipped) return true;
  const Outcome outcome = WorkOn(scene, number, g_lumicheckBuildReference == 0 && !missing);
  if (outcome == Outcome::Done && !TestBreak()) WriteLumicheckResult(*g_lumicheckResultFile);
  return outcome != Outcome::EndRun;
}

void PreviewThread::Announce(int32_t index, bool missing) {
  const LumicheckScene& scene = g_lumicheckScenes[index];
  const int32_t count = g_lumicheckSceneCount;
  const auto percent = static_cast<int32_t>((index + 1) * int64_t{100} / count);
  StatusSetBar(percent);
  const char* verb = " Comparing file ";
  if (missing || g_lumicheckBuildReference != 0) {
    verb = " Processing file ";
  } else if (scene.status == kSceneSkipped) {
    verb = " Skipping file ";
  }
  line_ = String("[") + String::FromInt(index + 1) + "/" + String::FromInt(count) + " - " +
          String::FromInt(percent) + "%]" + verb + scene.path.GetString() + "...";
  {
    const GlobalThreadLock lock;
    *g_lumicheckStatusLine = line_;
    PrintConsole(line_);
  }
  SendCoreMessage(kLumicheckId);
  StatusSetText(line_);
}

PreviewThread::Outcome PreviewThread::WorkOn(LumicheckScene& scene, const String& number, bool compare) {
  scene.status = kSceneError;
  const Document document = Document::Load(scene.path, kLoadFlags);
  if (!document) return Outcome::NotLoaded;
  ChooseRenderer(document, openGl_ != 0);
  if (!WarmUp(document, Get())) return Outcome::EndRun;

  const Container settings = ForcedSettings(document);
  Bitmap bitmap;
  const Size size = {settings.GetInt32(HOST_RENDER_SETTING_WIDTH),
                     settings.GetInt32(HOST_RENDER_SETTING_HEIGHT)};
  if (!bitmap.Init(size.width, size.height)) return Outcome::EndRun;
  if (compare && !StandsInReference(number)) return Outcome::EndRun;

  const int32_t flags = HOST_RENDER_EXTERNAL | (g_lumicheckUseHivecast != 0 ? HOST_RENDER_NETWORK : 0);
  const int64_t start = GetTimer();
  const bool rendered = document.Render(settings, bitmap, flags, Get());
  const int64_t end = GetTimer();
  if (!rendered) return Outcome::Done;
  scene.timeNew = WholeHundredths(end - start);
  if (!bitmap.SaveTiff(g_lumicheckResultDir->Join(number + ".tif"))) return Outcome::EndRun;
  scene.status = compare ? kSceneOk : kSceneCreated;
  if (compare && !CompareWithReference(scene, bitmap, size, number)) return Outcome::EndRun;
  return Outcome::Done;
}

void PreviewThread::EndRun(int32_t handled) {
  StatusClear();
  {
    const GlobalThreadLock lock;
    if (handled == g_lumicheckSceneCount) {
      *g_lumicheckStatusLine = String("Lumicheck successful!");
    } else {
      LumicheckScene& scene = g_lumicheckScenes[handled];
      scene.status = kSceneError;
      *g_lumicheckStatusLine = String("An error occured|(Scene ") + scene.path.GetString() + ")";
    }
    WriteLumicheckResult(*g_lumicheckResultFile);
  }
}

}  // namespace outfitter
