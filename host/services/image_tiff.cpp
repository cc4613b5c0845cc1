#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstring>

#include "host/services/image_formats.h"

namespace host {
namespace {

struct TiffCloser {
  void operator()(TIFF* tiff) const { TIFFClose(tiff); }
  void operator()(TIFFOpenOptions* options) const { TIFFOpenOptionsFree(options); }
};
using TiffHandle = std::unique_ptr<TIFF, TiffCloser>;

int keepReason(TIFF* /*tiff*/, void* reason, const char* /*module*/, const char* format, va_list arguments) {
  auto& kept = *static_cast<std::string*>(reason);
  if (!kept.empty()) return 1;  // the first one is the cause
  char text[256];
  std::vsnprintf(text, sizeof text, format, arguments);
  kept = text;
  return 1;
}

int ignoreWarning(TIFF*, void*, const char*, const char*, va_list) { return 1; }

struct TiffProcs {
  TIFFReadWriteProc read, write;
  TIFFSeekProc seek;
  TIFFCloseProc close;
  TIFFSizeProc size;
};

/// Errors go to `reason`, nothing is printed. Throws ImageError.
TiffHandle openTiff(const char* mode, void* client, const TiffProcs& procs, std::string& reason) {
  const std::unique_ptr<TIFFOpenOptions, TiffCloser> options(TIFFOpenOptionsAlloc());
  if (!options) throw ImageError("not enough memory for the picture");
  TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), 4 * kMaxImagePixels);
  TIFFOpenOptionsSetErrorHandlerExtR(options.get(), keepReason, &reason);
  TIFFOpenOptionsSetWarningHandlerExtR(options.get(), ignoreWarning, nullptr);
  TIFF* tiff = TIFFClientOpenExt("picture", mode, client, procs.read, procs.write, procs.seek, procs.close,
                                 procs.size, nullptr, nullptr, options.get());
  if (!tiff) throw ImageError(reason.empty() ? "the picture cannot be opened" : reason);
  return TiffHandle(tiff);
}

[[noreturn]] void failTiff(const std::string& reason) {
  throw ImageError(reason.empty() ? "the picture's data is damaged" : reason);
}

template <class T>
T tiffField(TIFF* tiff, uint32_t tag) {
  T value{};
  TIFFGetFieldDefaulted(tiff, tag, &value);
  return value;
}

// Reading.

struct MemorySource {
  std::span<const std::byte> bytes;
  uint64_t at = 0;
};

tmsize_t readMemory(thandle_t client, void* to, tmsize_t count) {
  auto& source = *static_cast<MemorySource*>(client);
  if (source.at >= source.bytes.size() || count <= 0) return 0;
  const size_t n = std::min<uint64_t>(count, source.bytes.size() - source.at);
  std::memcpy(to, source.bytes.data() + source.at, n);
  source.at += n;
  return static_cast<tmsize_t>(n);
}

toff_t seekMemory(thandle_t client, toff_t offset, int whence) {
  auto& source = *static_cast<MemorySource*>(client);
  const uint64_t base = whence == SEEK_CUR ? source.at : whence == SEEK_END ? source.bytes.size() : 0;
  return source.at = base + offset;
}

constexpr TiffProcs kMemoryProcs{
    readMemory, [](thandle_t, void*, tmsize_t) -> tmsize_t { return -1; }, seekMemory,
    [](thandle_t) { return 0; },
    [](thandle_t client) -> toff_t { return static_cast<MemorySource*>(client)->bytes.size(); }};

/// How many bytes one byte can stand for at most; 0: no such limit.
uint64_t bestTiffRatio(uint16_t compression) {
  switch (compression) {
    case COMPRESSION_NONE:
      return 1;
    case COMPRESSION_PACKBITS:
      return 64;
    case COMPRESSION_LZW:
      return 4096;
    case COMPRESSION_ADOBE_DEFLATE:
    case COMPRESSION_DEFLATE:
      return 1032;
    default:
      return 0;
  }
}

