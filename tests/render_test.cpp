// Pictures whose answer algebra knows, the same bytes on any number of threads, and numbers that no scene
// should have.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>

#include "tests/support/pictures.h"

namespace host {
namespace {

constexpr RendererId kRenderers[] = {RendererId::Standard, RendererId::Preview};

/// Pixels that differ from those of the same scene without anything in it.
int covered(const Scene& scene, RendererId renderer, int width, int height) {
  Scene empty = scene;
  empty.instances.clear();
  const Image full = render(scene, renderer, width, height);
  const Image background = render(empty, renderer, width, height);
  int count = 0;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) count += at(full, x, y) == at(background, x, y) ? 0 : 1;
  }
  return count;
}

// Coverage and cameras.

TEST(RenderCoverage, TriangleCoversThePixelsWhoseCentersItHolds) {
  Scene scene = orthographicScene(1, 1);
  Mesh mesh;
  mesh.positions = {{-1, -1, 0}, {1.01F, -1, 0}, {-1, 1.01F, 0}};
  mesh.indices = {0, 1, 2};
  add(scene, mesh, matt({1, 0, 0, 1}));
  for (const RendererId renderer : kRenderers) EXPECT_EQ(covered(scene, renderer, 64, 64), 64 * 65 / 2);
}

TEST(RenderCoverage, OrthographicSizesAreExactInPicturesOfEveryShape) {
  struct Row {
    float halfWidth, halfHeight;  // of the camera
    int width, height;            // of the picture
    int pixels;                   // of a square of 2 x 2 metres
  };
  const Row rows[] = {{2, 2, 80, 80, 40 * 40},
                      {1, 1, 200, 100, 100 * 100},
                      {1, 1, 100, 200, 100 * 100},
                      {4, 1, 80, 80, 20 * 20},
                      {2, 4, 96, 96, 24 * 24}};
  for (const Row& row : rows) {
    Scene scene = orthographicScene(row.halfWidth, row.halfHeight);
    add(scene, squareMesh(1), matt({1, 0, 0, 1}));
    for (const RendererId renderer : kRenderers) {
      EXPECT_EQ(covered(scene, renderer, row.width, row.height), row.pixels)
          << row.width << " x " << row.height;
    }
  }
}

TEST(RenderCoverage, PerspectiveShrinksWithDistanceAndKeepsTheCamerasView) {
  Scene scene;
  scene.camera.emplace();
  scene.camera->yfov = 1.57079633F;
  scene.camera->transform = moved({0, 0, 2});
  add(scene, squareMesh(1), matt({1, 0, 0, 1}));
  EXPECT_EQ(covered(scene, RendererId::Preview, 120, 80), 40 * 40);
  scene.camera->aspectRatio = 2;  // needs the whole width of a square picture
  EXPECT_EQ(covered(scene, RendererId::Preview, 80, 80), 20 * 20);
  EXPECT_EQ(covered(scene, RendererId::Preview, 320, 80), 40 * 40);
}

TEST(RenderCoverage, NearAndFarPlanesCutThingsOff) {
  Scene scene = orthographicScene(1, 1);
  add(scene, squareMesh(1), matt({1, 0, 0, 1}));
  scene.camera->znear = 10.5F;
  EXPECT_EQ(covered(scene, RendererId::Preview, 10, 10), 0);
  scene.camera->znear = 1;
  scene.camera->zfar = 9.5F;
  EXPECT_EQ(covered(scene, RendererId::Preview, 10, 10), 0);
  scene.camera->zfar = 10.5F;
  EXPECT_EQ(covered(scene, RendererId::Preview, 10, 10), 100);
  // Planes, not spheres: the corners, which are farther away, are cut at the same depth.
  scene.instances[0].transform = scaled({10, 10, 1});
  scene.camera->orthographic = false;
  EXPECT_EQ(covered(scene, RendererId::Preview, 10, 10), 100);
  scene.camera->znear = 10.1F;
  EXPECT_EQ(covered(scene, RendererId::Preview, 10, 10), 0);
  scene.camera->znear = 1;
  scene.camera->zfar = 9.9F;
  EXPECT_EQ(covered(scene, RendererId::Preview, 10, 10), 0);
}

