// Documents, render settings, video posts, rendering.
#include <chrono>
#include <utility>

#include "host/tables/areas.h"
#include "host/tables/door.h"
#include "host/tables/handles.h"

namespace host {
namespace {

// The services speak of these numbers in words of their own.
static_assert(render_setting::kRenderer == HOST_RENDER_SETTING_RENDERER);
static_assert(render_setting::kWidth == HOST_RENDER_SETTING_WIDTH);
static_assert(render_setting::kHeight == HOST_RENDER_SETTING_HEIGHT);
static_assert(render_setting::kAntialiasing == HOST_RENDER_SETTING_ANTIALIASING);
static_assert(kPhysicalRendererId == HOST_RENDERER_PHYSICAL);
static_assert(static_cast<int32_t>(RendererId::Standard) == HOST_RENDERER_STANDARD);
static_assert(static_cast<int32_t>(RendererId::Preview) == HOST_RENDERER_PREVIEW);

using Clock = std::chrono::steady_clock;

double millisecondsSince(Clock::time_point start) {
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

void nameWhatIsLeftOut(const Document& document) {
  const std::string unsupported = describeUnsupported(document.sceneFile());
  if (!unsupported.empty()) services().console.print(document.file() + ": " + unsupported);
}

/// Network rendering comes later; until then the flag renders here.
void nameLocalRendering(int32_t flags) {
  static std::once_flag once;
  if ((flags & HOST_RENDER_NETWORK) == 0) return;
  std::call_once(
      once, [] { services().console.print("There is no network renderer yet: rendering on this machine."); });
}

HostDocument* LoadDocument(const HostFileName* name, int32_t) {
  const auto start = Clock::now();
  try {
    auto document = std::make_unique<HostDocument>(
        name->path, SceneOptions{services().outsideFiles != 0, interruptRequested});
    services().runLog.loaded(name->path, millisecondsSince(start));
    nameWhatIsLeftOut(document->document);
    return document.release();
  } catch (const SceneError& error) {
    services().runLog.loaded(name->path, millisecondsSince(start));
    services().runLog.failed(error.what());
    services().console.printError(name->path + ": " + error.what());
    return nullptr;
  }
}

void KillDocument(HostDocument* document) { delete document; }

HostRenderSettings* DocumentGetRenderSettings(HostDocument* document) {
  return handleOf(&document->document);
}

HostContainer* RenderSettingsGetContainer(HostRenderSettings* settings) {
  return handleOf(&behind(settings).renderSettings());
}

HostVideoPost* RenderSettingsFirstVideoPost(HostRenderSettings* settings) {
  auto& posts = behind(settings).videoPosts();
  return posts.empty() ? nullptr : handleOf(&posts.front());
}

HostVideoPost* VideoPostNext(HostVideoPost* post) {
  VideoPost* next = behind(post).next;
  return next != nullptr ? handleOf(next) : nullptr;
}

int32_t VideoPostGetType(const HostVideoPost* post) { return behind(post).type; }

int32_t VideoPostGetFlags(const HostVideoPost* post) { return behind(post).flags; }

HostBool VideoPostSetFlags(HostVideoPost* post, int32_t flags) {
  behind(post).flags = flags;
  return 1;
}

HostContainer* VideoPostGetContainer(HostVideoPost* post) { return handleOf(&behind(post).parameters); }

int32_t RenderDocument(HostDocument* document, const HostContainer* settings, HostBitmap* bitmap,
                       int32_t flags, HostThread* thread) {
  nameLocalRendering(flags);
  services().runLog.renderBegins();
  RenderRequest request;
  request.width = behind(settings).getInt32(render_setting::kWidth);
  request.height = behind(settings).getInt32(render_setting::kHeight);
  request.threads = services().renderThreads;
  request.progress = [](double part) { services().console.renderProgress(part); };
  request.stopped = [thread] {
    return thread != nullptr ? thread->worker.testBreak() : interruptRequested();
  };
  const auto fail = [&](const std::string& reason) {
    services().runLog.failed(reason);
    if (std::exchange(document->lastRenderFailure, reason) != reason) {
      services().console.printError(document->document.file() + ": " + reason);
    }
    return 1;
  };
  if (bitmap->bitmap.width() != request.width || bitmap->bitmap.height() != request.height) {
    return fail("the bitmap has not the size of the render");
  }
  try {
    const auto start = Clock::now();
    bitmap->bitmap.assign(document->renderer.render(behind(settings), std::move(request)));
    services().runLog.rendered(millisecondsSince(start));
    return 0;
  } catch (const RenderStopped&) {
    return 1;
  } catch (const std::exception& error) {
    return fail(error.what());
  }
}

}  // namespace

const HostDocumentsTable& documentsTable() {
#include "vesta.framework/contract/tagged_words.h"
#define HOST_SLOT VESTA_DOOR
  static constexpr HostDocumentsTable kTable = {
      sizeof(HostDocumentsTable),
#include "vesta.framework/contract/document_slots.inc"
  };
#undef HOST_SLOT
#include "vesta.framework/contract/no_words.h"
  return kTable;
}

}  // namespace host
