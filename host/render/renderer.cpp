#include "host/render/renderer.h"

#include <sys/prctl.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <thread>

#include "host/render/film.h"
#include "host/render/pixels.h"
#include "host/render/progress.h"
#include "host/services/signal_stack.h"

namespace host {
namespace {

constexpr int kTile = 16;  // pixels a side: enough work to hand out, little to wait for at the end

constexpr int kMaxThreads = 256;

class TileRun {
 public:
  TileRun(const RenderRequest& request, PixelColor color)
      : request_(request),
        color_(std::move(color)),
        across_((request.width + kTile - 1) / kTile),
        down_((request.height + kTile - 1) / kTile),
        film_(request) {}

  Image run() {
    const int processors = static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
    const int threads = request_.threads > 0 ? std::min(request_.threads, kMaxThreads) : processors;
    std::vector<std::future<void>> others;
    for (int i = 1; i < std::min(threads, across_ * down_); ++i) {
      try {
        others.push_back(std::async(std::launch::async, [this] { help(); }));
      } catch (const std::system_error&) {
        break;  // the system has no thread left: those that run share the tiles
      }
    }
    {
      RenderProgress progress(request_);
      renderTiles([&](int done) { progress.tell(done, across_ * down_); });
    }
    for (std::future<void>& other : others) other.get();
    if (stopped_) throw RenderStopped();
    return film_.develop();
  }

 private:
  void help() {
    const SignalStack signalStack;
    prctl(PR_SET_NAME, "render");
    renderTiles([](int) {});
  }

  template <class Tell>
  void renderTiles(Tell tellOf) {
    const DenormalsAsZero mode;
    for (int tile = next_++; tile < across_ * down_ && !stopped_; tile = next_++) {
      renderTile(tile);
      tellOf(tile);
    }
  }

  void renderTile(int index) {
    const int left = index % across_ * kTile, top = index / across_ * kTile;
    for (int y = top; y < std::min(top + kTile, request_.height); ++y) {
      for (int x = left; x < std::min(left + kTile, request_.width); ++x) {
        if (isStopped()) return;
        film_.set(x, y, color_(x, y));
      }
    }
  }

  /// Asked for every pixel, because one pixel with a thousand lamps takes as long as a simple tile.
  bool isStopped() {
    if (!stopped_ && request_.stopped()) stopped_ = true;
    return stopped_;
  }

  const RenderRequest& request_;
  const PixelColor color_;
  const int across_, down_;
  std::atomic<int> next_{0};
  std::atomic<bool> stopped_{false};
  Film film_;
};

}  // namespace

void requireSize(const RenderRequest& request) {
  const bool sides = request.width >= 1 && request.width <= kMaxImageSide && request.height >= 1 &&
                     request.height <= kMaxImageSide;
  if (!sides || static_cast<int64_t>(request.width) * request.height > kMaxImagePixels) {
    throw std::runtime_error("the picture's size is out of range: " + std::to_string(request.width) + " x " +
                             std::to_string(request.height));
  }
}

PreparedScene::PreparedScene(const Scene& scene, KernelBuild kernel, const std::function<bool()>& stopped)
    : data_(std::make_unique<Data>(scene, kernel, stopped)) {}
PreparedScene::~PreparedScene() = default;
KernelBuild PreparedScene::kernel() const { return data_->kernel; }

Image renderScene(const PreparedScene& scene, RendererId renderer, const RenderRequest& request) {
  requireSize(request);
  switch (renderer) {
    case RendererId::Preview: {
      RenderRequest plain = request;
      plain.toneCurve = false;
      plain.glow.reset();
      return TileRun(plain, previewPixels(scene.data(), plain)).run();
    }
    case RendererId::Standard:
      return TileRun(request, standardPixels(scene.data(), request)).run();
    case RendererId::Physical:
      return TileRun(request, physicalPixels(scene.data(), request)).run();
    default:
      throw std::runtime_error("there is no renderer " + std::to_string(static_cast<int32_t>(renderer)));
  }
}

}  // namespace host
