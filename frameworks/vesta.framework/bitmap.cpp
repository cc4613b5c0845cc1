#include "vesta.framework/bitmap.h"

namespace vesta {

constexpr int32_t kColorDepth = 24;

bool Bitmap::Init(int32_t width, int32_t height) {
  bitmap_ = Owned<BitmapTraits>(Host().bitmaps.BitmapAlloc());
  return Host().bitmaps.BitmapInit(Get(), width, height, kColorDepth) != 0;
}

bool Bitmap::InitFromFile(const FileName& name) {
  bitmap_ = Owned<BitmapTraits>(Host().bitmaps.BitmapAlloc());
  return Host().bitmaps.BitmapInitFromFile(Get(), name.Get()) != 0;
}

}  // namespace vesta
