#include "host/render/document_renderer.h"

#include "host/services/work_notes.h"

namespace host {
namespace {

RendererId rendererOf(int32_t id) {
  if (id == static_cast<int32_t>(RendererId::Standard)) return RendererId::Standard;
  if (id == static_cast<int32_t>(RendererId::Preview)) return RendererId::Preview;
  throw std::runtime_error("there is no renderer " + std::to_string(id));
}

}  // namespace

Image DocumentRenderer::render(const Container& settings, RenderRequest request) {
  const RendererId renderer = rendererOf(settings.getInt32(render_setting::kRenderer));
  const NoteScope step(Note::Step, "rendering " + std::to_string(request.width) + " x " +
                                       std::to_string(request.height) + " pixels, renderer " +
                                       std::to_string(static_cast<int32_t>(renderer)));
  request.antialiasing = settings.getBool(render_setting::kAntialiasing, true);
  if (!prepared_) prepared_ = std::make_unique<PreparedScene>(document_.sceneFile().scene);
  return renderScene(*prepared_, renderer, request);
}

}  // namespace host
