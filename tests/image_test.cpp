// Pictures in files: what goes out comes back, the same pixels give the same bytes, and no damaged, hostile
// or lost byte passes unnoticed.

#include "host/services/image.h"

#include <gtest/gtest.h>
#include <png.h>
#include <sys/resource.h>
#include <tiffio.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
// libjpeg's header needs <cstdio> before it.
#include <jpeglib.h>

#include <cstring>
#include <fstream>
#include <iterator>

namespace host {
namespace {

using Bytes = std::vector<std::byte>;

class ImageTest : public testing::Test {
 protected:
  ImageTest() {
    std::string folder = (std::filesystem::temp_directory_path() / "vesta_image_XXXXXX").string();
    folder_ = mkdtemp(folder.data());
  }
  ~ImageTest() override { std::filesystem::remove_all(folder_); }
  std::filesystem::path path(const char* name) const { return folder_ / name; }

 private:
  std::filesystem::path folder_;
};

/// Smooth and rough parts, so that predictor and dictionary both have work.
Image testImage(int width, int height, int channels = 3) {
  Image image{width, height, channels, {}};
  uint32_t noise = 1;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      for (int c = 0; c < channels; ++c) {
        noise = noise * 1664525 + 1013904223;
        image.pixels.push_back(static_cast<uint8_t>(x * (c + 1) + y * 3 + (y % 3 == 0 ? noise >> 28 : 0)));
      }
    }
  }
  return image;
}

Bytes fileBytes(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  const std::vector<char> chars{std::istreambuf_iterator<char>(stream), {}};
  Bytes bytes(chars.size());
  std::memcpy(bytes.data(), chars.data(), chars.size());
  return bytes;
}

Bytes bytesOf(const std::vector<uint8_t>& data) {
  Bytes bytes(data.size());
  std::memcpy(bytes.data(), data.data(), data.size());
  return bytes;
}

struct PngKind {
  int colorType;
  int depth;
  bool interlaced = false;
};

/// As other programs write them: `row` holds one row as it is packed in the file, written `height` times.
Bytes makePng(int width, int height, PngKind kind, const std::vector<uint8_t>& row,
              const std::vector<png_color>& palette = {}, const std::vector<uint8_t>& paletteAlpha = {}) {
  std::vector<uint8_t> out;
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  png_set_write_fn(
      png, &out,
      [](png_structp p, png_bytep data, size_t count) {
        auto& to = *static_cast<std::vector<uint8_t>*>(png_get_io_ptr(p));
        to.insert(to.end(), data, data + count);
      },
      nullptr);
  png_set_IHDR(png, info, width, height, kind.depth, kind.colorType,
               kind.interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
               PNG_FILTER_TYPE_DEFAULT);
  if (!palette.empty()) png_set_PLTE(png, info, palette.data(), static_cast<int>(palette.size()));
  if (!paletteAlpha.empty()) {
    png_set_tRNS(png, info, paletteAlpha.data(), static_cast<int>(paletteAlpha.size()), nullptr);
  }
  png_write_info(png, info);
  const int passes = kind.interlaced ? png_set_interlace_handling(png) : 1;
  for (int y = 0; y < passes * height; ++y) png_write_row(png, row.data());
  png_write_end(png, nullptr);
  png_destroy_write_struct(&png, &info);
  return bytesOf(out);
}

Bytes makeJpeg(const Image& image, J_COLOR_SPACE space, bool progressive = false) {
  jpeg_compress_struct info{};
  jpeg_error_mgr errors{};
  info.err = jpeg_std_error(&errors);
  jpeg_create_compress(&info);
  unsigned char* data = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&info, &data, &size);
  info.image_width = image.width;
  info.image_height = image.height;
  info.input_components = image.channels;
  info.in_color_space = space;
  jpeg_set_defaults(&info);
  jpeg_set_quality(&info, 95, TRUE);
  if (progressive) jpeg_simple_progression(&info);
  jpeg_start_compress(&info, TRUE);
  for (int y = 0; y < image.height; ++y) {
    auto* row = const_cast<uint8_t*>(&image.pixels[static_cast<size_t>(y) * image.width * image.channels]);
    jpeg_write_scanlines(&info, &row, 1);
  }
  jpeg_finish_compress(&info);
  jpeg_destroy_compress(&info);
  Bytes bytes = bytesOf({data, data + size});
  std::free(data);
  return bytes;
}

