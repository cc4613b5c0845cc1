// The host's documents, their render settings and video posts.
#pragma once

#include "vesta.framework/bitmap.h"
#include "vesta.framework/container.h"

namespace vesta {

/// A post effect of the render settings; lent by its document. May be none.
class VideoPost {
 public:
  explicit VideoPost(HostVideoPost* post) : post_(post) {}
  explicit operator bool() const { return post_ != nullptr; }
  VideoPost Next() const { return VideoPost(Host().documents.VideoPostNext(post_)); }
  int32_t GetType() const { return Host().documents.VideoPostGetType(post_); }
  int32_t GetFlags() const { return Host().documents.VideoPostGetFlags(post_); }
  bool SetFlags(int32_t flags) { return Host().documents.VideoPostSetFlags(post_, flags) != 0; }
  ContainerView GetParameters() const { return ContainerView(Host().documents.VideoPostGetContainer(post_)); }

 private:
  HostVideoPost* post_;
};
VESTA_HOLDS_ONLY_ITS_HANDLE(VideoPost);

struct DocumentTraits {
  using Handle = HostDocument;
  static void End(HostDocument* handle) { Host().documents.KillDocument(handle); }
};

/// A scene of its own, apart from the user's document.
class Document {
 public:
  /// Loads `name`; no document when that fails.
  static Document Load(const FileName& name, int32_t flags) {
    return Document(Host().documents.LoadDocument(name.Get(), flags));
  }
  explicit operator bool() const { return static_cast<bool>(document_); }

  /// The values of the active render settings.
  ContainerView GetRenderSettings() const;
  /// The active render settings' video post of a type, or none.
  VideoPost FindVideoPost(int32_t type) const;
  /// Renders into `bitmap` with `settings`; `thread` may be null. True on success.
  bool Render(const Container& settings, Bitmap& bitmap, int32_t flags, HostThread* thread) const {
    return Host().documents.RenderDocument(document_.Get(), settings.Get(), bitmap.Get(), flags, thread) == 0;
  }

 private:
  explicit Document(HostDocument* handle) : document_(handle) {}
  HostRenderSettings* ActiveSettings() const {
    return Host().documents.DocumentGetRenderSettings(document_.Get());
  }
  Owned<DocumentTraits> document_;
};
VESTA_HOLDS_ONLY_ITS_HANDLE(Document);

}  // namespace vesta
