#include "host/render/document_renderer.h"

#include <algorithm>

#include "host/services/work_notes.h"

namespace host {
namespace {

RendererId rendererOf(int32_t id) {
  for (const RendererId known :
       {RendererId::Standard, RendererId::Preview, RendererId::Physical, RendererId::OpenGl}) {
    if (id == static_cast<int32_t>(known)) return known;
  }
  throw std::runtime_error("there is no renderer " + std::to_string(id));
}

/// A tool, or a person with a text editor, may have written any number.
int32_t integerIn(const Container& settings, int32_t id, int32_t fallback, int32_t low, int32_t high) {
  return std::clamp(settings.getInt32(id, fallback), low, high);
}

float realIn(const Container& settings, int32_t id, float fallback, float low, float high) {
  const auto value = static_cast<float>(settings.getReal(id, fallback));
  return value >= low ? std::min(value, high) : low;
}

constexpr float kMostReal = 1e12F;

void readPathSettings(const Container& post, PathSettings& path) {
  path.kernel = static_cast<KernelBuild>(integerIn(post, path_setting::kKernelBuild, 0, 0, 2));
  path.sampling = static_cast<Sampling>(integerIn(post, path_setting::kSampling, 1, 0, 2));
  path.samples = integerIn(post, path_setting::kSamples, path.samples, 1, 1 << 16);
  path.depth = integerIn(post, path_setting::kDepth, path.depth, 1, 64);
  path.clamp = realIn(post, path_setting::kClamp, path.clamp, 0, kMostReal);
  path.noiseLimit = realIn(post, path_setting::kNoiseLimit, path.noiseLimit, 1e-5F, 1);
}

void readSettings(const Container& settings, RenderRequest& request) {
  request.antialiasing = settings.getBool(render_setting::kAntialiasing, true);
  request.exposure = realIn(settings, render_setting::kExposure, 0, 0, kMostReal);
  request.toneCurve = settings.getBool(render_setting::kToneCurve, true);
  request.environment.kind =
      static_cast<Environment::Kind>(integerIn(settings, render_setting::kEnvironment, 0, 0, 1));
  if (settings.values().contains(render_setting::kEnvironmentStrength)) {
    request.environment.strength = realIn(settings, render_setting::kEnvironmentStrength, 1, 0, kMostReal);
  }
}

}  // namespace

RenderRequest DocumentRenderer::withSettings(RenderRequest request, const Container& settings) {
  readSettings(settings, request);
  if (const VideoPost* physical = document_.activePost(kPhysicalRendererId)) {
    readPathSettings(physical->parameters, request.path);
  }
  if (const VideoPost* glow = document_.activePost(kGlowPostId)) {
    const Glow standard;
    request.glow = Glow{realIn(glow->parameters, glow_setting::kStrength, standard.strength, 0, 1),
                        realIn(glow->parameters, glow_setting::kRadius, standard.radius, 0, 1)};
  }
  return request;
}

Image DocumentRenderer::render(const Container& settings, RenderRequest request) try {
  const RendererId renderer = rendererOf(settings.getInt32(render_setting::kRenderer));
  const NoteScope step(Note::Step, "rendering " + std::to_string(request.width) + " x " +
                                       std::to_string(request.height) + " pixels, renderer " +
                                       std::to_string(static_cast<int32_t>(renderer)));
  request = withSettings(std::move(request), settings);
  if (renderer == RendererId::OpenGl) {
    if (!openGl_) openGl_ = std::make_unique<OpenGlRenderer>(document_.sceneFile().scene);
    return openGl_->render(request);
  }
  const KernelBuild kernel = renderer == RendererId::Physical ? request.path.kernel : KernelBuild::Robust;
  if (!prepared_ || prepared_->kernel() != kernel) {
    prepared_.reset();  // two trees of a large scene might not fit
    prepared_ = std::make_unique<PreparedScene>(document_.sceneFile().scene, kernel, request.stopped);
  }
  return renderScene(*prepared_, renderer, request);
} catch (const std::bad_alloc&) {
  throw std::runtime_error("there is not enough memory to render this scene");
}

}  // namespace host