/// Channels of an Image whose pixels are laid out as the file's samples are; 0 when they must be converted.
int plainChannels(TIFF* tiff) {
  const auto photometric = tiffField<uint16_t>(tiff, TIFFTAG_PHOTOMETRIC);
  const auto samples = tiffField<uint16_t>(tiff, TIFFTAG_SAMPLESPERPIXEL);
  const int colors = photometric == PHOTOMETRIC_RGB ? 3 : photometric == PHOTOMETRIC_MINISBLACK ? 1 : 0;
  const bool plain = tiffField<uint16_t>(tiff, TIFFTAG_BITSPERSAMPLE) == 8 &&
                     tiffField<uint16_t>(tiff, TIFFTAG_SAMPLEFORMAT) == SAMPLEFORMAT_UINT &&
                     tiffField<uint16_t>(tiff, TIFFTAG_PLANARCONFIG) == PLANARCONFIG_CONTIG &&
                     tiffField<uint16_t>(tiff, TIFFTAG_ORIENTATION) == ORIENTATION_TOPLEFT &&
                     !TIFFIsTiled(tiff);
  if (!plain || colors == 0) return 0;
  if (samples == colors) return colors;
  uint16_t extras = 0;
  const uint16_t* kinds = nullptr;
  TIFFGetFieldDefaulted(tiff, TIFFTAG_EXTRASAMPLES, &extras, &kinds);
  const bool straightAlpha = extras == 1 && kinds[0] == EXTRASAMPLE_UNASSALPHA;
  return samples == colors + 1 && straightAlpha ? samples : 0;
}

/// Strips straight into the picture.
void readPlainStrips(TIFF* tiff, Image& image, const std::string& reason) {
  const size_t rowBytes = static_cast<size_t>(image.width) * image.channels;
  const auto rows = std::clamp<uint32_t>(tiffField<uint32_t>(tiff, TIFFTAG_ROWSPERSTRIP), 1, image.height);
  for (uint32_t y = 0, strip = 0; y < static_cast<uint32_t>(image.height); y += rows, ++strip) {
    const size_t want = rowBytes * std::min<uint32_t>(rows, image.height - y);
    uint8_t* to = image.pixels.data() + y * rowBytes;
    const tmsize_t got = TIFFReadEncodedStrip(tiff, strip, to, static_cast<tmsize_t>(want));
    if (got != static_cast<tmsize_t>(want)) failTiff(reason);
  }
}

/// Any other layout, through libtiff's converter, which multiplies colours by alpha.
Image readConverted(TIFF* tiff, uint32_t width, uint32_t height, const std::string& reason) {
  char why[1024] = "";
  if (!TIFFRGBAImageOK(tiff, why)) throw ImageError(why);
  const auto raster = std::make_unique<uint32_t[]>(static_cast<size_t>(width) * height);
  if (!TIFFReadRGBAImageOriented(tiff, width, height, raster.get(), ORIENTATION_TOPLEFT, 1)) failTiff(reason);

  uint16_t extras = 0;
  const uint16_t* kinds = nullptr;
  TIFFGetFieldDefaulted(tiff, TIFFTAG_EXTRASAMPLES, &extras, &kinds);
  Image image = makeImage(width, height, extras > 0 ? 4 : 3);
  uint8_t* to = image.pixels.data();
  for (size_t i = 0; i < static_cast<size_t>(width) * height; ++i, to += image.channels) {
    const uint32_t alpha = TIFFGetA(raster[i]);
    const uint32_t colors[3] = {TIFFGetR(raster[i]), TIFFGetG(raster[i]), TIFFGetB(raster[i])};
    for (int c = 0; c < 3; ++c) {
      const bool divide = extras > 0 && alpha != 0;
      const uint32_t straight = divide ? (colors[c] * 255 + alpha / 2) / alpha : colors[c];
      to[c] = static_cast<uint8_t>(std::min<uint32_t>(straight, 255));
    }
    if (extras > 0) to[3] = static_cast<uint8_t>(alpha);
  }
  return image;
}

// Writing.

struct FileSink {
  std::FILE* stream;
  bool failed = false;
  int reason = 0;  // errno

  bool check(bool good) {
    if (!good && !failed) reason = errno;
    failed = failed || !good;
    return good;
  }
};

tmsize_t writeFile(thandle_t client, void* from, tmsize_t count) {
  auto& sink = *static_cast<FileSink*>(client);
  const size_t n = std::fwrite(from, 1, static_cast<size_t>(count), sink.stream);
  sink.check(n == static_cast<size_t>(count));
  return static_cast<tmsize_t>(n);
}

