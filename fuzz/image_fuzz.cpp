// Any bytes as a picture: it is refused by name, or has as many pixels as it says.
#include <cstdlib>

#include "host/services/image.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  try {
    const host::Image image = host::decodeImage({reinterpret_cast<const std::byte*>(data), size});
    const size_t expected = static_cast<size_t>(image.width) * static_cast<size_t>(image.height) *
                            static_cast<size_t>(image.channels);
    const bool good = image.channels >= 1 && image.channels <= 4 && image.pixels.size() == expected;
    if (!good || expected == 0) std::abort();
  } catch (const host::ImageError& error) {
    if (*error.what() == '\0') std::abort();
  }
  return 0;
}
