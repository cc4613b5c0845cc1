#pragma once
// Pictures in memory and in files: the decoders and encoders that bitmaps and textures share.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace host {

/// 8 bits a channel, rows from top to bottom without padding; pixels.size() == width * height * channels.
struct Image {
  int width = 0;     ///< pixels
  int height = 0;    ///< pixels
  int channels = 0;  ///< 1 grey, 2 grey and alpha, 3 RGB, 4 RGB and straight (unassociated) alpha
  std::vector<uint8_t> pixels;
};

/// A picture that cannot be read or written; what() says why, without the file's name.
class ImageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// No picture larger than this is read or made, so that a few bytes cannot ask for all memory.
inline constexpr int kMaxImageSide = 65535;              // pixels
inline constexpr int64_t kMaxImagePixels = 268'435'456;  // 16384 x 16384

/// Compression of TIFF files that are written.
enum class TiffCompression { None, Lzw, Zip };

/// Decodes PNG, JPEG or TIFF bytes, told apart by their first bytes. 16-bit channels are cut to 8, palettes
/// expanded, CMYK and YCbCr turned to RGB. Thread: any. Throws ImageError for anything else, for damaged or
/// truncated data, and for a picture beyond the limits (before its memory is taken).
Image decodeImage(std::span<const std::byte> bytes);

/// Reads a picture file (PNG, JPEG, TIFF, by content). Thread: any. Throws ImageError.
Image readImage(const std::filesystem::path& file);

/// Writes `image` (3 channels) as baseline TIFF without a date: the same pixels give the same bytes.
/// Thread: any. Throws ImageError; a half-written file may then stand at `file`, which callers avoid by
/// writing to a temporary name.
void writeTiff(const std::filesystem::path& file, const Image& image, TiffCompression compression);

/// Writes `image` (3 channels) as PNG. Thread: any. Throws ImageError, as writeTiff.
void writePng(const std::filesystem::path& file, const Image& image);

}  // namespace host
