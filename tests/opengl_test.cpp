// Pictures that OpenGL drew: the same bytes however it is divided up, threads, stops, and no driver.

#include "host/render/opengl.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "tests/support/pictures.h"
#include "tests/support/program_test.h"

namespace host {

namespace {

RenderRequest requestOf(int width, int height) {
  RenderRequest request;
  request.width = width;
  request.height = height;
  return request;
}

class OpenGl : public testing::Test {
 protected:
  void SetUp() override {
    try {
      const Scene scene = orthographicScene(1, 1);
      OpenGlRenderer(scene).render(requestOf(1, 1));
    } catch (const std::runtime_error& error) {
      GTEST_SKIP() << error.what();
    }
  }
};

TEST_F(OpenGl, TilesAndBatchesDoNotShow) {
  Scene scene = richScene();
  // The last thing drawn in a tile is mirrored and must not turn the next tile's sky inside out.
  add(scene, squareMesh(0.3F), matt({1, 0, 0, 1}), moved({-1, 2, 0}) * scaled({-1, 1, 1}));
  const RenderRequest request = requestOf(100, 70);
  const Image whole = OpenGlRenderer(scene).render(request);
  for (const OpenGlLimits limits : {OpenGlLimits{32, 2e6}, OpenGlLimits{1024, 50}, OpenGlLimits{17, 1}}) {
    const Image parts = OpenGlRenderer(scene, limits).render(request);
    int far = 0;
    for (size_t i = 0; i < whole.pixels.size(); ++i) {
      far += std::abs(whole.pixels[i] - parts.pixels[i]) > 1 ? 1 : 0;
    }
    // A tile has a projection of its own, so an edge may fall to the other side of a sample.
    EXPECT_LE(far, limits.tile == 1024 ? 0 : 40) << limits.tile << ", " << limits.batch;
  }
}

TEST_F(OpenGl, OneRendererServesThreadsOneAfterTheOther) {
  const Scene scene = richScene();
  OpenGlRenderer renderer(scene);
  const Image first = renderer.render(requestOf(40, 30));
  for (int i = 0; i < 4; ++i) {
    std::thread([&] { EXPECT_EQ(renderer.render(requestOf(40, 30)).pixels, first.pixels) << i; }).join();
  }
  renderer.render(requestOf(64, 8));
  EXPECT_EQ(renderer.render(requestOf(40, 30)).pixels, first.pixels) << "after another size";
  for (int i = 0; i < 100; ++i) renderer.render(requestOf(4, 3));
  EXPECT_EQ(renderer.render(requestOf(40, 30)).pixels, first.pixels) << "after a hundred others";
}

TEST_F(OpenGl, AStopEndsItAndTheNextRenderIsWhole) {
  const Scene scene = richScene();
  OpenGlRenderer renderer(scene, {32, 1000});
  RenderRequest request = requestOf(96, 96);
  const Image whole = renderer.render(request);
  int asked = 0;
  request.stopped = [&] {
    ++asked;
    return false;
  };
  renderer.render(request);
  // Wherever it is stopped, it stops at once, and nothing of it is left in the next picture.
  for (const int at : {1, 2, asked / 3, asked / 2, asked}) {
    int turn = 0;
    request.stopped = [&] { return ++turn >= at; };
    EXPECT_THROW(renderer.render(request), RenderStopped) << at;
    EXPECT_EQ(turn, at);
    request.stopped = [] { return false; };
    EXPECT_EQ(renderer.render(request).pixels, whole.pixels) << at;
  }
}

TEST_F(OpenGl, TheDriverIsAFactOfTheRun) {
  const std::vector<std::string> facts = renderFacts();
  EXPECT_TRUE(std::any_of(facts.begin(), facts.end(),
                          [](const std::string& fact) { return fact.starts_with("opengl "); }));
}

class ProgramOpenGl : public test::ProgramTest {};

TEST_F(ProgramOpenGl, WithoutADriverItSaysSo) {
  const test::fs::path scene = folder / "a.vesta", picture = folder / "a.png";
  test::writeTinyScene(scene, {.renderer = 300001061});
  // The dispatch library looks for drivers in the files that this names.
  setenv("__EGL_VENDOR_LIBRARY_FILENAMES", "/nonexistent", 1);
  const test::Ended ended = vesta({"render", scene, picture});
  unsetenv("__EGL_VENDOR_LIBRARY_FILENAMES");
  EXPECT_EQ(ended.status, 1);
  EXPECT_NE(ended.err.find("OpenGL is not available: "), std::string::npos) << ended.err;
  EXPECT_FALSE(test::fs::exists(picture));
}

}  // namespace
}  // namespace host
