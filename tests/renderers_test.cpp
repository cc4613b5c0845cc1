// What every renderer owes to the same scene. Surfaces are unlit or lit so that no renderer's own way with
// light shows.

#include <gtest/gtest.h>

#include "host/render/opengl.h"
#include "tests/support/pictures.h"

namespace host {
namespace {

constexpr RendererId kAll[] = {RendererId::Standard, RendererId::Preview, RendererId::Physical,
                               RendererId::OpenGl};

/// For each renderer that this machine has.
class Renderers : public testing::TestWithParam<RendererId> {
 protected:
  static RenderRequest requestOf(int width, int height) {
    RenderRequest request;
    request.width = width;
    request.height = height;
    request.toneCurve = false;
    request.exposure = 1;
    request.path.samples = 64;
    return request;
  }

  static Image picture(const Scene& scene, const RenderRequest& request) {
    if (GetParam() != RendererId::OpenGl) return renderScene(PreparedScene(scene), GetParam(), request);
    return OpenGlRenderer(scene).render(request);
  }

  void SetUp() override {
    try {
      Scene scene = orthographicScene(1, 1);
      picture(scene, requestOf(1, 1));
    } catch (const std::runtime_error& error) {
      GTEST_SKIP() << error.what();
    }
  }

  /// Part of the picture that the red, unlit things in a scene cover.
  static double redPart(const Scene& scene, int size) {
    Scene empty = scene;
    empty.instances.clear();
    const Image full = picture(scene, requestOf(size, size));
    const Image background = picture(empty, requestOf(size, size));
    double sum = 0;
    for (int i = 0; i < size * size; ++i) {
      const double behind = linear(at(background, i % size, i / size).r);
      sum += (linear(at(full, i % size, i / size).r) - behind) / (1 - behind);
    }
    return sum / (size * size);
  }
};

Material unlit(Vec4 color) {
  Material material = matt(color);
  material.unlit = true;
  return material;
}

TEST_P(Renderers, CoverWhatTheSceneCovers) {
  Scene triangle = orthographicScene(1, 1);
  Mesh mesh;
  mesh.positions = {{-1, -1, 0}, {1, -1, 0}, {-1, 1, 0}};
  mesh.indices = {0, 1, 2};
  add(triangle, mesh, unlit({1, 0, 0, 1}));
  EXPECT_NEAR(redPart(triangle, 64), 0.5, 0.01) << "half of the picture";

  Scene orthographic = orthographicScene(2, 4);
  add(orthographic, squareMesh(1), unlit({1, 0, 0, 1}));
  EXPECT_NEAR(redPart(orthographic, 64), 4.0 / 64, 0.002) << "2 x 2 metres of 8 x 8";

  Scene turn = orthographicScene(2, 2);
  add(turn, heavy(squareMesh(0.5F)), unlit({1, 0, 0, 1}), turned(Axis::Z, 30) * scaled({2, 1.5F, 1}));
  turn.instances.push_back({0, moved({0, 0, 1000})});  // behind the camera: makes it a tree of its own
  EXPECT_NEAR(redPart(turn, 64), 3.0 / 16, 0.004) << "a turned and scaled instance";
  if (GetParam() != RendererId::Preview) {  // whose own light shades it
    turn.instances[0].transform = turned(Axis::Y, 60) * scaled({2, 2, 1});
    EXPECT_NEAR(redPart(turn, 64), 2.0 / 16, 0.004) << "seen at a slant";
  }
  turn.instances[0].transform = scaled({1, 1, 0});
  turn.instances.push_back({0, moved({-1, 0, 0}) * scaled({1, 1, 0})});
  EXPECT_NEAR(redPart(turn, 64), 2.0 / 16, 0.004) << "flattened, and in two places";
  turn.instances.pop_back();
  turn.instances[0].transform = turned(Axis::Y, 180);
  EXPECT_NEAR(redPart(turn, 64), 0, 1e-6) << "single-sided, from behind";
}

TEST_P(Renderers, ShowTexelsAsTheyAre) {
  Scene scene = orthographicScene(1, 1);
  Material material = unlit({1, 1, 1, 1});
  Texture nearest;
  nearest.nearest = nearest.srgb = true;
  const std::vector<uint8_t> texels = {255, 0, 0, 10, 200, 30, 0, 0, 255, 127, 128, 129};
  material.baseColorTexture.texture = addTexture(scene, 2, 2, 3, texels, nearest);
  add(scene, squareMesh(1), material);
  const Image image = picture(scene, requestOf(16, 16));
  const Pixel expected[] = {{255, 0, 0}, {10, 200, 30}, {0, 0, 255}, {127, 128, 129}};
  for (int i = 0; i < 4; ++i) {
    const Pixel seen = at(image, i % 2 * 8 + 4, i / 2 * 8 + 4);
    const Pixel texel = expected[i];
    EXPECT_LE(std::max({std::abs(seen.r - texel.r), std::abs(seen.g - texel.g), std::abs(seen.b - texel.b)}),
              1)
        << i << ": " << seen;
  }
}

TEST_P(Renderers, MixAndCutByAlpha) {
  Scene scene = orthographicScene(1, 1);
  add(scene, squareMesh(1), unlit({0, 0, 1, 1}));
  Material pane = unlit({1, 0, 0, 0.5F});
  pane.alphaMode = AlphaMode::Blend;
  add(scene, squareMesh(1), pane, moved({0, 0, 1}));
  const Image mixed = picture(scene, requestOf(16, 16));
  Vec3 mean;
  for (int i = 0; i < 256; ++i) {
    const Pixel p = at(mixed, i % 16, i / 16);
    mean = mean + Vec3{linear(p.r), linear(p.g), linear(p.b)} * (1 / 256.0F);
  }
  const bool blends = GetParam() != RendererId::Preview;  // which shows what it hits first
  EXPECT_NEAR(mean.x, blends ? 0.5F : 1, 0.01F);
  EXPECT_NEAR(mean.y, 0, 0.01F);
  EXPECT_NEAR(mean.z, blends ? 0.5F : 0, 0.01F);

  scene.materials[1].alphaMode = AlphaMode::Mask;
  EXPECT_EQ(center(picture(scene, requestOf(8, 8))), (Pixel{255, 0, 0})) << "at the cutoff it is there";
  scene.materials[1].alphaCutoff = 0.6F;
  EXPECT_EQ(center(picture(scene, requestOf(8, 8))), (Pixel{0, 0, 255}));
}

TEST_P(Renderers, GiveTheSameBytesEachTime) {
  const Scene scene = richScene();
  RenderRequest request = requestOf(40, 30);
  request.path.samples = 4;
  const Image first = picture(scene, request);
  for (const int threads : {1, 2, 7}) {
    request.threads = threads;
    EXPECT_EQ(picture(scene, request).pixels, first.pixels) << threads << " threads";
  }
  request.threads = 0;
  // Each OpenGL picture makes a context of its own here, which takes long.
  const int more = GetParam() == RendererId::OpenGl ? 5 : 95;
  for (int i = 0; i < more; ++i) picture(scene, request);
  EXPECT_EQ(picture(scene, request).pixels, first.pixels) << "the last of many";
}

INSTANTIATE_TEST_SUITE_P(All, Renderers, testing::ValuesIn(kAll), [](const auto& test) {
  switch (test.param) {
    case RendererId::Standard:
      return "Standard";
    case RendererId::Preview:
      return "Preview";
    case RendererId::Physical:
      return "Physical";
    default:
      return "OpenGl";
  }
});

/// A white matt surface that faces a lamp of pi lux is white; at 60 degrees it is half as bright.
class LitRenderers : public Renderers {};

TEST_P(LitRenderers, LightAWhiteSurfaceByTheCosine) {
  Scene scene = orthographicScene(1, 1);
  add(scene, squareMesh(2), matt({1, 1, 1, 1}));
  scene.materials[0].specular = 0;
  RenderRequest request = requestOf(4, 4);
  request.environment = {Environment::Kind::White, 0.0F};
  for (const float degrees : {0.0F, 60.0F}) {
    const float angle = degrees * 0.017453293F;
    scene.lights = {sun({std::sin(angle), 0, -std::cos(angle)})};
    EXPECT_NEAR(linear(center(picture(scene, request)).g), std::cos(angle), 0.02F) << degrees;
  }
}

/// White materials of all layers, which scatter all that they meet.
std::vector<std::pair<std::string, Material>> whiteMaterials() {
  std::vector<std::pair<std::string, Material>> all;
  for (const float ior : {1.0F, 1.5F, 2.4F}) {
    for (const float roughness : {0.0F, 0.6F, 1.0F}) {
      Material material = matt({1, 1, 1, 1});
      material.ior = ior;
      material.roughness = roughness;
      all.emplace_back("ior " + std::to_string(ior) + " roughness " + std::to_string(roughness), material);
    }
  }
  Material material = matt({1, 1, 1, 1});
  material.clearcoat = 1;
  all.emplace_back("coat", material);
  material.sheenColor = {1, 1, 1};
  material.sheenRoughness = 0.5F;
  all.emplace_back("coat over sheen", material);
  material = matt({1, 1, 1, 1});
  material.transmission = 1;
  material.roughness = 0.5F;
  all.emplace_back("thin glass", material);
  material.metallic = 0.5F;
  all.emplace_back("half of it metal", material);
  return all;
}

TEST_P(LitRenderers, GiveBackNoMoreAndNoLessThanAWhiteSkySends) {
  for (const auto& [what, material] : whiteMaterials()) {
    for (const float degrees : {30.0F, 75.0F}) {
      Scene scene = orthographicScene(1, 1);
      add(scene, squareMesh(8), material, turned(Axis::Y, degrees));
      RenderRequest request = requestOf(4, 4);
      request.environment = {Environment::Kind::White, 0.5F};
      EXPECT_NEAR(linear(center(picture(scene, request)).g), 0.5F, 0.015F) << what << " at " << degrees;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(All, LitRenderers,
                         testing::Values(RendererId::Standard, RendererId::Physical, RendererId::OpenGl));

}  // namespace
}  // namespace host