// Small meshes are carried into the world, large ones are trees of their own.
class RenderInstances : public testing::TestWithParam<bool> {
 protected:
  static Mesh square(float half) { return GetParam() ? heavy(squareMesh(half)) : squareMesh(half); }
};

TEST_P(RenderInstances, AreTurnedScaledAndMirrored) {
  Scene scene = orthographicScene(4, 4);
  add(scene, square(0.5F), matt({1, 0, 0, 1}), moved({-2, 2, 0}));
  EXPECT_EQ(covered(scene, RendererId::Standard, 80, 80), 100);
  scene.instances.push_back({0, moved({2, 2, 0}) * scaled({2, 1, 1})});
  EXPECT_EQ(covered(scene, RendererId::Standard, 80, 80), 300);
  // A mirrored object is seen from the same side, although its triangles run the other way.
  scene.instances.push_back({0, moved({-2, -2, 0}) * scaled({-1, 1, 1})});
  EXPECT_EQ(covered(scene, RendererId::Standard, 80, 80), 400);
  scene.instances.push_back({0, moved({2, -2, 0}) * turned(Axis::Z, 45) * scaled({2, 2, 2})});
  EXPECT_NEAR(covered(scene, RendererId::Standard, 80, 80), 800, 20);
  scene.instances.push_back({0, scaled({0, 0, 0})});
  EXPECT_NEAR(covered(scene, RendererId::Standard, 80, 80), 800, 20);
}

TEST_P(RenderInstances, HaveTheirOwnMaterialAndTurnedNormals) {
  Scene scene = orthographicScene(2, 2);
  Mesh mesh = square(0.8F);
  mesh.normals.assign(4, {0, 0, 1});
  add(scene, mesh, matt({1, 0, 0, 1}), moved({-1, 1, 0}));
  add(scene, mesh, matt({0, 1, 0, 1}), moved({1, 1, 0}));
  scene.instances.push_back({0, moved({-1, -1, 0}) * turned(Axis::Y, 60) * scaled({2, 1, 5})});
  scene.instances.push_back({1, moved({1, -1, 0})});
  const Image image = render(scene, RendererId::Preview, 4, 4);
  EXPECT_EQ(at(image, 0, 0), (Pixel{255, 0, 0}));
  EXPECT_EQ(at(image, 2, 0), (Pixel{0, 255, 0}));
  EXPECT_EQ(at(image, 2, 2), (Pixel{0, 255, 0}));
  // The head light's cosine is a half; the rest is even light.
  EXPECT_NEAR(linear(at(render(scene, RendererId::Preview, 9, 9), 2, 6).r), 0.575F, 0.01F);
}

INSTANTIATE_TEST_SUITE_P(SmallAndLarge, RenderInstances, testing::Bool());

TEST(RenderCoverage, SingleSidedTrianglesAreSeenFromTheFrontOnly) {
  for (const RendererId renderer : kRenderers) {
    for (const float x : {1.0F, -1.0F}) {
      Scene scene = orthographicScene(1, 1);
      Material material = matt({1, 0, 0, 1});
      add(scene, squareMesh(1), material, scaled({x, 1, 1}));
      EXPECT_EQ(covered(scene, renderer, 8, 8), 64);
      scene.instances[0].transform = turned(Axis::Y, 180) * scaled({x, 1, 1});
      EXPECT_EQ(covered(scene, renderer, 8, 8), 0);
      scene.materials[0].doubleSided = true;
      EXPECT_EQ(covered(scene, renderer, 8, 8), 64);
    }
  }
}

