#include "vesta.framework/document.h"

namespace vesta {

ContainerView Document::GetRenderSettings() const {
  return ContainerView(Host().documents.RenderSettingsGetContainer(ActiveSettings()));
}

VideoPost Document::FindVideoPost(int32_t type) const {
  VideoPost post(Host().documents.RenderSettingsFirstVideoPost(ActiveSettings()));
  while (post && post.GetType() != type) post = post.Next();
  return post;
}

}  // namespace vesta
