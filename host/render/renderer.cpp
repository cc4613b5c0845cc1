#include "host/render/renderer.h"

#include <sys/prctl.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <thread>

#include "host/render/pixels.h"
#include "host/render/texture.h"
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
        image_{request.width, request.height, 3, {}} {
    image_.pixels.resize(3ULL * request.width * request.height);
  }

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
    renderTiles();
    for (std::future<void>& other : others) other.get();
    if (stopped_) throw RenderStopped();
    return std::move(image_);
  }

 private:
  void help() {
    const SignalStack signalStack;
    prctl(PR_SET_NAME, "render");
    renderTiles();
  }

  void renderTiles() {
    const DenormalsAsZero mode;
    for (int tile = next_++; tile < across_ * down_ && !stopped_; tile = next_++) renderTile(tile);
  }

  void renderTile(int index) {
    const int left = index % across_ * kTile, top = index / across_ * kTile;
    for (int y = top; y < std::min(top + kTile, request_.height); ++y) {
      for (int x = left; x < std::min(left + kTile, request_.width); ++x) {
        if (isStopped()) return;
        const Vec3 c = color_(x, y);
        uint8_t* pixel = &image_.pixels[3 * (static_cast<size_t>(y) * request_.width + x)];
        pixel[0] = linearToSrgb(c.x);
        pixel[1] = linearToSrgb(c.y);
        pixel[2] = linearToSrgb(c.z);
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
  Image image_;
};

void requireSize(const RenderRequest& request) {
  const bool sides = request.width >= 1 && request.width <= kMaxImageSide && request.height >= 1 &&
                     request.height <= kMaxImageSide;
  if (!sides || static_cast<int64_t>(request.width) * request.height > kMaxImagePixels) {
    throw std::runtime_error("the picture's size is out of range: " + std::to_string(request.width) + " x " +
                             std::to_string(request.height));
  }
}

}  // namespace

PreparedScene::PreparedScene(const Scene& scene) : data_(std::make_unique<Data>(scene)) {}
PreparedScene::~PreparedScene() = default;

Image renderScene(const PreparedScene& scene, RendererId renderer, const RenderRequest& request) {
  requireSize(request);
  const bool preview = renderer == RendererId::Preview;
  return TileRun(request,
                 preview ? previewPixels(scene.data(), request) : standardPixels(scene.data(), request))
      .run();
}

}  // namespace host