TEST(RenderCoverage, TwoSingleSidedTrianglesBackToBackHideNothing) {
  for (const RendererId renderer : kRenderers) {
    for (const bool instanced : {false, true}) {
      Scene scene = orthographicScene(1, 1);
      Mesh mesh = squareMesh(1);
      mesh.indices = {0, 1, 2, 0, 2, 3, 2, 1, 0, 3, 2, 0};
      add(scene, instanced ? heavy(mesh) : mesh, matt({1, 0, 0, 1}));
      if (instanced) scene.instances.push_back({0, moved({0, 0, -5})});
      EXPECT_EQ(covered(scene, renderer, 8, 8), 64);
      scene.instances[0].transform = turned(Axis::Y, 180);
      EXPECT_EQ(covered(scene, renderer, 8, 8), 64);
    }
  }
}

TEST(RenderCoverage, SceneWithoutCameraFillsThePicture) {
  for (const Vec3 place : {Vec3{0, 0, 0}, Vec3{1e4F, -2e3F, 500}}) {
    Scene scene = richScene();
    scene.camera.reset();
    scene.lights.clear();
    scene.instances.resize(5);  // the spheres
    for (Instance& instance : scene.instances) instance.transform = moved(place) * instance.transform;
    const Image image = render(scene, RendererId::Preview, 90, 60);
    const Pixel background = at(image, 0, 0);
    int left = 90, right = -1, top = 60, bottom = -1;
    for (int y = 0; y < 60; ++y) {
      for (int x = 0; x < 90; ++x) {
        if (at(image, x, y) == background) continue;
        left = std::min(left, x), right = std::max(right, x), top = std::min(top, y),
        bottom = std::max(bottom, y);
      }
    }
    EXPECT_TRUE(left > 0 && right < 89 && top > 0 && bottom < 59);
    EXPECT_TRUE(right - left > 70 || bottom - top > 48) << right - left << ' ' << bottom - top;
  }
}

// Textures.

TEST(RenderTexture, NearestTexelsComeOutAsTheyAre) {
  Scene scene = orthographicScene(1, 1);
  const int texture = addTexture(scene, 2, 2, 3, {10, 20, 30, 40, 50, 60, 70, 80, 90, 200, 210, 220},
                                 {-1, Wrap::Repeat, Wrap::Repeat, true, true});
  Material material = matt({1, 1, 1, 1});
  material.baseColorTexture.texture = texture;
  add(scene, squareMesh(1), material);
  const Image image = render(scene, RendererId::Preview, 4, 4);
  EXPECT_EQ(at(image, 0, 0), (Pixel{10, 20, 30}));
  EXPECT_EQ(at(image, 3, 1), (Pixel{40, 50, 60}));
  EXPECT_EQ(at(image, 1, 2), (Pixel{70, 80, 90}));
  EXPECT_EQ(at(image, 2, 3), (Pixel{200, 210, 220}));
}

TEST(RenderTexture, WrapModesAndInterpolation) {
  Scene scene;
  const std::vector<uint8_t> pixels{0, 255};
  const auto texture = [&](Wrap wrap, bool nearest) {
    return addTexture(scene, 2, 1, 1, pixels, {-1, wrap, wrap, nearest});
  };
  const auto value = [&](int index, float u) { return Textures(scene).sample(index, {u, 0}).x; };
  const int repeat = texture(Wrap::Repeat, true), clamp = texture(Wrap::Clamp, true);
  const int mirror = texture(Wrap::Mirror, true), smooth = texture(Wrap::Repeat, false);
  const int edge = texture(Wrap::Clamp, false);
  EXPECT_EQ(value(repeat, 1.25F), 0);
  EXPECT_EQ(value(repeat, -0.25F), 1);
  EXPECT_EQ(value(clamp, 7.75F), 1);
  EXPECT_EQ(value(mirror, 1.75F), 0);
  EXPECT_EQ(value(clamp, -0.25F), 0);
  EXPECT_EQ(value(mirror, 1.25F), 1);
  EXPECT_EQ(value(mirror, -0.25F), 0);
  EXPECT_FLOAT_EQ(value(smooth, 0.5F), 0.5F);
  EXPECT_FLOAT_EQ(value(smooth, 0), 0.5F);
  EXPECT_FLOAT_EQ(value(edge, 0), 0);
  EXPECT_FLOAT_EQ(value(edge, 0.375F), 0.25F);
  const int tall = addTexture(scene, 1, 2, 1, pixels, {-1, Wrap::Clamp, Wrap::Clamp, false});
  EXPECT_FLOAT_EQ(Textures(scene).sample(tall, {0, 0.375F}).x, 0.25F);
  for (const float u : {1e30F, -1e30F, std::numeric_limits<float>::quiet_NaN(), 0.99999997F, -1e-9F}) {
    for (int i = 0; i < 5; ++i) EXPECT_TRUE(value(i, u) >= 0 && value(i, u) <= 1);
  }
}

