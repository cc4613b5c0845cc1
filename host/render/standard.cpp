#include <algorithm>
#include <cmath>
#include <memory>

#include "host/render/camera.h"
#include "host/render/lights.h"
#include "host/render/pixels.h"
#include "host/render/reflectance.h"
#include "host/render/surface.h"

namespace host {
namespace {

constexpr int kMaxDepth = 3;            // mirror upon mirror
constexpr int kMaxLayers = 32;          // blended surfaces one behind another
constexpr float kLeastWeight = 0.02F;   // a ray that can change the pixel less than this is not traced
constexpr float kLeastSkylight = 0.3F;  // of the ambient light, where none of the sky is seen

// Four samples in a rotated grid: no two share a row or a column, so edges near either direction get all
// steps.
constexpr Vec2 kRotatedGrid[] = {{0.375F, 0.125F}, {0.875F, 0.375F}, {0.125F, 0.625F}, {0.625F, 0.875F}};
constexpr Vec2 kCenter[] = {{0.5F, 0.5F}};

// Directions about a normal with a cosine's density, two for each of a pixel's four samples: one near the
// normal, one lower and across from it. Eight rings of equal share; ring and place on it (cosine, sine):
struct SkyDirection {
  float ring;
  Vec2 azimuth;
};
constexpr SkyDirection kSkyDirections[] = {{0, {1, 0}},
                                           {7, {-1, 0}},
                                           {1, {0, 1}},
                                           {6, {0, -1}},
                                           {2, {0.7071F, 0.7071F}},
                                           {5, {-0.7071F, -0.7071F}},
                                           {3, {-0.7071F, 0.7071F}},
                                           {4, {0.7071F, -0.7071F}}};
constexpr int kSkyCount = 8;

/// Turns a direction about y into one about `normal`. (T. Duff et al., "Building an Orthonormal Basis,
/// Revisited", JCGT 6(1), 2017, with y in the place of z.)
Vec3 about(Vec3 normal, Vec3 d) {
  const float sign = std::copysign(1.0F, normal.y);
  const float a = -1 / (sign + normal.y);
  const float b = normal.z * normal.x * a;
  const Vec3 s{b, -normal.z, sign + normal.z * normal.z * a};
  const Vec3 t{1 + sign * normal.x * normal.x * a, -sign * normal.x, sign * b};
  return s * d.z + normal * d.y + t * d.x;
}

/// How a pixel turns and shifts the sky directions, so that the steps of a few become a fine grain.
struct SkyTurn {
  float cosine, sine;
  float shift;  ///< 0..1, within the rings

  SkyTurn(int x, int y) {
    const float angle = step(x, y) * 1.5707963F;
    cosine = std::cos(angle);
    sine = std::sin(angle);
    shift = step(y, x + 2);
  }

  /// About y.
  Vec3 direction(const SkyDirection& d) const {
    const float square = (d.ring + shift) / kSkyCount;
    const float radius = std::sqrt(square);
    return {radius * (d.azimuth.x * cosine - d.azimuth.y * sine), std::sqrt(1 - square),
            radius * (d.azimuth.x * sine + d.azimuth.y * cosine)};
  }

 private:
  /// 0..1, each sixteenth once in any four by four pixels, far ones side by side (Bayer's order).
  static float step(int x, int y) {
    constexpr int kOrder[4][4] = {{0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};
    return (static_cast<float>(kOrder[y & 3][x & 3]) + 0.5F) / 16;
  }
};

class Standard {
 public:
  Standard(const PreparedScene::Data& data, const RenderRequest& request, RayLog* log)
      : data_(data),
        log_(log),
        camera_(data.scene, request.width, request.height),
        lights_(data.scene, data.bounds(), request),
        samples_(request.antialiasing ? 4 : 1),
        grid_(request.antialiasing ? kRotatedGrid : kCenter),
        skyReach_(data.bounds() ? 0.5F * length(data.bounds()->high - data.bounds()->low) : 0) {}

  Vec3 pixel(int x, int y) const {
    const SkyTurn turn(x, y);
    Vec3 sum;
    for (int i = 0; i < samples_; ++i) {
      const Ray ray = camera_.at(static_cast<float>(x) + grid_[i].x, static_cast<float>(y) + grid_[i].y);
      sum = sum + radiance(ray, {i, 0, 1, turn});
    }
    return sum * (1 / static_cast<float>(samples_));
  }

