#include "host/render/camera.h"

#include <algorithm>
#include <cmath>

namespace host {
namespace {

constexpr float kFramedHalfHeight = 0.33F;  // of the picture at one metre: a field of view of 37 degrees
constexpr float kFramedMargin = 1.06F;
constexpr Vec3 kFramedFrom{0.48F, 0.36F, 0.80F};  // unit; glTF models look along +Z

/// How far points reach to both sides of a pyramid with its tip at the origin: largest side + slope * depth.
struct Reach {
  float slope;
  float left = -1e30F, right = -1e30F;

  void add(float side, float towardsCamera) {
    right = std::max(right, side + slope * towardsCamera);
    left = std::max(left, -side + slope * towardsCamera);
  }
  /// Where the tip must stand for both sides to touch.
  float side() const { return (right - left) / 2; }
  float distance() const { return (right + left) / 2 / slope; }
};

/// Calls `visit` with world points whose hull holds the instance: its vertices where they are few enough to
/// visit once, else the corners of the box around them.
template <class Visit>
void visitHull(const Scene& scene, Visit visit) {
  std::vector<int> uses(scene.meshes.size());
  for (const Instance& instance : scene.instances) ++uses[instance.mesh];
  std::vector<std::vector<Vec3>> corners(scene.meshes.size());
  for (const Instance& instance : scene.instances) {
    const Mesh& mesh = scene.meshes[instance.mesh];
    if (mesh.positions.empty() || mesh.indices.empty()) continue;
    std::vector<Vec3>& box = corners[instance.mesh];
    if (uses[instance.mesh] > 1 && box.empty()) {
      Vec3 low = mesh.positions[0], high = low;
      for (const Vec3 p : mesh.positions) {
        low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
      }
      for (int i = 0; i < 8; ++i) {
        box.push_back({i & 1 ? high.x : low.x, i & 2 ? high.y : low.y, i & 4 ? high.z : low.z});
      }
    }
    for (const Vec3 p : box.empty() ? mesh.positions : box) visit(transformPoint(instance.transform, p));
  }
}

}  // namespace

CameraRays::CameraRays(const Scene& scene, int width, int height)
    : pixelWidth_(2 / static_cast<float>(width)), pixelHeight_(2 / static_cast<float>(height)) {
  const float aspect = static_cast<float>(width) / static_cast<float>(height);
  if (scene.camera) {
    place(*scene.camera, aspect);
  } else {
    frame(scene, aspect);
  }
}

void CameraRays::place(const Camera& camera, float imageAspect) {
  const auto& m = camera.transform.m;
  right_ = normalize(Vec3{m[0], m[1], m[2]});
  up_ = normalize(Vec3{m[4], m[5], m[6]});
  forward_ = normalize(-Vec3{m[8], m[9], m[10]});
  position_ = {m[12], m[13], m[14]};
  orthographic_ = camera.orthographic;
  znear_ = std::max(camera.znear, 0.0F);
  if (camera.zfar > znear_) zfar_ = camera.zfar;

  const float height = orthographic_ ? std::abs(camera.ymag) : std::tan(camera.yfov / 2);
  const float ownAspect = orthographic_            ? std::abs(camera.xmag / camera.ymag)
                          : camera.aspectRatio > 0 ? camera.aspectRatio
                                                   : imageAspect;
  halfHeight_ = height * std::max(1.0F, ownAspect / imageAspect);
  halfWidth_ = halfHeight_ * imageAspect;
}

void CameraRays::frame(const Scene& scene, float imageAspect) {
  halfHeight_ = kFramedHalfHeight * std::max(1.0F, 1 / imageAspect);
  halfWidth_ = halfHeight_ * imageAspect;
  forward_ = -kFramedFrom;
  right_ = normalize(cross(forward_, Vec3{0, 1, 0}));
  up_ = cross(right_, forward_);

  Reach across{halfWidth_ / kFramedMargin};
  Reach along{halfHeight_ / kFramedMargin};
  visitHull(scene, [&](Vec3 p) {
    across.add(dot(p, right_), -dot(p, forward_));
    along.add(dot(p, up_), -dot(p, forward_));
  });
  const float distance = std::max(across.distance(), along.distance());
  position_ = right_ * across.side() + up_ * along.side() - forward_ * distance;
}

Ray CameraRays::at(float x, float y) const {
  const float across = (x * pixelWidth_ - 1) * halfWidth_;
  const float along = (1 - y * pixelHeight_) * halfHeight_;
  const Vec3 offset = right_ * across + up_ * along;
  const float pixel = pixelHeight_ * halfHeight_;
  if (orthographic_) return {position_ + offset, forward_, znear_, zfar_, pixel, 0};
  const Vec3 towards = forward_ + offset;
  const float stretch = length(towards);
  return {position_, towards * (1 / stretch), znear_ * stretch, std::min(zfar_ * stretch, 1e30F),
          0,         pixel / stretch};
}

}  // namespace host
