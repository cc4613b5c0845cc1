#include "host/document/document.h"

#include <algorithm>

namespace host {
namespace {

void setAll(Container& container, const std::vector<Setting>& settings) {
  for (const Setting& setting : settings) {
    std::visit([&](auto value) { container.set(setting.id, value); }, setting.value);
  }
}

}  // namespace

std::string describeUnsupported(const SceneFile& sceneFile) {
  std::string text;
  for (const std::string& phrase : sceneFile.unsupported) {
    text += text.empty() ? "rendered without " : "; ";
    text += phrase;
  }
  return text;
}

namespace {

SceneFile load(const std::string& file, const SceneOptions& options) {
  const NoteScope step(Note::Step, "loading");
  return loadScene(file, options);
}

/// A tool takes the settings' word for the size of its bitmap.
void requirePossibleSize(const Container& settings) {
  const int64_t width = settings.getInt32(render_setting::kWidth);
  const int64_t height = settings.getInt32(render_setting::kHeight);
  const bool possible = width > 0 && height > 0 && width <= kMaxImageSide && height <= kMaxImageSide &&
                        width * height <= kMaxImagePixels;
  if (possible) return;
  throw SceneError("the render settings ask for a picture of " + std::to_string(width) + " x " +
                   std::to_string(height) + " pixels");
}

}  // namespace

Document::Document(std::string file, const SceneOptions& options)
    : file_(std::move(file)), inWork_(Note::Document, file_), sceneFile_(load(file_, options)) {
  renderSettings_.set(render_setting::kRenderer, int32_t{0});
  renderSettings_.set(render_setting::kWidth, int32_t{800});
  renderSettings_.set(render_setting::kHeight, int32_t{600});
  renderSettings_.set(render_setting::kAntialiasing, true);
  setAll(renderSettings_, sceneFile_.document.renderSettings);
  requirePossibleSize(renderSettings_);
  for (const VideoPostRecord& record : sceneFile_.document.videoPosts) {
    setAll(appendVideoPost(record.type, record.bits).parameters, record.settings);
  }
}

VideoPost& Document::appendVideoPost(int32_t type, int32_t flags) {
  VideoPost* last = videoPosts_.empty() ? nullptr : &videoPosts_.back();
  videoPosts_.push_back({type, flags, Container(), nullptr});
  if (last != nullptr) last->next = &videoPosts_.back();
  return videoPosts_.back();
}

VideoPost& Document::videoPost(int32_t type) {
  const auto post = std::find_if(videoPosts_.begin(), videoPosts_.end(),
                                 [&](const VideoPost& candidate) { return candidate.type == type; });
  return post != videoPosts_.end() ? *post : appendVideoPost(type, 0);
}

const VideoPost* Document::activePost(int32_t type) const {
  const auto post = std::find_if(videoPosts_.begin(), videoPosts_.end(), [&](const VideoPost& candidate) {
    return candidate.type == type && (candidate.flags & kVideoPostOff) == 0;
  });
  return post == videoPosts_.end() ? nullptr : &*post;
}

std::list<VideoPost>& Document::videoPosts() {
  if (renderSettings_.getInt32(render_setting::kRenderer) == kPhysicalRendererId) {
    videoPost(kPhysicalRendererId);
  }
  return videoPosts_;
}

}  // namespace host
