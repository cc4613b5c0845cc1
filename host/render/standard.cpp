#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>

#include "host/render/camera.h"
#include "host/render/lights.h"
#include "host/render/pixels.h"
#include "host/render/reflectance.h"
#include "host/render/surface.h"

namespace host {
namespace {

constexpr int kMaxMirrors = 3;   // one in another
constexpr int kMaxPanes = 10;    // surfaces of glass one behind another
constexpr int kMaxLayers = 256;  // blended surfaces one behind another
constexpr size_t kLampsBetweenStops = 4096;
constexpr float kLeastPassing = 1e-3F;  // through blended surfaces; what is behind may be a lamp
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

bool isBlack(Vec3 c) { return !(c.x > 0 || c.y > 0 || c.z > 0); }

/// Snell's law for a direction that meets a surface from the side of its normal; `ratio` of the indices
/// before and behind. Nothing where all is mirrored.
std::optional<Vec3> refracted(Vec3 direction, Vec3 normal, float ratio) {
  const float cosine = -dot(direction, normal);
  const float square = 1 - ratio * ratio * (1 - cosine * cosine);
  if (square <= 0) return {};
  return normalize(direction * ratio + normal * (ratio * cosine - std::sqrt(square)));
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
        stopped_(request.stopped),
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
    int depth;     ///< mirrors and panes so far
    float weight;  ///< largest change that the ray's colour can make to the pixel's
    const SkyTurn& turn;

    Path next(float share) const { return {sample, depth + 1, weight * share, turn}; }
  };

  Vec3 radiance(Ray ray, const Path& path) const {
    Vec3 sum;
    float passing = 1;
    Hit hit;
    for (int layer = 0; layer < kMaxLayers && passing > kLeastPassing; ++layer) {
      if (!data_.nearest(ray, hit, log_)) break;
      const Surface surface = surfaceAt(data_, ray, hit);
      const float coverage = std::clamp(surface.baseColor.w, 0.0F, 1.0F);
      if (coverage > 0) {
        const Path here{path.sample, path.depth, path.weight * passing * coverage, path.turn};
        sum = sum + Shading(*this, surface, ray, hit.t, here).light() * (passing * coverage);
      }
      passing *= 1 - coverage;
      ray.tnear = behind(hit);
    }
    return sum + lights_.sky.radiance(ray.direction, 0) * passing;
  }

  /// The light that one point of a surface sends along a ray.
  class Shading {
   public:
    Shading(const Standard& renderer, const Surface& surface, const Ray& ray, float distance,
            const Path& path)
        : r_(renderer),
          surface_(surface),
          ray_(ray),
          path_(path),
          width_(ray.widthAt(distance)),
          material_(materialAt(r_.data_.textures, surface)),
          // The analyzer does not see into this constructor.
          // NOLINTNEXTLINE(clang-analyzer-optin.cplusplus.UninitializedObject)
          reflectance_(material_, surface.normal, -ray.direction) {}

    Vec3 light() const {
      if (surface_.material->unlit) return material_.color;
      const float skylight = skylightFrom(surface_.normal);
      Vec3 sum = material_.emitted;
      sum = sum + lampsLight();
      sum = sum + reflectance_.ofSkylight() * r_.lights_.sky.ambient(surface_.normal) * skylight;
      sum =
          sum + mirrorLight(reflectance_.mirrored(), material_.roughness, skylight, reflectance_.ofMirror());
      if (material_.clearcoat > 0) sum = sum + coatLight(skylight);
      if (material_.transmission > 0) sum = sum + lightFromBehind();
      return sum;
    }

   private:
    Vec3 lampsLight() const {
      Vec3 sum;
      size_t seen = 0;
      for (const Lamp& lamp : r_.lights_.lamps) {
        if (++seen % kLampsBetweenStops == 0 && r_.stopped_()) throw RenderStopped();
        sum = sum + lampLight(lamp);
      }
      return sum;
    }

    Vec3 lampLight(const Lamp& lamp) const {
      const auto light = lamp.at(surface_.position);
      if (!light) return {};
      const Vec3 reflected = reflectance_.ofLight(light->direction);
      if (isBlack(reflected)) return {};
      Ray ray = leaving(surface_, surface_.litFrom, light->direction);
      ray.tfar = light->distance * 0.9999F - surface_.clearance;
      return reflected * light->radiance * r_.data_.lampLight(ray, r_.log_);
    }

