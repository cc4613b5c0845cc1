// The path tracer.
#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <numbers>

#include "host/render/bsdf.h"
#include "host/render/camera.h"
#include "host/render/emitters.h"
#include "host/render/film.h"
#include "host/render/lights.h"
#include "host/render/pixels.h"
#include "host/render/sampler.h"
#include "host/render/surface.h"

namespace host {
namespace {

constexpr float kPi = std::numbers::pi_v<float>;
constexpr int kSureSurfaces = 3;       // that a path meets before it may end by chance
constexpr int kMaxLayers = 256;        // blended surfaces one behind another
constexpr size_t kLampCandidates = 8;  // among which one is chosen
constexpr int kSamplesBetweenStops = 4;

bool isBlack(Vec3 c) { return !(c.x > 0 || c.y > 0 || c.z > 0); }
float largest(Vec3 c) { return std::max({c.x, c.y, c.z}); }
Vec3 exponential(Vec3 v) { return {std::exp(v.x), std::exp(v.y), std::exp(v.z)}; }

/// The weight of one of two strategies that could both have found a direction. (E. Veach's balance heuristic
/// is a little noisier than its square, which this is.)
float powerHeuristic(float used, float other) { return used * used / (used * used + other * other); }

class PathTracer {
 public:
  PathTracer(const PreparedScene::Data& data, const RenderRequest& request, RayLog* log)
      : data_(data),
        request_(request),
        log_(log),
        camera_(data.scene, request.width, request.height),
        lights_(data.scene, data.bounds(), request),
        emitters_(data, request.stopped),
        samples_(request.path.sampling == Sampling::Draft ? std::max(request.path.samples / 4, 1)
                                                          : request.path.samples) {}

  Vec3 pixel(int x, int y) const {
    PixelSampler sampler(x, y);
    Vec3 sum;
    Spread spread;
    const int most = request_.path.sampling == Sampling::Adaptive ? 4 * samples_ : samples_;
    int count = 0;
    while (count < most) {
      if (count % kSamplesBetweenStops == 0 && count > 0 && request_.stopped()) throw RenderStopped();
      sampler.begin(static_cast<uint32_t>(count++));
      const Vec2 place = sampler.pair();
      const Ray ray = camera_.at(static_cast<float>(x) + place.x, static_cast<float>(y) + place.y);
      const Vec3 light = Path(*this, sampler).trace(ray);
      sum = sum + light;
      if (most == samples_) continue;
      spread.add(light);
      if (count >= samples_ && spread.error() < request_.path.noiseLimit) break;
    }
    return sum * (1 / static_cast<float>(count));
  }

 private:
  /// How far the samples of a pixel lie apart, as they will be seen.
  class Spread {
   public:
    void add(Vec3 light) {
      const double seen = toneCurve(0.2126F * light.x + 0.7152F * light.y + 0.0722F * light.z);
      ++count_;
      const double off = seen - mean_;
      mean_ += off / count_;
      squares_ += off * (seen - mean_);
    }
    /// Of their mean.
    double error() const { return count_ < 2 ? 1 : std::sqrt(squares_ / (count_ - 1) / count_); }

   private:
    int count_ = 0;
    double mean_ = 0, squares_ = 0;
  };

  /// One path from the camera into the scene.
  class Path {
   public:
    Path(const PathTracer& renderer, PixelSampler& sampler) : r_(renderer), sampler_(sampler) {}

