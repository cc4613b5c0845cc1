#include <cstdio>
// libjpeg's header needs <cstdio> before it.
#include <jerror.h>
#include <jpeglib.h>

#include "host/services/image_formats.h"

namespace host {
namespace {

// An 8 x 8 block takes at least one bit of Huffman code.
constexpr uint64_t kBestPixelsPerByte = 64 * 8;
// A progressive picture needs about ten; files made to take time have thousands.
constexpr int kMaxScans = 200;

struct JpegReader : ErrorJump {
  JpegReader() {
    info.err = jpeg_std_error(&handler);
    info.client_data = static_cast<ErrorJump*>(this);
    handler.error_exit = fail;
    handler.emit_message = [](j_common_ptr common, int level) {
      if (level < 0 && !harmless(common->err->msg_code)) fail(common);
    };
    handler.output_message = [](j_common_ptr) {};
    progress.progress_monitor = [](j_common_ptr common) {
      if (reinterpret_cast<j_decompress_ptr>(common)->input_scan_number > kMaxScans) {
        ERREXIT(common, JERR_NOTIMPL);
      }
    };
  }
  ~JpegReader() { jpeg_destroy_decompress(&info); }
  JpegReader(const JpegReader&) = delete;
  JpegReader& operator=(const JpegReader&) = delete;

  /// After any other warning libjpeg goes on with made-up pixels: the data is truncated or damaged.
  static bool harmless(int warning) {
    return warning == JWRN_EXTRANEOUS_DATA || warning == JWRN_JFIF_MAJOR || warning == JWRN_ADOBE_XFORM;
  }

  [[noreturn]] static void fail(j_common_ptr common) {
    auto& jump = *static_cast<ErrorJump*>(common->client_data);
    static_assert(sizeof jump.reason >= JMSG_LENGTH_MAX);
    common->err->format_message(common, jump.reason);
    std::longjmp(jump.target, 1);
  }

  jpeg_decompress_struct info{};
  jpeg_error_mgr handler{};
  jpeg_progress_mgr progress{};
};

void readJpegHeader(JpegReader& reader, std::span<const std::byte> bytes) {
  auto& info = reader.info;
  jpeg_create_decompress(&info);
  info.progress = &reader.progress;
  jpeg_mem_src(&info, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
  jpeg_read_header(&info, TRUE);
  const bool grey = info.jpeg_color_space == JCS_GRAYSCALE;
  const bool cmyk = info.jpeg_color_space == JCS_CMYK || info.jpeg_color_space == JCS_YCCK;
  info.out_color_space = grey ? JCS_GRAYSCALE : cmyk ? JCS_CMYK : JCS_RGB;
  jpeg_calc_output_dimensions(&info);
}

void readJpegRows(JpegReader& reader, std::vector<uint8_t>& samples) {
  auto& info = reader.info;
  jpeg_start_decompress(&info);
  const size_t rowBytes = static_cast<size_t>(info.output_width) * info.output_components;
  while (info.output_scanline < info.output_height) {
    JSAMPROW row = samples.data() + info.output_scanline * rowBytes;
    jpeg_read_scanlines(&info, &row, 1);
  }
  jpeg_finish_decompress(&info);
}

/// In place, from the samples of four inks; programs that write the Adobe marker store them inverted.
void convertCmyk(Image& image, bool inverted) {
  const size_t pixels = image.pixels.size() / 4;
  for (size_t i = 0; i < pixels; ++i) {
    const uint8_t* ink = &image.pixels[4 * i];
    const int paper = inverted ? ink[3] : 255 - ink[3];
    uint8_t rgb[3];
    for (int c = 0; c < 3; ++c) {
      const int light = inverted ? ink[c] : 255 - ink[c];
      rgb[c] = static_cast<uint8_t>((light * paper + 127) / 255);
    }
    for (int c = 0; c < 3; ++c) image.pixels[3 * i + c] = rgb[c];
  }
  image.channels = 3;
  image.pixels.resize(pixels * 3);
}

}  // namespace

Image decodeJpeg(std::span<const std::byte> bytes) {
  JpegReader reader;
  withErrorJump(reader, [&] { readJpegHeader(reader, bytes); });
  const auto& info = reader.info;
  requireSize(info.image_width, info.image_height);
  const uint64_t pixels = static_cast<uint64_t>(info.image_width) * info.image_height;
  requirePlausible(bytes.size(), pixels, kBestPixelsPerByte);

  Image image = makeImage(info.image_width, info.image_height, info.out_color_components);
  withErrorJump(reader, [&] { readJpegRows(reader, image.pixels); });
  if (info.out_color_space == JCS_CMYK) convertCmyk(image, info.saw_Adobe_marker != 0);
  return image;
}

}  // namespace host