    /// Part of the ambient light that reaches the surface past things near by.
    float skylightFrom(Vec3 normal) const {
      float open = 0;
      const int count = kSkyCount / r_.samples_;
      for (int i = 0; i < count; ++i) {
        const Vec3 direction = about(normal, path_.turn.direction(kSkyDirections[path_.sample * count + i]));
        Ray ray = leaving(surface_, surface_.litFrom, direction);
        ray.tfar = r_.skyReach_;
        open += dot(direction, surface_.geometric) > 0 ? r_.data_.transmittance(ray, r_.log_) : 0;
      }
      return kLeastSkylight + (1 - kLeastSkylight) * open / static_cast<float>(count);
    }

    /// What the surface mirrors: things for smooth ones, ever more of the mere sky for rough ones.
    Vec3 mirrorLight(Vec3 direction, float roughness, float skylight, Vec3 share) const {
      // Interpolated normals can mirror into the surface, from where it must come out again.
      direction = direction - surface_.geometric * std::min(0.0F, 2 * dot(direction, surface_.geometric));
      const Vec3 sky = r_.lights_.sky.radiance(direction, roughness) * skylight * material_.occlusion;
      return share * seen(direction, roughness, kMaxMirrors, sky, share);
    }

    Vec3 coatLight(float skylight) const {
      const Vec3 normal = material_.clearcoatNormal;
      const Vec3 direction = ray_.direction - normal * (2 * dot(ray_.direction, normal));
      const float share = reflectance_.ofCoat();
      return mirrorLight(direction, material_.clearcoatRoughness, skylight, {share, share, share});
    }

    /// What stands behind a surface that light comes through: straight for thin walls, else bent.
    Vec3 lightFromBehind() const {
      Vec3 share = reflectance_.ofBehind();
      Vec3 direction = ray_.direction;
      if (!material_.thin) {
        const float ratio = surface_.front ? 1 / material_.ior : material_.ior;
        const auto bent = refracted(ray_.direction, surface_.normal, ratio);
        direction = bent ? *bent : reflectance_.mirrored();  // none: all is mirrored inside
      }
      const Vec3 sky = r_.lights_.sky.radiance(direction, material_.roughness);
      return share * seen(direction, material_.roughness, kMaxPanes, sky, share);
    }

    /// What stands in a direction, mixed with `blurred` by how rough the surface is, and what is left of it
    /// where the way there leads through the inside of glass.
    Vec3 seen(Vec3 direction, float roughness, int maxDepth, Vec3 blurred, Vec3 share) const {
      const float clarity = Reflectance::clarity(roughness);
      const float most = clarity * std::max({share.x, share.y, share.z});
      if (path_.depth >= maxDepth || path_.weight * most < kLeastWeight) return blurred;
      Ray ray = leaving(surface_, surface_.position, direction);
      ray.width = width_;
      ray.spread = ray_.spread + roughness * roughness;
      const Vec3 sharp = r_.radiance(ray, path_.next(most)) * leftInside(ray);
      return blurred * (1 - clarity) + sharp * clarity;
    }

    /// What the inside of glass leaves of light along a ray that goes through it.
    Vec3 leftInside(const Ray& ray) const {
      const bool inside = !material_.thin && (dot(ray.direction, surface_.geometric) < 0) == surface_.front;
      if (!inside || isBlack(material_.absorption)) return {1, 1, 1};
      Hit hit;
      if (!r_.data_.nearest(ray, hit, r_.log_)) return {1, 1, 1};
      const Vec3 a = material_.absorption * -hit.t;
      return {std::exp(a.x), std::exp(a.y), std::exp(a.z)};
    }

    const Standard& r_;
    const Surface& surface_;
    const Ray& ray_;
    const Path& path_;
    float width_;  // of the ray's cone here
    MaterialPoint material_;
    Reflectance reflectance_;
  };

  const PreparedScene::Data& data_;
  RayLog* log_;
  const std::function<bool()> stopped_;
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
