#include <png.h>

#include <cstring>

#include "host/services/image_formats.h"

namespace host {
namespace {

constexpr uint64_t kBestDeflateRatio = 1032;          // of RFC 1951: 258 bytes in two bits
constexpr png_alloc_size_t kMaxChunkBytes = 1 << 24;  // text and profiles, which are not used
constexpr png_uint_32 kMaxChunks = 1000;

struct PngReader : ErrorJump {
  explicit PngReader(std::span<const std::byte> bytes) : rest(bytes) {
    png = png_create_read_struct(PNG_LIBPNG_VER_STRING, static_cast<ErrorJump*>(this), fail,
                                 [](png_structp, auto) {});
    info = png ? png_create_info_struct(png) : nullptr;
  }
  ~PngReader() { png_destroy_read_struct(&png, &info, nullptr); }
  PngReader(const PngReader&) = delete;
  PngReader& operator=(const PngReader&) = delete;

  [[noreturn]] static void fail(png_structp png, png_const_charp reason) {
    auto& jump = *static_cast<ErrorJump*>(png_get_error_ptr(png));
    std::snprintf(jump.reason, sizeof jump.reason, "%s", reason);
    std::longjmp(jump.target, 1);
  }

  static void read(png_structp png, png_bytep to, size_t count) {
    auto& rest = static_cast<PngReader*>(png_get_io_ptr(png))->rest;
    if (rest.size() < count) png_error(png, "the picture's data is truncated");
    std::memcpy(to, rest.data(), count);
    rest = rest.subspan(count);
  }

  std::span<const std::byte> rest;
  png_structp png = nullptr;
  png_infop info = nullptr;
};

/// Up to the first pixel data; asks for 8 bits a channel without palette.
void readPngHeader(PngReader& reader) {
  png_set_read_fn(reader.png, &reader, PngReader::read);
  // The limits of decodeImage are checked on the answer; these keep libpng's own memory small.
  png_set_user_limits(reader.png, kMaxImageSide, kMaxImageSide);
  png_set_chunk_malloc_max(reader.png, kMaxChunkBytes);
  png_set_chunk_cache_max(reader.png, kMaxChunks);
  // Texts and profiles are not used, and a few bytes of them can stand for gigabytes.
  static constexpr png_byte kUnused[] = "tEXt\0zTXt\0iTXt\0iCCP\0sPLT\0eXIf\0hIST";
  png_set_keep_unknown_chunks(reader.png, PNG_HANDLE_CHUNK_NEVER, kUnused, sizeof kUnused / 5);
  png_read_info(reader.png, reader.info);
}

void readPngRows(PngReader& reader, Image& image) {
  const int passes = png_set_interlace_handling(reader.png);
  const size_t rowBytes = static_cast<size_t>(image.width) * image.channels;
  for (int pass = 0; pass < passes; ++pass) {
    for (int y = 0; y < image.height; ++y) {
      png_read_row(reader.png, image.pixels.data() + y * rowBytes, nullptr);
    }
  }
  png_read_end(reader.png, nullptr);
}

}  // namespace

Image decodePng(std::span<const std::byte> bytes) {
  PngReader reader(bytes);
  if (!reader.info) throw ImageError("not enough memory for the picture");
  withErrorJump(reader, [&] { readPngHeader(reader); });

  const png_uint_32 width = png_get_image_width(reader.png, reader.info);
  const png_uint_32 height = png_get_image_height(reader.png, reader.info);
  requireSize(width, height);
  const uint64_t packedRow = png_get_rowbytes(reader.png, reader.info);
  requirePlausible(bytes.size(), packedRow * height, kBestDeflateRatio);

  withErrorJump(reader, [&] {
    png_set_expand(reader.png);
    png_set_strip_16(reader.png);
    (void)png_set_interlace_handling(reader.png);
    png_read_update_info(reader.png, reader.info);
  });
  Image image = makeImage(width, height, png_get_channels(reader.png, reader.info));
  withErrorJump(reader, [&] { readPngRows(reader, image); });
  return image;
}

void writePng(const std::filesystem::path& file, const Image& image) {
  requireRgb(image);
  OutputFile output(file);
  png_image png{};
  png.version = PNG_IMAGE_VERSION;
  png.width = static_cast<png_uint_32>(image.width);
  png.height = static_cast<png_uint_32>(image.height);
  png.format = PNG_FORMAT_RGB;
  png.flags = PNG_IMAGE_FLAG_FAST;  // a fifth of the time for a third more bytes
  if (!png_image_write_to_stdio(&png, output.stream(), 0, image.pixels.data(), 0, nullptr)) {
    throw ImageError(png.message);
  }
  output.close();
}

}  // namespace host