 private:
  /// How a ray came about.
  struct Path {
    int sample;    ///< of the pixel
    int depth;     ///< mirrors so far
    float weight;  ///< largest change that the ray's colour can make to the pixel's
    const SkyTurn& turn;
  };

  Vec3 radiance(Ray ray, const Path& path) const {
    Vec3 sum;
    float passing = 1;
    Hit hit;
    for (int layer = 0; layer < kMaxLayers && passing > kLeastWeight; ++layer) {
      if (!data_.nearest(ray, hit, log_)) break;
      const Surface surface = surfaceAt(data_, ray, hit);
      const float coverage = std::clamp(surface.baseColor.w, 0.0F, 1.0F);
      if (coverage > 0) {
        sum = sum + shade(surface, ray.direction,
                          {path.sample, path.depth, path.weight * passing * coverage, path.turn}) *
                        (passing * coverage);
      }
      passing *= 1 - coverage;
      ray.tnear = behind(hit);
    }
    return sum + lights_.sky.radiance(ray.direction, 0) * passing;
  }

  Vec3 shade(const Surface& surface, Vec3 direction, const Path& path) const {
    const Reflectance reflectance(materialAt(data_.textures, surface));
    const Vec3 toViewer = -direction;
    Vec3 sum = reflectance.emitted;
    for (const Lamp& lamp : lights_.lamps) sum = sum + lit(surface, reflectance, toViewer, lamp);

    const float skylight = skylightAt(surface, path);
    sum = sum + reflectance.diffuse * lights_.sky.ambient(surface.normal) * skylight;
    // Interpolated normals can mirror into the surface, from where it must come out again.
    Vec3 mirrored = direction - surface.normal * (2 * dot(direction, surface.normal));
    mirrored = mirrored - surface.geometric * std::min(0.0F, 2 * dot(mirrored, surface.geometric));
    const Vec3 share = reflectance.towardsMirror(dot(surface.normal, toViewer));
    return sum + share * mirrorLight(surface, mirrored, reflectance, skylight, share, path);
  }

  Vec3 lit(const Surface& surface, const Reflectance& reflectance, Vec3 toViewer, const Lamp& lamp) const {
    const auto light = lamp.at(surface.position);
    if (!light || dot(light->direction, surface.normal) <= 0) return {};
    Ray ray = leaving(surface, surface.litFrom, light->direction);
    ray.tfar = light->distance * 0.9999F - surface.clearance;
    const float passing = data_.transmittance(ray, log_);
    if (passing <= 0) return {};
    return reflectance.ofLight(surface.normal, toViewer, light->direction) * light->radiance * passing;
  }

  /// Part of the ambient light that reaches the surface past things near by.
  float skylightAt(const Surface& surface, const Path& path) const {
    float open = 0;
    const int count = kSkyCount / samples_;
    for (int i = 0; i < count; ++i) {
      const Vec3 direction =
          about(surface.normal, path.turn.direction(kSkyDirections[path.sample * count + i]));
      Ray ray = leaving(surface, surface.litFrom, direction);
      ray.tfar = skyReach_;
      open += dot(direction, surface.geometric) > 0 ? data_.transmittance(ray, log_) : 0;
    }
    return kLeastSkylight + (1 - kLeastSkylight) * open / static_cast<float>(count);
  }

  /// What the surface mirrors: things for smooth ones, ever more of the mere sky for rough ones.
  Vec3 mirrorLight(const Surface& surface, Vec3 direction, const Reflectance& reflectance, float skylight,
                   Vec3 share, const Path& path) const {
    const Vec3 sky = lights_.sky.radiance(direction, reflectance.roughness) * skylight;
    const float weight = path.weight * reflectance.clarity() * std::max({share.x, share.y, share.z});
    if (path.depth >= kMaxDepth || weight < kLeastWeight) return sky;
    const Ray ray = leaving(surface, surface.position, direction);
    const Vec3 seen = radiance(ray, {path.sample, path.depth + 1, weight, path.turn});
    return sky * (1 - reflectance.clarity()) + seen * reflectance.clarity();
  }

  const PreparedScene::Data& data_;
  RayLog* log_;
  CameraRays camera_;
  SceneLights lights_;
  int samples_;
  const Vec2* grid_;
  float skyReach_;  // metres
};

}  // namespace

PixelColor standardPixels(const PreparedScene::Data& data, const RenderRequest& request, RayLog* log) {
  return [standard = std::make_shared<Standard>(data, request, log)](int x, int y) {
    return standard->pixel(x, y);
  };
}

}  // namespace host
