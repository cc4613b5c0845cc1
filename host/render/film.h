#pragma once
// From light to 8-bit pixels: glow, tone curve, sRGB. Every renderer ends here.

#include "host/render/renderer.h"

namespace host {

/// A picture while it is rendered.
class Film {
 public:
  /// Takes size, tone curve and glow from the request. Three bytes a pixel, fifteen with glow.
  explicit Film(const RenderRequest& request);

  /// Linear RGB of a pixel; 1 is the picture's white. Thread: any, as long as nobody else sets the same
  /// pixel.
  void set(int x, int y, Vec3 light);

  /// The picture, once every pixel was set. Ends the film. Throws RenderStopped when the request says so
  /// while light is spilt.
  Image develop();

 private:
  uint8_t* pixelAt(int x, int y) { return &image_.pixels[3 * (static_cast<size_t>(y) * image_.width + x)]; }
  void expose(Vec3 light, uint8_t* pixel) const;

  const std::function<bool()> stopped_;
  bool toneCurve_;
  std::optional<Glow> glow_;
  Image image_;
  std::vector<Vec3> light_;  // with glow only, which needs the whole picture first
};

/// The tone curve: leaves the lower two thirds as they are and bends what is brighter towards 1, so that
/// colours keep their values and bright lights their shape. With x above s = 0.65 and t = (x - s) / (1 - s)
/// it is s + (1 - s) t / (1 + t).
float toneCurve(float x);

}  // namespace host
