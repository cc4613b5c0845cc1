// The libraries that can change a pixel or a byte of a picture.

#include <png.h>
#include <tbb/version.h>
#include <tiffio.h>

#include <cstdio>
// libjpeg's header needs <cstdio> before it.
#include <jpeglib.h>

#include "host/render/opengl.h"
#include "host/render/trace.h"

#define VESTA_STRING(text) #text
#define VESTA_EXPANDED(macro) VESTA_STRING(macro)

namespace host {
namespace {

/// libtiff answers "LIBTIFF, Version 4.5.0" and lines of copyright.
std::string tiffVersion() {
  const std::string text = TIFFGetVersion();
  const size_t from = text.find("Version ");
  return from == std::string::npos ? "unknown" : text.substr(from + 8, text.find('\n') - from - 8);
}

std::string jpegVersion() {
#ifdef LIBJPEG_TURBO_VERSION
  return "libjpeg-turbo " VESTA_EXPANDED(LIBJPEG_TURBO_VERSION);
#else
  return "libjpeg " VESTA_EXPANDED(JPEG_LIB_VERSION);
#endif
}

}  // namespace

std::vector<std::string> renderFacts() {
  std::vector<std::string> facts = traceFacts();
  facts.push_back("tbb " + std::string(TBB_runtime_version()));
  facts.push_back("libtiff " + tiffVersion());
  facts.push_back("libpng " + std::string(png_get_libpng_ver(nullptr)));
  facts.push_back(jpegVersion());
  if (const std::string driver = openGlFact(); !driver.empty()) facts.push_back(driver);
  return facts;
}

}  // namespace host