TEST(RenderTexture, SrgbComesBack) {
  for (int i = 0; i < 256; ++i) EXPECT_EQ(linearToSrgb(srgbToLinear(static_cast<uint8_t>(i))), i);
  EXPECT_EQ(linearToSrgb(-1), 0);
  EXPECT_EQ(linearToSrgb(1e30F), 255);
  EXPECT_EQ(linearToSrgb(std::numeric_limits<float>::quiet_NaN()), 0);
}

TEST(RenderTexture, FactorTextureAndVertexColorMultiply) {
  Scene scene = orthographicScene(1, 1);
  Material material = matt({0.5F, 1, 1, 1});
  material.baseColorTexture.texture =
      addTexture(scene, 1, 1, 3, {255, 188, 255}, {-1, Wrap::Repeat, Wrap::Repeat, false, true});
  Mesh mesh = squareMesh(1);
  mesh.colors.assign(4, {1, 1, 0.25F, 1});
  add(scene, mesh, material);
  const Pixel p = center(render(scene, RendererId::Preview, 3, 3));
  EXPECT_NEAR(linear(p.r), 0.5F, 0.005F);
  EXPECT_NEAR(linear(p.g), linear(188), 0.005F);
  EXPECT_NEAR(linear(p.b), 0.25F, 0.005F);
}

// Light.

/// A matt square of 8 x 8 metres at the origin that faces the camera; the picture shows 4 x 4 of them.
Scene wallScene() {
  Scene scene = orthographicScene(2, 2);
  add(scene, squareMesh(4), matt({0.3F, 0.3F, 0.3F, 1}));
  return scene;
}

float red(const Scene& scene, int x = 20, int y = 20) {
  return linear(at(render(scene, RendererId::Standard, 41, 41), x, y).r);
}

/// What `scene`'s lights add at a pixel to its ambient light.
float lampLight(Scene scene, int x = 20, int y = 20) {
  const float all = red(scene, x, y);
  for (Light& light : scene.lights) light.intensity = 0;
  return all - red(scene, x, y);
}

TEST(RenderLight, MattSurfacesFollowTheCosine) {
  Scene scene = wallScene();
  scene.lights = {sun({0, 0, -1})};
  const float facing = lampLight(scene);
  EXPECT_NEAR(facing, 0.3F, 0.02F);
  scene.lights = {sun({std::sqrt(3.0F), 0, -1})};
  EXPECT_NEAR(lampLight(scene) / facing, 0.5F, 0.05F);
  scene.lights = {sun({0, 0, 1})};
  EXPECT_EQ(lampLight(scene), 0);
  scene.lights = {sun({0, 0, -1})};
  scene.materials[0].doubleSided = true;
  scene.instances[0].transform = turned(Axis::Y, 180);
  EXPECT_NEAR(lampLight(scene), facing, 0.001F) << "both sides are lit alike";
}

