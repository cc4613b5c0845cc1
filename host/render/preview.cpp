#include <algorithm>

#include "host/render/camera.h"
#include "host/render/pixels.h"
#include "host/render/surface.h"

namespace host {
namespace {

constexpr Vec3 kBackground{0.10F, 0.11F, 0.12F};
constexpr int kMaxLayers = 16;
constexpr float kAmbient = 0.15F;

Vec3 previewColor(const PreparedScene::Data& data, Ray ray) {
  Hit hit;
  for (int layer = 0; layer < kMaxLayers && data.nearest(ray, hit, nullptr); ++layer) {
    const Surface s = surfaceAt(data, ray, hit);
    if (s.baseColor.w < 0.5F) {
      ray.tnear = behind(hit);
      continue;
    }
    const float headLight = std::max(0.0F, -dot(s.normal, ray.direction));
    return Vec3{s.baseColor.x, s.baseColor.y, s.baseColor.z} * (kAmbient + (1 - kAmbient) * headLight);
  }
  return kBackground;
}

}  // namespace

PixelColor previewPixels(const PreparedScene::Data& data, const RenderRequest& request) {
  const CameraRays camera(data.scene, request.width, request.height);
  return [&data, camera](int x, int y) {
    return previewColor(data, camera.at(static_cast<float>(x) + 0.5F, static_cast<float>(y) + 0.5F));
  };
}

}  // namespace host
