#pragma once
// From places in the picture to rays.

#include "host/render/trace.h"

namespace host {

/// A camera as projections need it: world directions of unit length, lengths in metres.
struct CameraView {
  bool orthographic;
  Vec3 position, right, up, forward;
  float halfWidth, halfHeight;  ///< of the picture: metres, or at one metre's distance (perspective)
  float znear, zfar;            ///< along forward
};

/// The scene's camera for a picture of a given shape; else one that looks from the front right, somewhat from
/// above, and is as near as it can be with everything inside the picture.
///
/// All that the camera's own aspect ratio shows is in the picture, unstretched; a picture of another shape
/// shows more at the sides, or above and below.
class CameraRays {
 public:
  CameraRays(const Scene& scene, int width, int height);

  /// `x` and `y` in pixels from the top left corner. Direction of unit length, tnear and tfar from the
  /// camera; its cone is as wide as a pixel.
  Ray at(float x, float y) const;

  /// The same for renderers that project what there is instead of following rays.
  CameraView view() const {
    return {orthographic_, position_, right_, up_, forward_, halfWidth_, halfHeight_, znear_, zfar_};
  }

 private:
  void place(const Camera& camera, float imageAspect);
  void frame(const Scene& scene, float imageAspect);

  bool orthographic_ = false;
  Vec3 position_;
  Vec3 right_, up_, forward_;  ///< unit
  float halfWidth_ = 1;        ///< of the picture: metres, or at one metre's distance (perspective)
  float halfHeight_ = 1;
  float znear_ = 0, zfar_ = 1e30F;  ///< along forward_
  float pixelWidth_, pixelHeight_;  ///< of the picture's width and height, from -1 to 1
};

}  // namespace host
