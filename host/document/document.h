#pragma once
// A document: a scene with the render settings and video posts that a tool may change before it renders.

#include <list>
#include <string>

#include "host/document/scene.h"
#include "host/services/values.h"
#include "host/services/work_notes.h"

namespace host {

/// "rendered without" and what the file asks for in vain; empty when that is nothing.
std::string describeUnsupported(const SceneFile& sceneFile);

/// Render settings that the host itself reads; the others are kept for the tools.
namespace render_setting {
inline constexpr int32_t kRenderer = 5300;
inline constexpr int32_t kWidth = 5008;         ///< pixels
inline constexpr int32_t kHeight = 5009;        ///< pixels
inline constexpr int32_t kAntialiasing = 5401;  ///< truth value
}  // namespace render_setting

/// The physical renderer, and the type of its video post.
inline constexpr int32_t kPhysicalRendererId = 1023342;

/// A post effect.
struct VideoPost {
  int32_t type = 0;
  int32_t flags = 0;
  Container parameters;
  VideoPost* next = nullptr;  ///< the one behind it in its document's list
};

/// One thread at a time.
class Document {
 public:
  /// Loads a scene file. Throws SceneError.
  explicit Document(std::string file);

  const std::string& file() const { return file_; }
  const SceneFile& sceneFile() const { return sceneFile_; }
  Container& renderSettings() { return renderSettings_; }
  const Container& renderSettings() const { return renderSettings_; }
  /// The video posts; a renderer that needs one of its own gets it here, with default parameters, when the
  /// settings choose that renderer. A list, since its members are lent.
  std::list<VideoPost>& videoPosts();

 private:
  VideoPost& appendVideoPost(int32_t type, int32_t flags);

  std::string file_;
  NoteScope inWork_;
  SceneFile sceneFile_;
  Container renderSettings_;
  std::list<VideoPost> videoPosts_;
};

}  // namespace host
