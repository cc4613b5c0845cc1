#pragma once
// Telling how far a long render is.

#include <chrono>

#include "host/render/renderer.h"

namespace host {

/// For the thread that asked for the render. Short renders tell nothing. Nothing that is drawn depends on it.
class RenderProgress {
 public:
  explicit RenderProgress(const RenderRequest& request) : request_(request) {}
  ~RenderProgress() {
    if (told_) request_.progress(1);
  }
  RenderProgress(const RenderProgress&) = delete;
  RenderProgress& operator=(const RenderProgress&) = delete;

  /// `done` of `all` parts of like size.
  void tell(double done, double all) {
    constexpr auto kStep = std::chrono::milliseconds(250);
    const auto now = std::chrono::steady_clock::now();
    if (now < next_) return;
    next_ = now + kStep;
    told_ = true;
    request_.progress(done < all ? done / all : 1);
  }

 private:
  const RenderRequest& request_;
  bool told_ = false;
  std::chrono::steady_clock::time_point next_ = std::chrono::steady_clock::now() + std::chrono::seconds(1);
};

}  // namespace host