    Vec3 trace(Ray ray) {
      int layers = 0;
      for (int surfaces = 0; surfaces <= r_.request_.path.depth;) {
        Hit hit;
        if (!r_.data_.nearest(ray, hit, r_.log_)) {
          add(r_.lights_.sky.radiance(ray.direction, 0), surfaces);
          break;
        }
        if (!isBlack(absorption_))
          throughput_ = throughput_ * exponential(absorption_ * -(hit.t - ray.tnear));
        const Surface surface = surfaceAt(r_.data_, ray, hit);
        const Vec2 chance = sampler_.pair();
        if (surface.baseColor.w < 1 && chance.x >= surface.baseColor.w) {
          if (++layers > kMaxLayers) {
            add(r_.lights_.sky.radiance(ray.direction, 0), surfaces);
            break;
          }
          ray.tnear = behind(hit);
          continue;
        }
        ++surfaces;
        layers = 0;
        // What passed the alpha test is evenly spread below alpha.
        if (!scatter(surface, ray, hit, {chance.x / std::min(surface.baseColor.w, 1.0F), chance.y}, surfaces))
          break;
      }
      return light_;
    }

   private:
    /// Adds what shines and what is lit at a surface, and turns the ray into its next part. False at the end.
    bool scatter(const Surface& surface, Ray& ray, const Hit& hit, Vec2 chance, int surfaces) {
      const MaterialPoint material = materialAt(r_.data_.textures, surface);
      if (surface.material->unlit) {
        add(material.color, surfaces - 1);
        return false;
      }
      addEmission(surface, material, ray, hit, surfaces);
      if (surfaces > r_.request_.path.depth) return false;
      const Bsdf bsdf(material, surface, -ray.direction);
      addLamp(surface, bsdf, surfaces);
      addEmitter(surface, bsdf, surfaces);

      const auto next = bsdf.sample(chance.y, sampler_.pair());
      if (!next) return false;
      throughput_ = throughput_ * next->weight;
      if (!survives(chance.x, surfaces)) return false;
      if (next->through && !material.thin) absorption_ = surface.front ? material.absorption : Vec3{};
      density_ = next->density;
      const float width = ray.widthAt(hit.t);
      const float spread = ray.spread + 0.5F * next->roughness * next->roughness;
      ray = leaving(surface, surface.position, next->toLight);
      ray.width = width;
      ray.spread = spread;
      return true;
    }

    /// Paths that bring little end by chance; those that go on stand for them.
    bool survives(float u, int surfaces) {
      const float most = largest(throughput_);
      if (!(most > 0 && most < 1e30F)) return false;
      if (surfaces < kSureSurfaces || most >= 1) return true;
      const float chance = std::max(most, 0.05F);
      if (u >= chance) return false;
      throughput_ = throughput_ * (1 / chance);
      return true;
    }

    void add(Vec3 light, int surfacesBefore) {
      Vec3 seen = light * throughput_;
      const float limit = r_.request_.path.clamp, most = largest(seen);
      if (!(most < 1e30F)) return;
      if (surfacesBefore > 0 && limit > 0 && most > limit) seen = seen * (limit / most);
      light_ = light_ + seen;
    }

    void addEmission(const Surface& surface, const MaterialPoint& material, const Ray& ray, const Hit& hit,
                     int surfaces) {
      if (isBlack(material.emitted)) return;
      float weight = 1;
      const bool choosable = surface.front || surface.material->doubleSided;
      if (surfaces > 1 && density_ > 0 && choosable) {
        const float cosine = std::max(std::abs(dot(surface.geometric, ray.direction)), 1e-6F);
        const float area = r_.emitters_.densityOf(hit) * hit.t * hit.t / cosine;
        weight = powerHeuristic(density_, area);
      }
      add(material.emitted * weight, surfaces - 1);
    }