std::vector<uint8_t> firstPixel(const Image& image) {
  return {image.pixels.begin(), image.pixels.begin() + image.channels};
}

/// 0, or the first length at which the beginning of `bytes` was taken for a picture.
size_t acceptedTruncation(const Bytes& bytes, size_t step) {
  for (size_t length = 0; length < bytes.size(); length += step) {
    try {
      decodeImage({bytes.data(), length});
      return length;
    } catch (const ImageError&) {
    }
  }
  return 0;
}

void put32(Bytes& bytes, size_t at, uint32_t value, bool bigEndian) {
  for (int i = 0; i < 4; ++i) {
    bytes.at(at + i) = static_cast<std::byte>(value >> (bigEndian ? 24 - 8 * i : 8 * i));
  }
}

TEST_F(ImageTest, TiffComesBackAndIsTheSameBytesEachTime) {
  for (const auto compression : {TiffCompression::None, TiffCompression::Lzw, TiffCompression::Zip}) {
    for (const Image& image : {testImage(1, 1), testImage(333, 257), testImage(3, 5000)}) {
      writeTiff(path("a.tif"), image, compression);
      writeTiff(path("b.tif"), image, compression);
      EXPECT_EQ(fileBytes(path("a.tif")), fileBytes(path("b.tif")));
      const Image back = readImage(path("a.tif"));
      EXPECT_EQ(back.channels, 3);
      EXPECT_EQ(back.width, image.width);
      EXPECT_EQ(back.pixels, image.pixels);
    }
  }
}

TEST_F(ImageTest, TiffSaysHowItIsCompressedAndNothingOfTheDate) {
  struct Row {
    TiffCompression compression;
    uint16_t tag;
  };
  for (const Row& row :
       {Row{TiffCompression::None, COMPRESSION_NONE}, Row{TiffCompression::Lzw, COMPRESSION_LZW},
        Row{TiffCompression::Zip, COMPRESSION_ADOBE_DEFLATE}}) {
    writeTiff(path("a.tif"), testImage(64, 64), row.compression);
    TIFF* tiff = TIFFOpen(path("a.tif").c_str(), "r");
    ASSERT_NE(tiff, nullptr);
    uint16_t tag = 0;
    TIFFGetField(tiff, TIFFTAG_COMPRESSION, &tag);
    EXPECT_EQ(tag, row.tag);
    uint16_t predictor = PREDICTOR_NONE;
    TIFFGetField(tiff, TIFFTAG_PREDICTOR, &predictor);
    EXPECT_EQ(predictor, row.tag == COMPRESSION_NONE ? PREDICTOR_NONE : PREDICTOR_HORIZONTAL);
    const char* date = nullptr;
    EXPECT_FALSE(TIFFGetField(tiff, TIFFTAG_DATETIME, &date));
    TIFFClose(tiff);
  }
}

TEST_F(ImageTest, OtherTiffLayoutsAreConverted) {
  const auto make = [&](uint16_t bits, uint16_t samples, uint16_t planar, std::vector<uint8_t> data,
                        uint16_t orientation = ORIENTATION_TOPLEFT) {
    TIFF* tiff = TIFFOpen(path("other.tif").c_str(), "w");
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, 2);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, 1);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, samples);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, samples > 2 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, planar);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, orientation);
    const uint16_t straight = EXTRASAMPLE_UNASSALPHA;
    if (samples == 4) TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &straight);
    const int planes = planar == PLANARCONFIG_SEPARATE ? samples : 1;
    const size_t each = data.size() / planes;
    for (int plane = 0; plane < planes; ++plane) {
      TIFFWriteEncodedStrip(tiff, plane, data.data() + plane * each, static_cast<tmsize_t>(each));
    }
    TIFFClose(tiff);
    return readImage(path("other.tif"));
  };
  using Pixels = std::vector<uint8_t>;
  const Image grey = make(8, 1, PLANARCONFIG_CONTIG, {7, 200});
  EXPECT_EQ(grey.channels, 1);
  EXPECT_EQ(grey.pixels, (Pixels{7, 200}));
  const Image flipped = make(8, 1, PLANARCONFIG_CONTIG, {7, 200}, ORIENTATION_TOPRIGHT);
  EXPECT_EQ(flipped.pixels, (Pixels{200, 200, 200, 7, 7, 7}));
  const Image alpha = make(8, 4, PLANARCONFIG_CONTIG, {250, 10, 20, 3, 4, 5, 6, 255});
  EXPECT_EQ(alpha.channels, 4);
  EXPECT_EQ(alpha.pixels, (Pixels{250, 10, 20, 3, 4, 5, 6, 255}));
  const Image planes = make(8, 3, PLANARCONFIG_SEPARATE, {1, 2, 3, 4, 5, 6});
  EXPECT_EQ(planes.pixels, (Pixels{1, 3, 5, 2, 4, 6}));
  const Image deep = make(16, 3, PLANARCONFIG_CONTIG, {0, 255, 255, 255, 0, 0, 0, 0, 0, 0, 255, 255});
  EXPECT_EQ(deep.pixels, (Pixels{254, 255, 0, 0, 0, 255}));
}