TEST(RenderLight, ExposureIsAFactorOrMeteredInCoarseSteps) {
  Scene scene = wallScene();
  scene.lights = {sun({0, 0, -1})};
  const float once = lampLight(scene);
  scene.lights[0].intensity *= 1.5F;
  EXPECT_NEAR(lampLight(scene) / once, 1.5F, 0.05F) << "a brighter lamp is brighter in the picture";
  scene.lights[0].intensity *= 8 * 8 * 8;
  EXPECT_NEAR(lampLight(scene) / once, 1.5F, 0.05F) << "another unit is not";
  for (const float intensity : {1e-30F, 1e-3F, 683.0F, 100000.0F, 1e30F}) {
    scene.lights[0].intensity = intensity;
    EXPECT_TRUE(lampLight(scene) > 0.07F && lampLight(scene) < 0.61F) << intensity;
  }

  // A lamp in the middle of everything is metered as well.
  Scene around = orthographicScene(0.1F, 0.1F);
  around.camera->transform = moved({0, 0, 0.5F});
  add(around, sphereMesh(16), matt({1, 1, 1, 1}));
  around.materials[0].doubleSided = true;
  Light lamp;
  lamp.intensity = 3000;
  around.lights = {lamp};
  EXPECT_LT(center(render(around, RendererId::Standard, 4, 4)).g, 250);

  // One that does not reach the scene darkens nothing.
  Light strong;
  strong.position = {0, 0, 30};
  strong.intensity = 1e9F;
  strong.range = 5;
  Scene beside = wallScene();
  beside.lights = {sun({0, 0, -1}), strong};
  EXPECT_NEAR(lampLight(beside) / once, 1, 0.05F);
  strong.range = 0;
  strong.kind = Light::Kind::Spot;
  strong.direction = {0, 0, 1};
  beside.lights[1] = strong;
  EXPECT_NEAR(lampLight(beside) / once, 1, 0.05F);
  beside.lights.assign(16, strong);
  beside.lights.push_back(sun({0, 0, -1}));
  beside.lights.back().intensity *= 4096;
  EXPECT_NEAR(lampLight(beside) / once, 1, 0.05F) << "whatever their order";

  RenderRequest request;
  request.width = request.height = 1;
  request.antialiasing = false;
  request.environment.strength = 0;
  request.exposure = 0.001F;
  scene.lights[0].intensity = 3141.59265F;
  const Image fixed = renderScene(PreparedScene(scene), RendererId::Standard, request);
  EXPECT_NEAR(linear(fixed.pixels[0]), 0.3F, 0.02F);
}

TEST(RenderLight, PointLightFallsOffWithDistanceConeAndRange) {
  Scene scene = wallScene();
  scene.materials[0].baseColor = {0.05F, 0.05F, 0.05F, 1};  // the lamp is near: lighter walls saturate
  Light light;
  light.position = {0, 0, 1};
  scene.lights = {light};
  const float below = lampLight(scene);
  // One metre aside: twice the square of the distance, and the cosine of 45 degrees at the wall.
  EXPECT_NEAR(lampLight(scene, 30, 20) / below, 0.5F * std::sqrt(0.5F), 0.03F);
  scene.lights[0].range = 1.2F;
  EXPECT_GT(lampLight(scene), 0);
  EXPECT_EQ(lampLight(scene, 30, 20), 0);
  scene.lights[0] = light;
  scene.lights[0].kind = Light::Kind::Spot;
  scene.lights[0].innerCone = 0.3F;
  scene.lights[0].outerCone = 0.7F;
  EXPECT_NEAR(lampLight(scene), below, 0.01F);
  EXPECT_EQ(lampLight(scene, 30, 20), 0);
}

