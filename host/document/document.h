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
inline constexpr int32_t kExposure =
    7100;  ///< real: factor from the lights' units to the picture's; 0: metered
inline constexpr int32_t kToneCurve = 7101;            ///< truth value
inline constexpr int32_t kEnvironment = 7102;          ///< 0 sky, 1 white all around
inline constexpr int32_t kEnvironmentStrength = 7103;  ///< real; missing: by whether the scene has lights
}  // namespace render_setting

/// The physical renderer, and the type of its video post.
inline constexpr int32_t kPhysicalRendererId = 1023342;

/// Parameters of its video post.
namespace path_setting {
inline constexpr int32_t kSampling = 3100;     ///< 0 a quarter of the samples, 1 their number, 2 adaptive
inline constexpr int32_t kKernelBuild = 4000;  ///< 0 robust, 1 faster, 2 smaller
inline constexpr int32_t kSamples = 4001;      ///< a pixel
inline constexpr int32_t kDepth = 4002;        ///< surfaces that a path meets
inline constexpr int32_t kClamp = 4003;        ///< real: brightest indirect light; 0: no limit
inline constexpr int32_t kNoiseLimit = 4004;   ///< real: at which adaptive sampling is content
}  // namespace path_setting

/// The video post that lets light spill from what is brighter than white.
inline constexpr int32_t kGlowPostId = 1001015;

/// Parameters of it.
namespace glow_setting {
inline constexpr int32_t kStrength = 1000;  ///< real: part of the light that spills
inline constexpr int32_t kRadius = 1001;    ///< real: part of the picture's height
}  // namespace glow_setting

/// Flag of a video post that is switched off.
inline constexpr int32_t kVideoPostOff = 4;

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
  explicit Document(std::string file, const SceneOptions& options = {});

  const std::string& file() const { return file_; }
  const SceneFile& sceneFile() const { return sceneFile_; }
  Container& renderSettings() { return renderSettings_; }
  const Container& renderSettings() const { return renderSettings_; }
  /// The video posts; a renderer that needs one of its own gets it here, with default parameters, when the
  /// settings choose that renderer. A list, since its members are lent.
  std::list<VideoPost>& videoPosts();
  /// The first post of a type; appended, with no parameters, when there is none.
  VideoPost& videoPost(int32_t type);
  /// The first post of a type that is not switched off; null without one.
  const VideoPost* activePost(int32_t type) const;

 private:
  VideoPost& appendVideoPost(int32_t type, int32_t flags);

  std::string file_;
  NoteScope inWork_;
  SceneFile sceneFile_;
  Container renderSettings_;
  std::list<VideoPost> videoPosts_;
};

}  // namespace host
