#pragma once
// The renderers: a scene and a request in, 8-bit sRGB pixels out. The same scene and request give the same
// bytes, whatever the number of threads.

#include <functional>
#include <memory>
#include <string>

#include "host/document/scene.h"

namespace host {

/// Render setting 5300 picks one of these.
enum class RendererId : int32_t { Standard = 0, Preview = 1 };

struct RenderRequest {
  int width = 0;             ///< pixels, at least 1
  int height = 0;            ///< pixels, at least 1
  bool antialiasing = true;  ///< four samples a pixel (Standard); off: one
  int threads = 0;           ///< 0: every core
  /// Asked often and from several threads; true ends the render with RenderStopped.
  std::function<bool()> stopped = [] { return false; };
};

/// Thrown by a render that was asked to stop.
class RenderStopped : public std::runtime_error {
 public:
  RenderStopped() : std::runtime_error("stopped") {}
};

/// A scene with its ray tracing tree, made once for any number of renders. Keeps a reference to the scene,
/// which must outlive it. Thread: any; several renders may use one at the same time.
class PreparedScene {
 public:
  /// Throws std::runtime_error when the tree cannot be built (out of memory).
  explicit PreparedScene(const Scene& scene);
  ~PreparedScene();
  PreparedScene(const PreparedScene&) = delete;
  PreparedScene& operator=(const PreparedScene&) = delete;

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