TEST(RenderLight, ThingsCastShadowsAndHolesLetLightThrough) {
  Scene scene = wallScene();
  scene.lights = {sun({1, 0, -1})};
  const float lit = lampLight(scene);
  // Hangs to the left of the wall's middle, outside the view axis, and throws its shadow there.
  add(scene, squareMesh(0.6F), matt({1, 1, 1, 1}), moved({-2, 0, 2}));
  EXPECT_EQ(lampLight(scene), 0);
  EXPECT_NEAR(lampLight(scene, 20, 2), lit, 0.01F);
  scene.instances[1].transform = scene.instances[1].transform * turned(Axis::Y, 180);
  EXPECT_EQ(lampLight(scene), 0) << "what is not seen from behind casts its shadow still";

  Material& blocker = scene.materials[1];
  blocker.alphaMode = AlphaMode::Blend;
  blocker.baseColor.w = 0.25F;
  EXPECT_NEAR(lampLight(scene), 0.75F * lit, 0.01F);

  blocker.alphaMode = AlphaMode::Mask;
  blocker.baseColor.w = 0.75F;  // above the cut, which makes it opaque
  // Whole but for the texel in its middle, whose shadow falls on the middle of the wall.
  std::vector<uint8_t> texels(9 * 4, 255);
  texels[4 * 4 + 3] = 0;
  blocker.baseColorTexture.texture = addTexture(scene, 3, 3, 4, texels, {-1, Wrap::Clamp, Wrap::Clamp, true});
  EXPECT_NEAR(lampLight(scene), lit, 0.01F);
  EXPECT_EQ(lampLight(scene, 20, 16), 0);
}

TEST(RenderLight, SceneWithoutLightsIsLit) {
  Scene scene = wallScene();
  scene.materials[0].baseColor = {1, 1, 1, 1};
  EXPECT_GT(red(scene), 0.6F);
  scene.instances[0].transform = turned(Axis::X, 90) * scaled({1, 1, 1});
  scene.materials[0].doubleSided = true;
  scene.camera->transform = moved({0, -10, 0}) * turned(Axis::X, 90);
  EXPECT_GT(red(scene), 0.05F) << "seen from below, away from the light";
}

TEST(RenderLight, EmissiveSurfacesShineAndMirrorsShowThem) {
  Scene scene = orthographicScene(1, 1);
  scene.lights = {sun({0, 0, -1})};
  Material mirror;
  mirror.roughness = 0;
  // Tilted by 45 degrees: the camera's rays go on upwards.
  add(scene, squareMesh(1), mirror, turned(Axis::X, -45));
  Material lamp = matt({0, 0, 0, 1});
  lamp.emissive = {0, 0.5F, 0};
  lamp.doubleSided = true;
  const Pixel sky = center(render(scene, RendererId::Standard, 9, 9));
  EXPECT_EQ(sky.b > 0, true);
  add(scene, squareMesh(1), lamp, moved({0, 3, 0}) * turned(Axis::X, 90));
  const Pixel mirrored = center(render(scene, RendererId::Standard, 9, 9));
  EXPECT_NEAR(linear(mirrored.g), 0.5F, 0.06F);
  EXPECT_LT(linear(mirrored.r), 0.05F);
}

TEST(RenderLight, TwoMirrorsFaceToFaceEnd) {
  Scene scene = orthographicScene(1, 1);
  Material mirror;
  mirror.roughness = 0;
  mirror.doubleSided = true;
  add(scene, squareMesh(1), mirror);
  add(scene, squareMesh(1), mirror, moved({0, 0, 20}));
  EXPECT_EQ(render(scene, RendererId::Standard, 8, 8, true).pixels.size(), 192U);
}

// Alpha.

