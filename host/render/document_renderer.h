#pragma once
// Rendering a document: its settings choose the renderer, and the ray tracing tree is built once.

#include <memory>

#include "host/document/document.h"
#include "host/render/opengl.h"
#include "host/render/renderer.h"

namespace host {

/// Belongs to one document, which must outlive it.
class DocumentRenderer {
 public:
  explicit DocumentRenderer(const Document& document) : document_(document) {}

  /// Renders with `settings` (which may be a changed copy of the document's) at the size of `request`.
  /// Thread: any, one at a time. Throws RenderStopped, or std::runtime_error with the reason.
  Image render(const Container& settings, RenderRequest request);

 private:
  /// The request with what settings and video posts say, each number in its range.
  RenderRequest withSettings(RenderRequest request, const Container& settings);

  const Document& document_;
  std::unique_ptr<PreparedScene> prepared_;
  std::unique_ptr<OpenGlRenderer> openGl_;
};

}  // namespace host
