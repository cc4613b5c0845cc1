#include "host/services/image.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <new>

#include "host/services/image_formats.h"

namespace host {
namespace {

// Larger than any picture within the limits: only a file of something else is longer.
constexpr uint64_t kMaxFileBytes = 8ULL * kMaxImagePixels;

bool startsWith(std::span<const std::byte> bytes, std::string_view signature) {
  return bytes.size() >= signature.size() &&
         std::memcmp(bytes.data(), signature.data(), signature.size()) == 0;
}

bool isTiff(std::span<const std::byte> bytes) {
  constexpr std::array<std::string_view, 4> kSignatures{
      std::string_view("II*\0", 4), std::string_view("MM\0*", 4), std::string_view("II+\0", 4),
      std::string_view("MM\0+", 4)};
  return std::any_of(kSignatures.begin(), kSignatures.end(),
                     [&](std::string_view signature) { return startsWith(bytes, signature); });
}

Image decodeBySignature(std::span<const std::byte> bytes) {
  if (startsWith(bytes, "\x89PNG\r\n\x1a\n")) return decodePng(bytes);
  if (startsWith(bytes, "\xff\xd8\xff")) return decodeJpeg(bytes);
  if (isTiff(bytes)) return decodeTiff(bytes);
  throw ImageError("not a PNG, JPEG or TIFF picture");
}

}  // namespace

void requireSize(int64_t width, int64_t height) {
  if (width < 1 || height < 1) throw ImageError("the picture has no pixels");
  if (width > kMaxImageSide || height > kMaxImageSide || width * height > kMaxImagePixels) {
    throw ImageError("the picture is too large: " + std::to_string(width) + " x " + std::to_string(height));
  }
}

void requirePlausible(uint64_t packed, uint64_t unpacked, uint64_t bestRatio) {
  if (unpacked / bestRatio > packed) throw ImageError("the picture's data is truncated");
}

void requireRgb(const Image& image) {
  requireSize(image.width, image.height);
  if (image.channels != 3 || image.pixels.size() != 3ULL * image.width * image.height) {
    throw ImageError("only RGB pictures can be written");
  }
}

Image makeImage(int64_t width, int64_t height, int channels) {
  requireSize(width, height);
  Image image{static_cast<int>(width), static_cast<int>(height), channels, {}};
  image.pixels.resize(static_cast<size_t>(width * height * channels));
  return image;
}

Image decodeImage(std::span<const std::byte> bytes) {
  try {
    return decodeBySignature(bytes);
  } catch (const std::bad_alloc&) {
    throw ImageError("not enough memory for the picture");
  }
}

Image readImage(const std::filesystem::path& file) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(file, error)) {
    throw ImageError(error ? error.message() : std::string("not a file"));
  }
  const uint64_t size = std::filesystem::file_size(file, error);
  if (error) throw ImageError(error.message());
  if (size > kMaxFileBytes) throw ImageError("the file is too large for a picture");

  std::ifstream stream(file, std::ios::binary);
  if (!stream) throw ImageError(std::strerror(errno));
  // Left uninitialised: zeroing it takes as long as reading an uncompressed picture.
  const std::unique_ptr<std::byte[]> bytes(new (std::nothrow) std::byte[size]);
  if (!bytes) throw ImageError("not enough memory for the picture");
  stream.read(reinterpret_cast<char*>(bytes.get()), static_cast<std::streamsize>(size));
  if (stream.bad()) throw ImageError("the file cannot be read");
  return decodeImage({bytes.get(), static_cast<size_t>(stream.gcount())});
}

OutputFile::OutputFile(const std::filesystem::path& file) : stream_(std::fopen(file.c_str(), "wb")) {
  if (!stream_) throw ImageError(std::strerror(errno));
}

void OutputFile::close() {
  const bool lost = std::ferror(stream_.get()) != 0;
  const bool flushed = std::fflush(stream_.get()) == 0;
  const int reason = errno;
  const bool closed = std::fclose(stream_.release()) == 0;
  if (!flushed) throw ImageError(std::strerror(reason));
  if (!closed) throw ImageError(std::strerror(errno));
  if (lost) throw ImageError("the file cannot be written");
}

}  // namespace host