    /// Light of one lamp, chosen among a few by what it would bring with nothing in between: chosen by its
    /// own brightness alone, a gloss that a weak lamp makes would sparkle.
    void addLamp(const Surface& surface, const Bsdf& bsdf, int surfaces) {
      const std::vector<Lamp>& lamps = r_.lights_.lamps;
      if (lamps.empty()) return;
      struct Candidate {
        Vec3 value;
        Vec3 direction;
        float distance;
        float upTo;
      };
      std::array<Candidate, kLampCandidates> candidates;
      const size_t count = std::min(lamps.size(), kLampCandidates);
      const Vec2 u = lamps.size() > 1 ? sampler_.pair() : Vec2{};
      const auto first = static_cast<size_t>(u.x * static_cast<float>(lamps.size()));
      size_t used = 0;
      float sum = 0;
      for (size_t i = 0; i < count; ++i) {
        // Evenly spread over a long list, from a place of chance on: each lamp is as likely as any other.
        const size_t lamp = lamps.size() == count ? i : (first + i * lamps.size() / count) % lamps.size();
        const auto light = lamps[lamp].at(surface.position);
        if (!light || !(dot(light->direction, surface.normal) > 0)) continue;
        // Lamps are measured by what a white matt surface reflects: 1/pi of what arrives.
        const Vec3 value = bsdf.evaluate(light->direction).value * light->radiance * kPi;
        if (isBlack(value)) continue;
        sum += largest(value);
        candidates[used++] = {value, light->direction, light->distance, sum};
      }
      if (!(sum > 0 && sum < 1e30F)) return;
      size_t chosen = 0;
      while (chosen + 1 < used && candidates[chosen].upTo <= u.y * sum) ++chosen;
      const Candidate& lamp = candidates[chosen];
      const float scale =
          sum / largest(lamp.value) * static_cast<float>(lamps.size()) / static_cast<float>(count);
      Ray ray = leaving(surface, surface.litFrom, lamp.direction);
      ray.tfar = lamp.distance * 0.9999F - surface.clearance;
      const Vec3 passing = r_.data_.lampLight(ray, r_.log_);
      // What the camera sees lit by a lamp does not sparkle, and is not clamped.
      if (!isBlack(passing)) add(lamp.value * passing * scale, surfaces - 1);
    }

    void addEmitter(const Surface& surface, const Bsdf& bsdf, int surfaces) {
      if (r_.emitters_.empty()) return;
      const Vec2 u = sampler_.pair();
      const EmitterPoint point = r_.emitters_.choose(u.x, {u.y, sampler_.pair().x});
      // From where the ray starts, or it would end beside the point: inside of what shines.
      const Vec3 towards = point.position - surface.litFrom;
      const float square = dot(towards, towards);
      if (!(square > 1e-20F && square < 1e30F)) return;
      const float distance = std::sqrt(square);
      const Vec3 direction = towards * (1 / distance);
      float cosine = -dot(point.normal, direction);
      if (point.bothSides) cosine = std::abs(cosine);
      if (!(cosine > 1e-6F && point.density > 0)) return;
      const Scattering s = bsdf.evaluate(direction);
      if (isBlack(s.value)) return;
      const float density = point.density * square / cosine;
      const Vec3 value = s.value * r_.emitters_.light(point) * (powerHeuristic(density, s.density) / density);
      if (isBlack(value)) return;
      Ray ray = leaving(surface, surface.litFrom, direction);
      ray.tfar = distance * 0.9999F - surface.clearance;
      const float passing = r_.data_.transmittance(ray, r_.log_);
      if (passing > 0) add(value * passing, surfaces);
    }

    const PathTracer& r_;
    PixelSampler& sampler_;
    Vec3 light_;
    Vec3 throughput_{1, 1, 1};
    Vec3 absorption_;    // of what the path is inside of, for each metre
    float density_ = 0;  // with which the direction was chosen; 0: no light could have been chosen instead
  };

  const PreparedScene::Data& data_;
  const RenderRequest request_;
  RayLog* log_;
  CameraRays camera_;
  SceneLights lights_;
  Emitters emitters_;
  int samples_;
};

}  // namespace

PixelColor physicalPixels(const PreparedScene::Data& data, const RenderRequest& request, RayLog* log) {
  return [tracer = std::make_shared<PathTracer>(data, request, log)](int x, int y) {
    return tracer->pixel(x, y);
  };
}

}  // namespace host