TEST_F(ImageTest, PngVariantsHaveTheirChannels) {
  const std::vector<png_color> palette{{10, 20, 30}, {40, 50, 60}};
  struct Row {
    const char* name;
    Bytes png;
    std::vector<uint8_t> pixel;
  };
  const std::vector<Row> rows{
      {"grey", makePng(2, 2, {PNG_COLOR_TYPE_GRAY, 8}, {90, 1}), {90}},
      {"1-bit grey", makePng(2, 2, {PNG_COLOR_TYPE_GRAY, 1}, {0x80}), {255}},
      {"grey and alpha", makePng(1, 1, {PNG_COLOR_TYPE_GRAY_ALPHA, 8}, {90, 7}), {90, 7}},
      {"RGB", makePng(1, 1, {PNG_COLOR_TYPE_RGB, 8}, {1, 2, 3}), {1, 2, 3}},
      {"RGB, interlaced", makePng(1, 3, {PNG_COLOR_TYPE_RGB, 8, true}, {1, 2, 3}), {1, 2, 3}},
      {"straight alpha", makePng(1, 1, {PNG_COLOR_TYPE_RGBA, 8}, {200, 100, 50, 3}), {200, 100, 50, 3}},
      {"16 bits", makePng(1, 1, {PNG_COLOR_TYPE_RGB, 16}, {1, 255, 2, 0, 3, 0}), {1, 2, 3}},
      {"palette", makePng(2, 2, {PNG_COLOR_TYPE_PALETTE, 1}, {0x80}, palette), {40, 50, 60}},
      {"palette, alpha",
       makePng(2, 2, {PNG_COLOR_TYPE_PALETTE, 8}, {1, 0}, palette, {255, 9}),
       {40, 50, 60, 9}},
  };
  for (const Row& row : rows) {
    const Image image = decodeImage(row.png);
    EXPECT_EQ(firstPixel(image), row.pixel) << row.name;
    EXPECT_EQ(image.pixels.size(), static_cast<size_t>(image.width) * image.height * image.channels)
        << row.name;
  }
}

TEST_F(ImageTest, WrittenPngComesBack) {
  const Image image = testImage(123, 45);
  writePng(path("a.png"), image);
  writePng(path("b.png"), image);
  EXPECT_EQ(fileBytes(path("a.png")), fileBytes(path("b.png")));
  EXPECT_EQ(readImage(path("a.png")).pixels, image.pixels);
}

TEST_F(ImageTest, JpegColourSpacesTurnToRgb) {
  const auto flat = [](std::vector<uint8_t> pixel) {
    Image image{16, 16, static_cast<int>(pixel.size()), {}};
    for (int i = 0; i < 256; ++i) image.pixels.insert(image.pixels.end(), pixel.begin(), pixel.end());
    return image;
  };
  const auto expectNear = [](const Image& image, std::vector<int> expected) {
    ASSERT_EQ(image.channels, static_cast<int>(expected.size()));
    for (size_t c = 0; c < expected.size(); ++c)
      EXPECT_NEAR(image.pixels[c], expected[c], 3) << "channel " << c;
  };
  expectNear(decodeImage(makeJpeg(flat({200, 100, 50}), JCS_RGB)), {200, 100, 50});
  expectNear(decodeImage(makeJpeg(flat({200, 100, 50}), JCS_RGB, true)), {200, 100, 50});
  expectNear(decodeImage(makeJpeg(flat({77}), JCS_GRAYSCALE)), {77});
  // libjpeg writes the Adobe marker, with which inks are inverted: no cyan, half yellow, a fifth black.
  expectNear(decodeImage(makeJpeg(flat({255, 255, 128, 204}), JCS_CMYK)), {204, 204, 102});
}