toff_t seekFile(thandle_t client, toff_t offset, int whence) {
  auto& sink = *static_cast<FileSink*>(client);
  const bool good = sink.check(fseeko(sink.stream, static_cast<off_t>(offset), whence) == 0);
  return good ? static_cast<toff_t>(ftello(sink.stream)) : static_cast<toff_t>(-1);
}

constexpr TiffProcs kFileProcs{[](thandle_t, void*, tmsize_t) -> tmsize_t { return -1; }, writeFile, seekFile,
                               [](thandle_t) { return 0; }, [](thandle_t) -> toff_t { return 0; }};

/// Rows a strip: one strip of a plain picture goes to the file in one piece; packed ones are cut so that a
/// reader needs little memory, small enough for the processor's cache.
uint32_t stripRows(const Image& image, TiffCompression compression) {
  const int64_t rowBytes = 3LL * image.width;
  const int64_t stripBytes = compression == TiffCompression::None ? 1 << 20 : 1 << 17;
  return static_cast<uint32_t>(std::clamp<int64_t>(stripBytes / rowBytes, 1, image.height));
}

void setTiffFields(TIFF* tiff, const Image& image, TiffCompression compression) {
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, image.width);
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, image.height);
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 3);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
  TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
  TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, stripRows(image, compression));
  if (compression == TiffCompression::None) {
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    return;
  }
  const bool lzw = compression == TiffCompression::Lzw;
  TIFFSetField(tiff, TIFFTAG_COMPRESSION, lzw ? COMPRESSION_LZW : COMPRESSION_ADOBE_DEFLATE);
  TIFFSetField(tiff, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
}

void writeStrips(TIFF* tiff, const Image& image, const std::string& reason) {
  const size_t rowBytes = 3ULL * image.width;
  const auto rows = tiffField<uint32_t>(tiff, TIFFTAG_ROWSPERSTRIP);
  std::vector<uint8_t> strip;  // the predictor works in place
  for (uint32_t y = 0, index = 0; y < static_cast<uint32_t>(image.height); y += rows, ++index) {
    const size_t count = rowBytes * std::min<uint32_t>(rows, image.height - y);
    const uint8_t* from = image.pixels.data() + y * rowBytes;
    strip.assign(from, from + count);
    if (TIFFWriteEncodedStrip(tiff, index, strip.data(), static_cast<tmsize_t>(count)) < 0) failTiff(reason);
  }
}

}  // namespace

Image decodeTiff(std::span<const std::byte> bytes) {
  MemorySource source{bytes};
  std::string reason;
  const TiffHandle tiff = openTiff("rm", &source, kMemoryProcs, reason);
  const auto width = tiffField<uint32_t>(tiff.get(), TIFFTAG_IMAGEWIDTH);
  const auto height = tiffField<uint32_t>(tiff.get(), TIFFTAG_IMAGELENGTH);
  requireSize(width, height);
  if (const uint64_t ratio = bestTiffRatio(tiffField<uint16_t>(tiff.get(), TIFFTAG_COMPRESSION))) {
    requirePlausible(bytes.size(), static_cast<uint64_t>(TIFFScanlineSize64(tiff.get())) * height, ratio);
  }
  const int channels = plainChannels(tiff.get());
  if (channels == 0) return readConverted(tiff.get(), width, height, reason);
  Image image = makeImage(width, height, channels);
  readPlainStrips(tiff.get(), image, reason);
  return image;
}

void writeTiff(const std::filesystem::path& file, const Image& image, TiffCompression compression) {
  requireRgb(image);
  OutputFile output(file);
  FileSink sink{output.stream()};
  std::string reason;
  try {
    const TiffHandle tiff = openTiff("w", &sink, kFileProcs, reason);
    setTiffFields(tiff.get(), image, compression);
    writeStrips(tiff.get(), image, reason);
    if (!TIFFFlush(tiff.get())) failTiff(reason);
  } catch (const ImageError&) {
    if (!sink.failed) throw;
  }
  // What libtiff writes while it closes has no other way to tell of its failure.
  if (sink.failed) throw ImageError(std::strerror(sink.reason));
  output.close();
}

}  // namespace host
