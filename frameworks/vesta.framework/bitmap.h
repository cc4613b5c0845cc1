// The host's bitmaps.
#pragma once

#include "vesta.framework/filename.h"

namespace vesta {

struct BitmapTraits {
  using Handle = HostBitmap;
  static void End(HostBitmap* handle) { Host().bitmaps.BitmapFree(handle); }
};

/// A 24-bit picture; rows of 3 x width bytes, row 0 at the top.
class Bitmap {
 public:
  /// No bitmap.
  Bitmap() = default;

  /// A black one. False when the host could not make it.
  bool Init(int32_t width, int32_t height);
  /// Reads a picture file.
  bool InitFromFile(const FileName& name);
  int32_t GetWidth() const { return Host().bitmaps.BitmapGetWidth(Get()); }
  int32_t GetHeight() const { return Host().bitmaps.BitmapGetHeight(Get()); }
  bool GetLine(int32_t y, uint8_t* rgb) const { return Host().bitmaps.BitmapGetLine(Get(), y, rgb) != 0; }
  bool SetLine(int32_t y, const uint8_t* rgb) { return Host().bitmaps.BitmapSetLine(Get(), y, rgb) != 0; }
  bool SaveTiff(const FileName& name) const {
    return Host().bitmaps.BitmapSave(Get(), name.Get(), HOST_FORMAT_TIFF, nullptr) != 0;
  }
  HostBitmap* Get() const { return bitmap_.Get(); }

 private:
  Owned<BitmapTraits> bitmap_;
};
VESTA_HOLDS_ONLY_ITS_HANDLE(Bitmap);

}  // namespace vesta