TEST_F(ImageTest, TruncatedPicturesAreErrors) {
  const Image image = testImage(40, 30);
  writePng(path("a.png"), image);
  EXPECT_EQ(acceptedTruncation(fileBytes(path("a.png")), 1), 0U);
  for (const auto compression : {TiffCompression::None, TiffCompression::Lzw, TiffCompression::Zip}) {
    writeTiff(path("a.tif"), image, compression);
    EXPECT_EQ(acceptedTruncation(fileBytes(path("a.tif")), 1), 0U);
  }
  // The last two bytes only mark the end; libjpeg can do without.
  for (const bool progressive : {false, true}) {
    Bytes jpeg = makeJpeg(image, JCS_RGB, progressive);
    jpeg.resize(jpeg.size() - 2);
    EXPECT_EQ(acceptedTruncation(jpeg, 1), 0U) << progressive;
  }
}

TEST_F(ImageTest, TiffWithDamagedOrMissingStripsIsAnError) {
  for (const auto compression : {TiffCompression::Lzw, TiffCompression::Zip}) {
    writeTiff(path("a.tif"), testImage(40, 30), compression);
    Bytes tiff = fileBytes(path("a.tif"));
    std::fill_n(tiff.begin() + 8, 100, std::byte{0xFF});
    EXPECT_THROW(decodeImage(tiff), ImageError);
  }
  writeTiff(path("a.tif"), testImage(40, 30), TiffCompression::None);
  Bytes tiff = fileBytes(path("a.tif"));
  uint32_t entry = 0;
  std::memcpy(&entry, &tiff[4], 4);
  entry += 2;
  while (tiff[entry] != std::byte{TIFFTAG_STRIPOFFSETS & 0xFF}) entry += 12;
  put32(tiff, entry + 8, static_cast<uint32_t>(tiff.size()) - 10, false);
  EXPECT_THROW(decodeImage(tiff), ImageError);
}

TEST_F(ImageTest, ChangedBytesNeverCrash) {
  writePng(path("a.png"), testImage(20, 20));
  writeTiff(path("a.tif"), testImage(20, 20), TiffCompression::Lzw);
  const std::vector<Bytes> originals{fileBytes(path("a.png")), fileBytes(path("a.tif")),
                                     makeJpeg(testImage(20, 20), JCS_RGB)};
  int errors = 0;
  for (const Bytes& original : originals) {
    for (size_t at = 0; at < original.size(); ++at) {
      for (const int value : {0, 255}) {
        Bytes changed = original;
        changed[at] = static_cast<std::byte>(value);
        try {
          decodeImage(changed);
        } catch (const ImageError& error) {
          ++errors;
          EXPECT_STRNE(error.what(), "");
        }
      }
    }
  }
  EXPECT_GT(errors, 100);
}