TEST(RenderAlpha, MaskCutsAndBlendMixes) {
  Scene scene = orthographicScene(1, 1);
  scene.lights = {sun({0, 0, -1})};
  scene.lights[0].intensity = 0;
  const auto glowing = [](Vec3 color, float alpha, AlphaMode mode) {
    Material material = matt({0, 0, 0, alpha});
    material.emissive = color;
    material.alphaMode = mode;
    return material;
  };
  add(scene, squareMesh(1), glowing({0, 0.6F, 0}, 1, AlphaMode::Opaque), moved({0, 0, -1}));
  add(scene, squareMesh(1), glowing({0.6F, 0, 0}, 0.25F, AlphaMode::Blend));
  const auto color = [&] { return center(render(scene, RendererId::Standard, 4, 4)); };
  EXPECT_NEAR(linear(color().r), 0.15F, 0.02F);
  EXPECT_NEAR(linear(color().g), 0.45F, 0.02F);
  scene.materials[0].baseColor = {0, 1, 0, 1};
  EXPECT_EQ(center(render(scene, RendererId::Preview, 4, 4)), (Pixel{0, 255, 0}))
      << "thin layers are seen through";
  scene.materials[0].baseColor = {0, 0, 0, 1};
  scene.materials[1].alphaMode = AlphaMode::Mask;
  EXPECT_NEAR(linear(color().r), 0, 0.02F);
  EXPECT_NEAR(linear(color().g), 0.6F, 0.02F);
  scene.materials[1].alphaCutoff = 0.25F;
  EXPECT_NEAR(linear(color().r), 0.6F, 0.02F);
  scene.meshes[1].colors.assign(4, {1, 1, 1, 0.5F});
  EXPECT_NEAR(linear(color().r), 0, 0.02F) << "vertex alpha counts";
  scene.materials[1].alphaMode = AlphaMode::Opaque;
  EXPECT_NEAR(linear(color().r), 0.6F, 0.02F);
}

// How it runs.

TEST(RenderRun, AnyNumberOfThreadsGivesTheSameBytes) {
  for (const Scene& scene : {richScene(), [] {
                               Scene lightless = richScene();
                               lightless.lights.clear();
                               lightless.camera.reset();
                               return lightless;
                             }()}) {
    for (const RendererId renderer : kRenderers) {
      const Image one = render(scene, renderer, 67, 45, true, 1);
      for (const int threads : {2, 7, 0}) {
        EXPECT_EQ(render(scene, renderer, 67, 45, true, threads).pixels, one.pixels) << threads;
      }
    }
  }
}

TEST(RenderRun, AntialiasingSmoothsEdges) {
  Scene scene = orthographicScene(1, 1);
  add(scene, squareMesh(0.5F), matt({1, 0, 0, 1}), turned(Axis::Z, 10));
  const auto colors = [&](bool antialiasing) {
    const Image image = render(scene, RendererId::Standard, 40, 40, antialiasing);
    std::vector<int> greens;
    greens.reserve(40);
    for (int x = 0; x < 40; ++x) greens.push_back(at(image, x, 11).g);
    std::sort(greens.begin(), greens.end());
    return std::unique(greens.begin(), greens.end()) - greens.begin();
  };
  EXPECT_GT(colors(true), colors(false));
}

TEST(RenderRun, StopEndsTheRender) {
  const Scene scene = richScene();
  const PreparedScene prepared(scene);
  for (const RendererId renderer : kRenderers) {
    std::atomic<int> asked{0};
    RenderRequest request;
    request.width = 200;
    request.height = 200;
    request.threads = 2;
    request.stopped = [&] { return ++asked > 100; };
    EXPECT_THROW(renderScene(prepared, renderer, request), RenderStopped);
    EXPECT_LE(asked, 110);
    request.stopped = [] { return true; };
    EXPECT_THROW(renderScene(prepared, renderer, request), RenderStopped);
  }
  EXPECT_THROW(PreparedScene(scene, KernelBuild::Robust, [] { return true; }), RenderStopped);
  PreparedScene again(scene);  // nothing of the stopped one is left behind
}

TEST(RenderRun, EmptyScenesShowTheBackground) {
  Scene scene;
  for (const RendererId renderer : kRenderers)
    EXPECT_EQ(render(scene, renderer, 5, 3, true).pixels.size(), 45U);
  scene.meshes.emplace_back();
  scene.instances.push_back({0, {}});
  for (const RendererId renderer : kRenderers) EXPECT_EQ(covered(scene, renderer, 5, 3), 0);
}

