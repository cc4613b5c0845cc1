#pragma once
// The renderer of setting 5300 = 300001061: OpenGL without a screen.

#include <memory>

#include "host/render/renderer.h"

namespace host {

/// How much the driver is asked to do at once; no picture depends on `batch`.
struct OpenGlLimits {
  int tile = 1024;     ///< most pixels a side that are drawn in one go
  double batch = 4e5;  ///< shaded pixels (about) between two looks at whether to stop
};

/// Keeps what the driver needs of a scene between renders. Keeps a reference to the scene, which must outlive
/// it. Thread: any, one at a time; the first render makes a context, and each borrows it while it runs.
class OpenGlRenderer {
 public:
  explicit OpenGlRenderer(const Scene& scene, OpenGlLimits limits = {});
  ~OpenGlRenderer();
  OpenGlRenderer(const OpenGlRenderer&) = delete;
  OpenGlRenderer& operator=(const OpenGlRenderer&) = delete;

  /// Renders to RGB, 3 channels. Throws RenderStopped, or std::runtime_error with the reason, for one "OpenGL
  /// is not available: ...".
  Image render(const RenderRequest& request);

 private:
  struct Kept;
  std::unique_ptr<Kept> kept_;
};

/// "opengl" and the driver's name and version, which can change a pixel. Empty as long as nothing was
/// rendered with it in this process. Thread: any.
std::string openGlFact();

}  // namespace host