TEST_F(ImageTest, HugeClaimsOfSmallFilesAreErrorsAndTakeNoMemory) {
  const auto peakMegabytes = [] {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss / 1024;
  };
  const long before = peakMegabytes();
  Bytes jpeg = makeJpeg(testImage(16, 16), JCS_RGB);
  size_t frame = 0;
  while (jpeg[frame] != std::byte{0xFF} || jpeg[frame + 1] != std::byte{0xC0}) ++frame;
  put32(jpeg, frame + 5, 0xFFFFFFFFU, true);  // height and width
  EXPECT_THROW(decodeImage(jpeg), ImageError);
  put32(jpeg, frame + 5, 0x3FFF3FFFU, true);  // within the limits, but not with so few bytes
  EXPECT_THROW(decodeImage(jpeg), ImageError);

  for (const uint32_t side : {65535U, 16384U}) {
    Bytes png = makePng(4, 4, {PNG_COLOR_TYPE_GRAY, 8}, {1, 2, 3, 4});
    // The header chunk's checksum covers the size, so it is made anew.
    put32(png, 16, side, true);
    put32(png, 20, side, true);
    uint32_t crc = 0xFFFFFFFFU;
    for (size_t i = 12; i < 29; ++i) {
      crc ^= static_cast<uint32_t>(png[i]);
      for (int bit = 0; bit < 8; ++bit) crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320U : 0);
    }
    put32(png, 29, ~crc, true);
    EXPECT_THROW(decodeImage(png), ImageError);
  }

  for (const auto compression : {TiffCompression::None, TiffCompression::Lzw, TiffCompression::Zip}) {
    writeTiff(path("a.tif"), testImage(40, 30), compression);
    Bytes tiff = fileBytes(path("a.tif"));
    uint32_t directory = 0;
    std::memcpy(&directory, &tiff[4], 4);
    for (const uint32_t side : {65535U, 16384U, 0x80000000U}) {
      // The first two entries are width and length.
      put32(tiff, directory + 2 + 2, 0x00000004, false);  // type and count
      put32(tiff, directory + 2 + 4, 1, false);
      put32(tiff, directory + 2 + 8, side, false);
      put32(tiff, directory + 14 + 2, 0x00000004, false);
      put32(tiff, directory + 14 + 4, 1, false);
      put32(tiff, directory + 14 + 8, side, false);
      EXPECT_THROW(decodeImage(tiff), ImageError) << side;
    }
  }
  EXPECT_LT(peakMegabytes() - before, 100);
}

TEST_F(ImageTest, MorePixelsThanAllowedAreAnErrorHoweverWellTheyPack) {
  TIFF* tiff = TIFFOpen(path("fax.tif").c_str(), "w");
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, 40000);
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, 40000);
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 1);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
  TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX4);
  std::vector<uint8_t> white(5000, 0xFF);
  TIFFWriteRawStrip(tiff, 0, white.data(), 5000);
  TIFFClose(tiff);
  EXPECT_THROW(readImage(path("fax.tif")), ImageError);
}

TEST_F(ImageTest, WhatIsNoPictureIsAnError) {
  EXPECT_THROW(decodeImage({}), ImageError);
  EXPECT_THROW(decodeImage(bytesOf({'G', 'I', 'F', '8', '9', 'a', 0, 0})), ImageError);
  EXPECT_THROW(readImage(path("missing.png")), ImageError);
  EXPECT_THROW(readImage(path(".")), ImageError);
  EXPECT_THROW(readImage("/dev/zero"), ImageError);
  EXPECT_THROW(writePng(path("a.png"), testImage(4, 4, 4)), ImageError);
  EXPECT_THROW(writeTiff(path("a.tif"), Image{}, TiffCompression::None), ImageError);
  EXPECT_THROW(writeTiff(path("no/folder/a.tif"), testImage(4, 4), TiffCompression::None), ImageError);
}

TEST_F(ImageTest, FullDisksAreErrors) {
  const auto reason = [](auto write) -> std::string {
    try {
      write();
    } catch (const ImageError& error) {
      return error.what();
    }
    return "written";
  };
  // Small pictures too: their bytes reach the disk only when the file is closed.
  for (const Image& image : {testImage(4, 4), testImage(300, 300)}) {
    for (const auto compression : {TiffCompression::None, TiffCompression::Lzw, TiffCompression::Zip}) {
      EXPECT_EQ(reason([&] { writeTiff("/dev/full", image, compression); }), std::strerror(ENOSPC));
    }
    EXPECT_NE(reason([&] { writePng("/dev/full", image); }), "written");
  }
}

TEST_F(ImageTest, FileSizeLimitIsAnErrorAtEveryByte) {
  const Image image = testImage(40, 30);
  writeTiff(path("whole.tif"), image, TiffCompression::Lzw);
  const auto size = std::filesystem::file_size(path("whole.tif"));
  rlimit old{};
  getrlimit(RLIMIT_FSIZE, &old);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  for (rlim_t limit = 0; limit < size; limit += 97) {
    const rlimit small{limit, old.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    bool failed = false;
    try {
      writeTiff(path("cut.tif"), image, TiffCompression::Lzw);
    } catch (const ImageError&) {
      failed = true;
    }
    setrlimit(RLIMIT_FSIZE, &old);
    EXPECT_TRUE(failed) << limit;
  }
  std::signal(SIGXFSZ, handler);
}

}  // namespace
}  // namespace host
