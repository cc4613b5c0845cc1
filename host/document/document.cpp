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

Document::Document(std::string file) : file_(std::move(file)), sceneFile_(loadScene(file_)) {
  renderSettings_.set(render_setting::kRenderer, int32_t{0});
  renderSettings_.set(render_setting::kWidth, int32_t{800});
  renderSettings_.set(render_setting::kHeight, int32_t{600});
  renderSettings_.set(render_setting::kAntialiasing, true);
  setAll(renderSettings_, sceneFile_.document.renderSettings);
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

std::list<VideoPost>& Document::videoPosts() {
  const bool has = std::any_of(videoPosts_.begin(), videoPosts_.end(),
                               [](const VideoPost& post) { return post.type == kPhysicalRendererId; });
  if (!has && renderSettings_.getInt32(render_setting::kRenderer) == kPhysicalRendererId) {
    appendVideoPost(kPhysicalRendererId, 0);
  }
  return videoPosts_;
}

}  // namespace host
