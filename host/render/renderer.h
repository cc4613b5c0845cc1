#pragma once
// The renderers: a scene and a request in, 8-bit sRGB pixels out. The same scene and request give the same
// bytes, whatever the number of threads.

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "host/document/scene.h"

namespace host {

/// Render setting 5300 picks one of these.
enum class RendererId : int32_t { Standard = 0, Preview = 1, Physical = 1023342, OpenGl = 300001061 };

/// How the ray tracing tree is built: Robust lets no ray through between two triangles that share an edge,
/// Faster may, Compact is robust, takes half the memory and traces more slowly.
enum class KernelBuild : int32_t { Robust = 0, Faster = 1, Compact = 2 };

/// How many samples the path tracer takes of a pixel.
enum class Sampling : int32_t {
  Draft = 0,    ///< a quarter of the number asked for
  Fixed = 1,    ///< the number asked for
  Adaptive = 2  ///< that number, and up to four times as many where the pixel is still noisy
};

/// Of the path tracer alone.
struct PathSettings {
  KernelBuild kernel = KernelBuild::Robust;
  Sampling sampling = Sampling::Fixed;
  int samples = 32;          ///< a pixel, 1 to 65536
  int depth = 12;            ///< surfaces that a path meets, 1 to 64
  float clamp = 16;          ///< brightest that light after the first surface may be; 0: no limit
  float noiseLimit = 0.01F;  ///< standard error of a pixel at which adaptive sampling is content
};

/// The light around a scene.
struct Environment {
  enum class Kind : int32_t { Sky = 0, White = 1 };
  Kind kind = Kind::Sky;          ///< White: and no light is added to scenes that have none
  std::optional<float> strength;  ///< none: strong for scenes without lights, else weak
};

/// Light that spills from what is brighter than white.
struct Glow {
  float strength = 0.1F;  ///< part of that light that spills
  float radius = 0.02F;   ///< standard deviation, as a part of the picture's height
};

struct RenderRequest {
  int width = 0;             ///< pixels, at least 1
  int height = 0;            ///< pixels, at least 1
  bool antialiasing = true;  ///< four samples a pixel (Standard, OpenGl); off: one
  int threads = 0;           ///< 0: every core
  float exposure = 0;        ///< factor from the lights' units to the picture's; 0: metered in coarse steps
  bool toneCurve = true;     ///< bend what is nearly white or brighter; off: cut it
  Environment environment;
  PathSettings path;
  std::optional<Glow> glow;
  /// Asked often and from several threads; true ends the render with RenderStopped.
  std::function<bool()> stopped = [] { return false; };
  /// Told the part that is done, 0..1 and rising, a few times a second of a render that takes longer, and 1
  /// at its end, however it ended. Called by the thread that asked for the render.
  std::function<void(double)> progress = [](double) {};
};

/// Throws std::runtime_error for a picture without pixels or with more than an image can have.
void requireSize(const RenderRequest& request);

/// Thrown by a render that was asked to stop.
class RenderStopped : public std::runtime_error {
 public:
  RenderStopped() : std::runtime_error("stopped") {}
};

/// A scene with its ray tracing tree, made once for any number of renders. Keeps a reference to the scene,
/// which must outlive it. Thread: any; several renders may use one at the same time.
class PreparedScene {
 public:
  /// Throws std::runtime_error when the tree cannot be built (out of memory), RenderStopped when `stopped`,
  /// which several threads ask, is true before it is.
  explicit PreparedScene(
      const Scene& scene, KernelBuild kernel = KernelBuild::Robust,
      const std::function<bool()>& stopped = [] { return false; });
  ~PreparedScene();
  PreparedScene(const PreparedScene&) = delete;
  PreparedScene& operator=(const PreparedScene&) = delete;

  KernelBuild kernel() const;

  struct Data;
  const Data& data() const { return *data_; }

 private:
  std::unique_ptr<Data> data_;
};

/// Renders to RGB, 3 channels. Thread: any. Throws RenderStopped, or std::runtime_error with the reason.
Image renderScene(const PreparedScene& scene, RendererId renderer, const RenderRequest& request);

/// The instruction set in use and the library versions: what can change a pixel between two machines, as
/// "name version" phrases for the run's record.
std::vector<std::string> renderFacts();

}  // namespace host
