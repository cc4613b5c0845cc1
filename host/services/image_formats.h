#pragma once
// What the decoders and encoders of the single formats share. Included by image*.cpp only.

#include <csetjmp>
#include <cstdio>
#include <memory>

#include "host/services/image.h"

namespace host {

/// Throws ImageError unless a picture of this size may be read or made.
void requireSize(int64_t width, int64_t height);

/// Throws ImageError when `packed` bytes cannot hold `unpacked` bytes even at the compression's best ratio:
/// such a file is truncated, or made to take memory.
void requirePlausible(uint64_t packed, uint64_t unpacked, uint64_t bestRatio);

/// Throws ImageError unless `image` can be written as 24-bit RGB.
void requireRgb(const Image& image);

/// An image of this size with zeroed pixels. Throws ImageError when it is too large.
Image makeImage(int64_t width, int64_t height, int channels);

Image decodePng(std::span<const std::byte> bytes);
Image decodeJpeg(std::span<const std::byte> bytes);
Image decodeTiff(std::span<const std::byte> bytes);

/// A file that is being written. Bytes may stay unwritten until close(), which tells whether all arrived.
class OutputFile {
 public:
  /// Throws ImageError when the file cannot be made.
  explicit OutputFile(const std::filesystem::path& file);
  std::FILE* stream() const { return stream_.get(); }
  /// Throws ImageError when a byte was lost.
  void close();

 private:
  struct Closer {
    void operator()(std::FILE* stream) const { std::fclose(stream); }
  };
  std::unique_ptr<std::FILE, Closer> stream_;
};

/// Where the error handlers of libpng and libjpeg, which must not return, leave their reason and jump to.
struct ErrorJump {
  std::jmp_buf target;
  char reason[256] = "";
};

/// Runs `body`, which calls such a library; throws ImageError with the reason when a handler jumps. Objects
/// with destructors must live outside `body`: the jump passes them by.
template <class Body>
void withErrorJump(ErrorJump& jump, Body body) {
  if (setjmp(jump.target) != 0) throw ImageError(jump.reason);
  body();
}

}  // namespace host
