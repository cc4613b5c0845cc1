#pragma once
// Triangles that shine, as lights of the path tracer.

#include <vector>

#include "host/render/trace.h"

namespace host {

/// A point on a shining triangle.
struct EmitterPoint {
  Vec3 position;
  Vec3 normal;  ///< unit, of the side that shines
  bool bothSides = false;
  float density = 0;  ///< per area, with which it was chosen
  const Placement* placement = nullptr;
  TrianglePoint place;
};

/// All of them; each is chosen as often as its area and its brightness say, that of its part of the texture
/// included: of a mesh that is dark but for one small lamp, the lamp. Of more than 16 million none is
/// chosen, and only paths find them. Keeps a reference. Thread: any.
class Emitters {
 public:
  /// Throws RenderStopped when `stopped` is true before they are collected.
  Emitters(const PreparedScene::Data& data, const std::function<bool()>& stopped);

  bool empty() const { return triangles_.empty(); }
  /// A point for a number and a pair 0..1.
  EmitterPoint choose(float choice, Vec2 u) const;
  /// The radiance that it sends.
  Vec3 light(const EmitterPoint& point) const;
  /// The density per area with which the point of a hit is chosen; 0: never.
  float densityOf(const Hit& hit) const;

 private:
  void add(uint32_t placement, uint32_t triangle, double& power);
  /// Of its light: what its alpha shows.
  float visiblePart(const EmitterPoint& point) const;

  struct Emitter {
    uint32_t placement, triangle;
    float upTo;     // sum of the powers up to this one
    float density;  // power for each square metre
  };
  const PreparedScene::Data& data_;
  std::vector<Emitter> triangles_;  // all those of each placement that shines
  std::vector<uint32_t> firstOf_;   // in triangles_, by placement
  float power_ = 0;
};

}  // namespace host