TEST(RenderRun, SizesOutOfRangeAreErrors) {
  const Scene scene;
  for (const auto& [width, height] : {std::pair{0, 1}, {1, -1}, {70000, 1}, {60000, 60000}}) {
    EXPECT_THROW(render(scene, RendererId::Preview, width, height), std::runtime_error);
  }
}

TEST(RenderRun, FactsNameWhatCanChangeAPixel) {
  const std::vector<std::string> facts = renderFacts();
  for (const char* name : {"isa ", "embree 3.", "tbb ", "libtiff ", "libpng ", "libjpeg"}) {
    EXPECT_TRUE(std::any_of(facts.begin(), facts.end(), [&](const auto& f) { return f.rfind(name, 0) == 0; }))
        << name;
  }
}

// Numbers that no scene should have: nothing is expected of the picture but that there is one.

void renderBoth(const Scene& scene) {
  for (const RendererId renderer : kRenderers)
    EXPECT_EQ(render(scene, renderer, 8, 8, true).pixels.size(), 192U);
}

TEST(RenderHostile, Geometry) {
  for (const float size : {1e-38F, 1e-20F, 1e10F, 1e17F, 1e19F, 1e30F, 3e38F}) {
    Scene scene = richScene();
    for (Vec3& p : scene.meshes[0].positions) p = p * size;
    renderBoth(scene);
    scene.camera.reset();
    renderBoth(scene);
    scene = richScene();
    for (Instance& instance : scene.instances)
      instance.transform = scaled({size, 1, size}) * instance.transform;
    renderBoth(scene);
    scene.camera.reset();
    scene.instances[0].transform = moved({size, -size, size});
    renderBoth(scene);
  }
  Scene scene = richScene();
  scene.meshes[0].normals.assign(scene.meshes[0].positions.size(), {0, 0, 0});
  scene.meshes[1].positions.assign(4, {1, 1, 1});
  scene.meshes[2].positions = {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {3, 0, 0}};
  scene.instances[1].transform = scaled({0, 1, 1});
  scene.instances[2].transform = scaled({0, 0, 0});
  renderBoth(scene);
  scene.meshes[0].normals.assign(scene.meshes[0].positions.size(), {0, 0, -1e30F});
  renderBoth(scene);
}

TEST(RenderHostile, LightsAndMaterials) {
  const float infinite = std::numeric_limits<float>::infinity();
  const float nan = std::numeric_limits<float>::quiet_NaN();
  for (const float value : {0.0F, -1.0F, 1e-40F, 1e38F, infinite, nan}) {
    Scene scene = richScene();
    for (Light& light : scene.lights) {
      light.intensity = value;
      light.range = value;
      light.innerCone = light.outerCone = value;
    }
    renderBoth(scene);
    scene = richScene();
    for (Light& light : scene.lights) light.position = light.direction = {value, value, value};
    renderBoth(scene);
    scene = richScene();
    for (Material& material : scene.materials) {
      material.baseColor = {value, value, value, value};
      material.metallic = material.roughness = material.alphaCutoff = value;
      material.emissive = {value, value, value};
      material.alphaMode = value > 0 ? AlphaMode::Mask : AlphaMode::Blend;
    }
    for (Vec2& uv : scene.meshes[0].texCoords[0]) uv = {value, value};
    renderBoth(scene);
  }
}

TEST(RenderHostile, Cameras) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  for (const float value : {0.0F, -1.0F, 3.2F, 1e-38F, 1e30F, nan}) {
    for (const bool orthographic : {false, true}) {
      Scene scene = richScene();
      scene.camera->orthographic = orthographic;
      scene.camera->yfov = scene.camera->xmag = scene.camera->ymag = value;
      scene.camera->aspectRatio = scene.camera->znear = scene.camera->zfar = value;
      renderBoth(scene);
      scene.camera->transform.m.fill(value);
      renderBoth(scene);
    }
  }
}

}  // namespace
}  // namespace host
