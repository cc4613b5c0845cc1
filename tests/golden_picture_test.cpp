// Small pictures of the example scenes as they were when somebody looked at them and found them right.
// Libraries may change a pixel here and there; a wrong normal, light or texture changes many.
//
// After a change that is meant: VESTA_WRITE_PICTURES=1 build/dev/tests/vesta_tests --gtest_filter='Golden*',
// and a look at what git says has changed in tests/data/pictures.

#include <gtest/gtest.h>

#include <cstdlib>

#include "host/document/document.h"
#include "host/render/document_renderer.h"

namespace host {
namespace {

namespace fs = std::filesystem;

constexpr int kWidth = 128, kHeight = 72;

struct Golden {
  const char* scene;  // of the examples
  RendererId renderer;
  const char* name;
};

constexpr Golden kGolden[] = {{"light/marbles", RendererId::Standard, "marbles-standard"},
                              {"surface/layers", RendererId::Standard, "layers-standard"},
                              {"surface/garden", RendererId::Preview, "garden-preview"},
                              {"light/vitrine", RendererId::Physical, "vitrine-physical"},
                              {"surface/mirrors", RendererId::OpenGl, "mirrors-opengl"},
                              {"tree/reeds", RendererId::OpenGl, "reeds-opengl"}};

/// Empty where the machine has no driver for it.
Image pictureOf(const Golden& golden) try {
  Document document(fs::path(VESTA_TEST_EXAMPLES) / (std::string(golden.scene) + ".vesta"));
  document.renderSettings().set(render_setting::kRenderer, static_cast<int32_t>(golden.renderer));
  RenderRequest request;
  request.width = kWidth;
  request.height = kHeight;
  return DocumentRenderer(document).render(document.renderSettings(), request);
} catch (const std::runtime_error& error) {
  if (std::string(error.what()).starts_with("OpenGL is not available")) return {};
  throw;
}

TEST(GoldenPictures, LookAsTheyDid) {
  for (const Golden& golden : kGolden) {
    const fs::path file = fs::path(VESTA_TEST_DATA) / "pictures" / (std::string(golden.name) + ".png");
    const Image now = pictureOf(golden);
    if (now.pixels.empty()) continue;
    if (std::getenv("VESTA_WRITE_PICTURES") != nullptr) writePng(file, now);
    const Image then = readImage(file);
    ASSERT_EQ(now.pixels.size(), then.pixels.size()) << golden.name;
    int64_t sum = 0;
    int far = 0;
    for (size_t i = 0; i < now.pixels.size(); ++i) {
      const int difference = std::abs(now.pixels[i] - then.pixels[i]);
      sum += difference;
      far += difference > 12 ? 1 : 0;
    }
    EXPECT_LT(static_cast<double>(sum) / static_cast<double>(now.pixels.size()), 0.3) << golden.name;
    EXPECT_LT(far, static_cast<int>(now.pixels.size()) / 200) << golden.name;
  }
}

}  // namespace
}  // namespace host
