// What shading costs: the rays that a renderer traces in a second, against the same rays traced by the bare
// library in a loop. Both use every core. Each scene gets a line of the name, the median of the ratios, and
// the least.
//
//   rays_bench standard|physical SCENE...

#include <tbb/parallel_for.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <functional>

#include "bench/measure.h"
#include "host/render/pixels.h"
#include "host/render/trace_context.h"

namespace host {
namespace {

constexpr int kWidth = 320, kHeight = 180;  // pixels
constexpr int kTile = 16;                   // as in renderer.cpp, for rays in the same order
constexpr int kSamples = 16;                // of the path tracer, a pixel
constexpr int kRepeats = 7;

/// Seconds that `work` takes.
double secondsOf(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

RayLog recordRays(const PreparedScene& scene, RendererId renderer, const RenderRequest& request) {
  const DenormalsAsZero mode;
  RayLog log;
  const PixelColor color = renderer == RendererId::Physical ? physicalPixels(scene.data(), request, &log)
                                                            : standardPixels(scene.data(), request, &log);
  for (int top = 0; top < kHeight; top += kTile) {
    for (int left = 0; left < kWidth; left += kTile) {
      for (int y = top; y < std::min(top + kTile, kHeight); ++y) {
        for (int x = left; x < std::min(left + kTile, kWidth); ++x) color(x, y);
      }
    }
  }
  return log;
}

RTCRay bareRay(const Ray& ray) {
  RTCRay r{};
  r.org_x = ray.origin.x, r.org_y = ray.origin.y, r.org_z = ray.origin.z;
  r.dir_x = ray.direction.x, r.dir_y = ray.direction.y, r.dir_z = ray.direction.z;
  r.tnear = ray.tnear, r.tfar = ray.tfar;
  r.mask = 0xFFFFFFFFU;
  return r;
}

bool meets(RTCScene tree, const RTCRay& ray) {
  RTCIntersectContext context;
  rtcInitIntersectContext(&context);
  RTCRayHit query{ray, {}};
  query.hit.geomID = RTC_INVALID_GEOMETRY_ID;
  rtcIntersect1(tree, &context, &query);
  return query.hit.geomID != RTC_INVALID_GEOMETRY_ID;
}

bool isShadowed(RTCScene tree, RTCRay ray, bool throughGlass) {
  ShadowContext context{{}, throughGlass};
  rtcInitIntersectContext(&context.base);
  rtcOccluded1(tree, &context.base, &ray);
  return ray.tfar < 0;
}

/// Returns the number of hits, so that no call can be left out as unused.
size_t traceBare(RTCScene tree, const RayLog& log) {
  std::atomic<size_t> hits{0};
  tbb::parallel_for(tbb::blocked_range<size_t>(0, log.size(), 4096), [&](const auto& range) {
    const DenormalsAsZero mode;
    size_t found = 0;
    for (size_t i = range.begin(); i != range.end(); ++i) {
      const RTCRay ray = bareRay(log[i].ray);
      const TracedRay::Kind kind = log[i].kind;
      found +=
          (kind == TracedRay::Nearest ? meets(tree, ray) : isShadowed(tree, ray, kind == TracedRay::Lamp))
              ? 1
              : 0;
    }
    hits += found;
  });
  return hits;
}

void measure(const std::filesystem::path& file, RendererId renderer) {
  const SceneFile loaded = loadScene(file);
  const PreparedScene scene(loaded.scene);
  RenderRequest request;
  request.width = kWidth;
  request.height = kHeight;
  request.path.samples = kSamples;
  const RayLog log = recordRays(scene, renderer, request);
  const double rays = static_cast<double>(log.size()) * 1e-6;
  std::vector<double> ratios;
  double shaded = 0, bare = 0;
  // In turns, so that both have the same share of a machine that others use as well.
  for (int i = 0; i < kRepeats; ++i) {
    shaded = secondsOf([&] { renderScene(scene, renderer, request); });
    bare = secondsOf([&] { traceBare(scene.data().tree.get(), log); });
    ratios.push_back(bare / shaded);
  }
  std::fprintf(stderr, "%s: %.2f Mrays, at last %.2f Mray/s while shading, %.2f Mray/s bare\n",
               file.filename().c_str(), rays, rays / shaded, rays / bare);
  bench::report(file.filename(), ratios);
}

}  // namespace
}  // namespace host

int main(int count, char** arguments) {
  const std::string which = count > 2 ? arguments[1] : "";
  if (which != "standard" && which != "physical") {
    std::fprintf(stderr, "usage: rays_bench standard|physical SCENE...\n");
    return 2;
  }
  const auto renderer = which == "physical" ? host::RendererId::Physical : host::RendererId::Standard;
  for (int i = 2; i < count; ++i) {
    try {
      host::measure(arguments[i], renderer);
    } catch (const std::exception& error) {
      std::fprintf(stderr, "%s: %s\n", arguments[i], error.what());
      return 1;
    }
  }
  return 0;
}
