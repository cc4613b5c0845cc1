// What shading costs: the rays that the standard renderer traces in a second, against the same rays traced by
// the bare library in a loop. Both use every core. Each scene gets a line; the last number is the ratio.
//
//   rays_bench [SCENE...]      default: every *.vesta below examples/

#include <embree3/rtcore.h>
#include <tbb/parallel_for.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <functional>

#include "host/render/pixels.h"

namespace host {
namespace {

constexpr int kWidth = 640, kHeight = 360;  // pixels
constexpr int kTile = 16;                   // as in renderer.cpp, for rays in the same order
constexpr int kRepeats = 7;

/// Median of the seconds that `work` takes.
double secondsOf(const std::function<void()>& work) {
  std::vector<double> seconds;
  for (int i = 0; i < kRepeats; ++i) {
    const auto start = std::chrono::steady_clock::now();
    work();
    seconds.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
  }
  std::sort(seconds.begin(), seconds.end());
  return seconds[kRepeats / 2];
}

RayLog recordRays(const PreparedScene& scene, const RenderRequest& request) {
  RayLog log;
  const PixelColor color = standardPixels(scene.data(), request, &log);
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

/// A context as the tree's alpha tests expect it: with room for the light that passes.
struct BareContext {
  RTCIntersectContext base;
  float transmittance = 1;
};

/// Returns the number of hits, so that no call can be left out as unused.
template <class Trace>
size_t traceAll(const std::vector<Ray>& rays, Trace trace) {
  std::atomic<size_t> hits{0};
  tbb::parallel_for(tbb::blocked_range<size_t>(0, rays.size(), 4096), [&](const auto& range) {
    const DenormalsAsZero mode;
    size_t found = 0;
    for (size_t i = range.begin(); i != range.end(); ++i) {
      BareContext context;
      rtcInitIntersectContext(&context.base);
      found += trace(&context.base, bareRay(rays[i])) ? 1 : 0;
    }
    hits += found;
  });
  return hits;
}

size_t traceBare(RTCScene tree, const RayLog& log) {
  const size_t nearest = traceAll(log.nearest, [tree](RTCIntersectContext* context, const RTCRay& ray) {
    RTCRayHit query{ray, {}};
    query.hit.geomID = RTC_INVALID_GEOMETRY_ID;
    rtcIntersect1(tree, context, &query);
    return query.hit.geomID != RTC_INVALID_GEOMETRY_ID;
  });
  const size_t shadow = traceAll(log.shadow, [tree](RTCIntersectContext* context, const RTCRay& ray) {
    RTCRay query = ray;
    rtcOccluded1(tree, context, &query);
    return query.tfar < 0;
  });
  return nearest + shadow;
}

void measure(const std::filesystem::path& file) {
  const SceneFile loaded = loadScene(file);
  const PreparedScene scene(loaded.scene);
  RenderRequest request;
  request.width = kWidth;
  request.height = kHeight;
  const RayLog log = recordRays(scene, request);
  const double rays = static_cast<double>(log.nearest.size() + log.shadow.size()) * 1e-6;
  const double shaded = secondsOf([&] { renderScene(scene, RendererId::Standard, request); });
  const double bare = secondsOf([&] { traceBare(scene.data().tree.get(), log); });
  std::printf("%-40s %6.2f Mrays  shaded %6.1f ms %6.2f Mray/s  bare %6.1f ms %6.2f Mray/s  ratio %.2f\n",
              file.filename().c_str(), rays, shaded * 1e3, rays / shaded, bare * 1e3, rays / bare,
              bare / shaded);
}

}  // namespace
}  // namespace host

int main(int count, char** arguments) {
  std::vector<std::filesystem::path> files(arguments + 1, arguments + count);
  if (files.empty()) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator("examples")) {
      if (entry.path().extension() == ".vesta") files.push_back(entry.path());
    }
  }
  std::sort(files.begin(), files.end());
  int failures = 0;
  for (const auto& file : files) {
    try {
      host::measure(file);
    } catch (const std::exception& error) {
      std::fprintf(stderr, "%s: %s\n", file.c_str(), error.what());
      ++failures;
    }
  }
  return failures == 0 ? 0 : 1;
}
