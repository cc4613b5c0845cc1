// The worker of a Lumicheck run: what happens to one scene after the other.
#include <cmath>

#include "lumicheck/Lumicheck.h"
#include "lumicheck/Lumicheck_compare.h"
#include "vesta.framework/document.h"
#include "vesta.framework/memory.h"
#include "vesta.framework/messages.h"

namespace outfitter {

using namespace vesta;

namespace {

// Render settings by the host's numbers.
enum RenderSetting : int32_t {
  kRenderer = 5300,
  kWidth = 5008,
  kHeight = 5009,
  kSaveFormat = 5033,
  kPhysicalOption = 6023,
  kWarmUpOff = 5401,
  kWarmUpOn = 7011
};
constexpr int32_t kOpenGlRenderer = 300001061;
constexpr int32_t kPhysicalRenderer = 1023342;
constexpr int32_t kReplacedRenderer = 1016630;
constexpr int32_t kFlaggedPost = 1001015;
constexpr int32_t kFlaggedPostBit = 4;
constexpr int32_t kPhysicalBuild = 4000;
constexpr int32_t kPhysicalMode = 3100;

constexpr int32_t kWarmUpSize = 16;
constexpr int32_t kLoadFlags = HOST_LOAD_OBJECTS | HOST_LOAD_MATERIALS;

void ChooseRenderer(const Document& document, bool openGl) {
  ContainerView settings = document.GetRenderSettings();
  if (openGl) {
    settings.SetInt32(kRenderer, kOpenGlRenderer);
    return;
  }
  if (g_lumicheckOverride == 0) return;
  settings.SetInt32(kRenderer, kPhysicalRenderer);
  settings.SetInt32(kPhysicalOption, 1);
  const VideoPost physical = document.FindVideoPost(kPhysicalRenderer);
  if (!physical) {
    PrintConsole("Could not create physical VP");
    return;
  }
  physical.GetParameters().SetInt32(kPhysicalBuild, g_lumicheckOverride - 1);
}

void AdjustVideoPosts(const Document& document) {
  VideoPost flagged = document.FindVideoPost(kFlaggedPost);
  if (flagged) flagged.SetFlags(flagged.GetFlags() | kFlaggedPostBit);
  const VideoPost physical = document.FindVideoPost(kPhysicalRenderer);
  if (!physical) return;
  ContainerView parameters = physical.GetParameters();
  if (parameters.GetInt32(kPhysicalMode) == 2) parameters.SetInt32(kPhysicalMode, 1);
}

/// A copy of the active render settings with what every run forces: one frame, nothing saved or shown by the
/// host itself, and whole pixels.
Container ForcedSettings(const Document& document) {
  AdjustVideoPosts(document);
  Container settings = Container::CopyOf(document.GetRenderSettings());
  settings.SetInt32(kWidth, settings.GetInt32(kWidth));
  settings.SetInt32(kHeight, settings.GetInt32(kHeight));
  settings.SetInt32(5016, 1);
  settings.SetInt32(5035, 0);
  settings.SetBool(5076, false);
  settings.SetBool(6014, false);
  settings.SetBool(5036, false);
  settings.SetInt32(5077, 0);
  settings.SetInt32(kSaveFormat, HOST_FORMAT_TIFF);
  settings.SetBool(5202, false);
  settings.SetBool(5024, false);
  if (settings.GetInt32(kRenderer) == kReplacedRenderer) settings.SetInt32(kRenderer, 0);
  return settings;
}

/// A tiny render, so that what is loaded at the first use does not count as render time. False when there is
/// no bitmap for it.
bool WarmUp(const Document& document, HostThread* thread) {
  Container settings = ForcedSettings(document);
  settings.SetInt32(kWidth, kWarmUpSize);
  settings.SetInt32(kHeight, kWarmUpSize);
  settings.SetBool(kWarmUpOff, false);
  settings.SetBool(kWarmUpOn, true);
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
  while (index < g_lumicheckSceneCount && !TestBreak() && ProcessScene(index) == Outcome::GoOn) ++index;
  EndRun(index);
}

PreviewThread::Outcome PreviewThread::ProcessScene(int32_t index) {
  LumicheckScene& scene = g_lumicheckScenes[index];
  const String number = SceneNumber(index);
  const bool missing = g_lumicheckContinue != 0 && !StandsInReference(number);
  if (g_lumicheckContinue != 0 && !missing) scene.status = kSceneSkipped;
  Announce(index, missing);
  if (scene.status == kSceneSkipped) return Outcome::GoOn;
  return WorkOn(scene, number, g_lumicheckBuildReference == 0 && !missing);
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
  if (!document) return Outcome::GoOn;
  ChooseRenderer(document, openGl_ != 0);
  if (!WarmUp(document, Get())) return Outcome::EndRun;

  const Container settings = ForcedSettings(document);
  Bitmap bitmap;
  const Size size = {settings.GetInt32(kWidth), settings.GetInt32(kHeight)};
  if (!bitmap.Init(size.width, size.height)) return Outcome::EndRun;
  if (compare && !StandsInReference(number)) return Outcome::EndRun;

  const int32_t flags = HOST_RENDER_EXTERNAL | (g_lumicheckUseHivecast != 0 ? HOST_RENDER_NETWORK : 0);
  const int64_t start = Host().system.GetTimer();
  const bool rendered = document.Render(settings, bitmap, flags, Get());
  const int64_t end = Host().system.GetTimer();
  if (rendered) {
    scene.timeNew = WholeHundredths(end - start);
    if (!bitmap.SaveTiff(g_lumicheckResultDir->Join(number + ".tif"))) return Outcome::EndRun;
    scene.status = compare ? kSceneOk : kSceneCreated;
    if (compare && !CompareWithReference(scene, bitmap, size, number)) return Outcome::EndRun;
  }
  if (!TestBreak()) WriteLumicheckResult(*g_lumicheckResultFile);
  return Outcome::GoOn;
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
  SendCoreMessage(kLumicheckRunEnded);
}

}  // namespace outfitter
