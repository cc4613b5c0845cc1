// Bitmaps.
#include <chrono>
#include <cstring>

#include "host/services/work_notes.h"
#include "host/tables/areas.h"
#include "host/tables/door.h"
#include "host/tables/handles.h"

namespace host {
namespace {

size_t rowBytes(const HostBitmap* bitmap) { return static_cast<size_t>(bitmap->bitmap.width()) * 3; }

HostBool failFor(const HostFileName* name, const std::string& reason) {
  services().console.printError(name->path + ": " + reason);
  return 0;
}

HostBitmap* BitmapAlloc() { return new HostBitmap; }

void BitmapFree(HostBitmap* bitmap) { delete bitmap; }

HostBool BitmapInit(HostBitmap* bitmap, int32_t width, int32_t height, int32_t depth) {
  if (bitmap->bitmap.init(width, height, depth)) return 1;
  services().console.printError("there is no bitmap of " + std::to_string(width) + " x " +
                                std::to_string(height) + " pixels");
  return 0;
}

HostBool BitmapInitFromFile(HostBitmap* bitmap, const HostFileName* name) {
  try {
    bitmap->bitmap.read(name->path);
    return 1;
  } catch (const ImageError& error) {
    services().runLog.failed(name->path + ": " + error.what());
    return failFor(name, error.what());
  }
}

int32_t BitmapGetWidth(const HostBitmap* bitmap) { return bitmap->bitmap.width(); }

int32_t BitmapGetHeight(const HostBitmap* bitmap) { return bitmap->bitmap.height(); }

HostBool BitmapGetLine(const HostBitmap* bitmap, int32_t y, uint8_t* rgb) {
  const uint8_t* row = bitmap->bitmap.row(y);
  if (row == nullptr) return 0;
  std::memcpy(rgb, row, rowBytes(bitmap));
  return 1;
}

HostBool BitmapSetLine(HostBitmap* bitmap, int32_t y, const uint8_t* rgb) {
  uint8_t* row = bitmap->bitmap.row(y);
  if (row == nullptr) return 0;
  std::memcpy(row, rgb, rowBytes(bitmap));
  return 1;
}

HostBool BitmapSave(const HostBitmap* bitmap, const HostFileName* name, int32_t format,
                    const HostContainer*) {
  if (format != HOST_FORMAT_TIFF || name->path.empty() || bitmap->bitmap.width() == 0) return 0;
  const NoteScope step(Note::Step, "saving " + name->path);
  const auto start = std::chrono::steady_clock::now();
  try {
    bitmap->bitmap.saveTiff(name->path, services().tiffCompression());
  } catch (const std::exception& error) {
    services().runLog.failed(name->path + ": " + reasonOf(error));
    return failFor(name, reasonOf(error));
  }
  const std::chrono::duration<double, std::milli> spent = std::chrono::steady_clock::now() - start;
  services().runLog.saved(spent.count());
  return 1;
}

}  // namespace

const HostBitmapsTable& bitmapsTable() {
#include "vesta.framework/contract/tagged_words.h"
#define HOST_SLOT VESTA_DOOR
  static constexpr HostBitmapsTable kTable = {
      sizeof(HostBitmapsTable),
#include "vesta.framework/contract/bitmap_slots.inc"
  };
#undef HOST_SLOT
#include "vesta.framework/contract/no_words.h"
  return kTable;
}

}  // namespace host
