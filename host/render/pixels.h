#pragma once
// The renderers behind renderScene: each makes a function from a pixel to its colour.

#include <functional>

#include "host/render/trace.h"

namespace host {

/// Linear RGB of a pixel; 0..1 are the picture's darkest and brightest. Depends on nothing but its arguments,
/// and may be called from any thread.
using PixelColor = std::function<Vec3(int x, int y)>;

/// Head light, base colour, one sample: quick, and bare of all that could hide a wrong triangle.
PixelColor previewPixels(const PreparedScene::Data& data, const RenderRequest& request);

/// Light along whole paths, by many samples of chance that are the same each time. Throws RenderStopped when
/// asked to stop.
PixelColor physicalPixels(const PreparedScene::Data& data, const RenderRequest& request,
                          RayLog* log = nullptr);

/// Direct light with shadows, sky, mirrors. `log`, unless null, gets every ray; then one thread at a time.
PixelColor standardPixels(const PreparedScene::Data& data, const RenderRequest& request,
                          RayLog* log = nullptr);

}  // namespace host
