// The path tracer against answers that algebra knows, and the same bytes however it is run.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "host/render/bsdf.h"
#include "host/render/sampler.h"
#include "tests/support/pictures.h"

namespace host {
namespace {

RenderRequest requestOf(int width, int height, int samples) {
  RenderRequest request;
  request.width = width;
  request.height = height;
  request.toneCurve = false;
  request.exposure = 1;
  request.environment = {Environment::Kind::White, 1.0F};
  request.path.samples = samples;
  request.path.clamp = 0;
  return request;
}

Image trace(const Scene& scene, const RenderRequest& request, KernelBuild kernel = KernelBuild::Robust) {
  return renderScene(PreparedScene(scene, kernel), RendererId::Physical, request);
}

/// Mean light of a picture.
Vec3 meanOf(const Image& image) {
  Vec3 sum;
  const int pixels = image.width * image.height;
  for (int i = 0; i < pixels; ++i) {
    const Pixel p = at(image, i % image.width, i / image.width);
    sum = sum + Vec3{linear(p.r), linear(p.g), linear(p.b)};
  }
  return sum * (1.0F / static_cast<float>(pixels));
}

/// Of a ball that fills the picture.
Vec3 ballLight(const Material& material, float sky = 0.5F) {
  Scene scene = orthographicScene(0.7F, 0.7F);
  add(scene, sphereMesh(32), material);
  RenderRequest request = requestOf(12, 12, 256);
  request.environment.strength = sky;
  request.path.depth = 64;
  return meanOf(trace(scene, request));
}

TEST(PhysicalFurnace, WhiteBallsUnderAWhiteSkyAreAsWhite) {
  for (const float roughness : {0.0F, 0.3F, 0.6F, 1.0F}) {
    for (const float metallic : {0.0F, 0.5F, 1.0F}) {
      Material white = matt({1, 1, 1, 1});
      white.metallic = metallic;
      white.roughness = roughness;
      EXPECT_NEAR(ballLight(white).x, 0.5F, 0.006F) << "roughness " << roughness << " metallic " << metallic;
    }
    for (const float strength : {0.5F, 1.0F}) {
      Material brushed = matt({1, 1, 1, 1});
      brushed.metallic = 1;
      brushed.roughness = std::max(roughness, 0.1F);
      brushed.anisotropy = strength;
      EXPECT_NEAR(ballLight(brushed).x, 0.5F, 0.03F) << "brushed " << roughness << ", " << strength;
    }
    Material coated = matt({1, 1, 1, 1});
    coated.clearcoat = 1;
    coated.clearcoatRoughness = roughness;
    EXPECT_NEAR(ballLight(coated).x, 0.5F, 0.006F) << "coat " << roughness;
    Material velvet = matt({1, 1, 1, 1});
    velvet.sheenColor = {1, 1, 1};
    velvet.sheenRoughness = 0.3F + 0.7F * roughness;
    EXPECT_NEAR(ballLight(velvet).x, 0.5F, 0.01F) << "sheen " << roughness;
    Material pane = matt({1, 1, 1, 1});
    pane.transmission = 1;
    pane.roughness = roughness;
    EXPECT_NEAR(ballLight(pane).x, 0.5F, 0.01F) << "thin glass " << roughness;
  }
  Material solid = matt({1, 1, 1, 1});
  solid.transmission = 1;
  solid.thickness = 1;
  solid.roughness = 0;
  EXPECT_NEAR(ballLight(solid).x, 0.5F, 0.006F) << "a ball of clear glass";
}

TEST(PhysicalBsdf, SamplesHaveTheDensityThatIsClaimed) {
  Material material = matt({0.7F, 0.5F, 0.3F, 1});
  material.metallic = 0.4F;
  material.roughness = 0.4F;
  material.anisotropy = 0.5F;
  material.clearcoat = 0.6F;
  material.clearcoatRoughness = 0.2F;
  material.sheenColor = {0.3F, 0.3F, 0.3F};
  material.sheenRoughness = 0.5F;
  Scene scene = orthographicScene(1, 1);
  add(scene, squareMesh(1), material);
  const PreparedScene prepared(scene);
  const Ray ray{{0, 0, 5}, normalize(Vec3{0.5F, 0, -1}), 0, 100};
  Hit hit;
  ASSERT_TRUE(prepared.data().nearest({{-2, 0, 4}, ray.direction, 0, 100}, hit, nullptr));
  const Surface surface = surfaceAt(prepared.data(), ray, hit);
  const MaterialPoint point = materialAt(prepared.data().textures, surface);
  const Bsdf bsdf(point, surface, -ray.direction);
  // What is sampled, and what is summed evenly over the hemisphere, must agree.
  Vec3 sampled, summed;
  float density = 0;
  constexpr int kCount = 1 << 16;
  PixelSampler sampler(1, 2);
  for (int i = 0; i < kCount; ++i) {
    sampler.begin(i);
    const Vec2 a = sampler.pair(), b = sampler.pair();
    if (const auto s = bsdf.sample(a.x, b)) sampled = sampled + s->weight;
    const float radius = std::sqrt(1 - b.x * b.x), angle = 6.2831853F * b.y;
    const Scattering s = bsdf.evaluate({radius * std::cos(angle), radius * std::sin(angle), b.x});
    summed = summed + s.value;
    density += s.density;
  }
  const float each = 6.2831853F / kCount;
  EXPECT_NEAR(density * each, 0.97F, 0.035F) << "a little is lost to directions into the surface";
  EXPECT_NEAR(sampled.x / kCount, summed.x * each, 0.01F);
  EXPECT_NEAR(sampled.z / kCount, summed.z * each, 0.01F);
  EXPECT_LT(sampled.x / kCount, 1);
}

TEST(PhysicalLight, ALampInABallLightsItEvenly) {
  // Of each light that arrives, 1/r^2, the wall sends on its albedo over pi; with all that comes back again
  // and again the light grows by 1 / (1 - albedo).
  constexpr float kAlbedo = 0.5F, kRadius = 2, kIntensity = 1.5F;
  Scene scene;
  Material wall = matt({kAlbedo, kAlbedo, kAlbedo, 1});
  wall.ior = 1;
  wall.specular = 0;
  wall.doubleSided = true;
  add(scene, sphereMesh(48), wall, scaled({kRadius, kRadius, kRadius}));
  Light lamp;
  lamp.intensity = kIntensity;
  scene.lights = {lamp};
  scene.camera.emplace();
  scene.camera->transform = moved({0, 0, 1.5F});
  RenderRequest request = requestOf(9, 9, 256);
  request.path.depth = 64;
  const float direct = kIntensity / (kRadius * kRadius) * kAlbedo / 3.14159265F;
  EXPECT_NEAR(meanOf(trace(scene, request)).x, direct / (1 - kAlbedo), 0.01F);
  request.path.depth = 1;
  EXPECT_NEAR(meanOf(trace(scene, request)).x, direct, 0.005F) << "one surface: direct light alone";
}

/// A grey floor, seen from close above, and one metre over it a panel that shines down.
Scene floorUnder(Mesh panel, Material shining) {
  Scene scene = orthographicScene(0.02F, 0.02F);
  scene.camera->transform = moved({0, 0.9F, 0}) * turned(Axis::X, -90);
  Material floor = matt({0.5F, 0.5F, 0.5F, 1});
  floor.specular = 0;
  add(scene, squareMesh(5), floor, turned(Axis::X, -90));
  shining.baseColor = {0, 0, 0, 1};
  shining.specular = 0;
  add(scene, std::move(panel), shining, moved({0, 1, 0}) * turned(Axis::X, 90));
  return scene;
}

/// Of the floor's light, what a square of one metre above it sends: four parallel rectangles seen from the
/// corner.
float squaresFactor() {
  const float a = 0.5F / std::sqrt(1.25F);
  return 4 / 3.14159265F * a * std::atan(a);
}

TEST(PhysicalLight, AShiningSquareLightsTheFloorByItsFormFactor) {
  Material panel = matt({0, 0, 0, 1});
  panel.emissive = {2, 1, 0.5F};
  Scene scene = floorUnder(squareMesh(0.5F), panel);
  const float factor = squaresFactor();
  RenderRequest request = requestOf(4, 4, 256);
  request.environment.strength = 0;
  const Vec3 light = meanOf(trace(scene, request));
  EXPECT_NEAR(light.x, 2 * 0.5F * factor, 0.01F);
  EXPECT_NEAR(light.z, 0.5F * 0.5F * factor, 0.005F);
  // What alpha takes away shines on nothing.
  scene.materials[1].alphaMode = AlphaMode::Blend;
  scene.materials[1].baseColor.w = 0.5F;
  EXPECT_NEAR(meanOf(trace(scene, request)).x, 0.5F * factor, 0.01F);
  scene.materials[1].alphaMode = AlphaMode::Mask;
  scene.materials[1].alphaCutoff = 0.6F;
  EXPECT_NEAR(meanOf(trace(scene, request)).x, 0, 0.001F);
}

TEST(PhysicalLight, TwoLampsBringWhatEachBringsAlone) {
  // A gloss made by the weaker one is neither clamped nor left to chance.
  Scene scene = orthographicScene(0.1F, 0.1F);
  Material metal = matt({1, 1, 1, 1});
  metal.metallic = 1;
  metal.roughness = 0.3F;
  add(scene, squareMesh(1), metal);
  RenderRequest request = requestOf(6, 6, 32);
  request.environment.strength = 0;
  request.exposure = 0.01F;
  request.path.clamp = 16;
  const auto lit = [&](const std::vector<Light>& lamps) {
    scene.lights = lamps;
    return meanOf(trace(scene, request)).x;
  };
  Light strong = sun({-1, 0, -0.5F}), weak = sun({0, 0, -1});
  strong.intensity = 1000;
  weak.intensity = 1;
  const float alone = lit({strong}) + lit({weak});
  EXPECT_NEAR(lit({strong, weak}) / alone, 1, 0.03F);
}

/// A square of 8 by 8 cells, half a metre each.
Mesh cellsMesh() {
  Mesh mesh;
  for (int row = 0; row < 9; ++row) {
    for (int column = 0; column < 9; ++column) {
      const Vec2 uv{static_cast<float>(column) / 8, static_cast<float>(row) / 8};
      mesh.positions.push_back({4 * uv.x - 2, 2 - 4 * uv.y, 0});
      mesh.texCoords[0].push_back(uv);
    }
  }
  for (uint32_t i = 0; i < 72; ++i) {
    if (i % 9 < 8) mesh.indices.insert(mesh.indices.end(), {i, i + 9, i + 10, i, i + 10, i + 1});
  }
  return mesh;
}

TEST(PhysicalLight, OfADarkPanelTheSpotThatShinesIsSought) {
  // The square of the test above, as the middle of a picture that is black else.
  Material panel = matt({0, 0, 0, 1});
  panel.emissive = {1, 1, 1};
  panel.emissiveTexture.texture = 0;
  Scene scene = floorUnder(cellsMesh(), panel);
  std::vector<uint8_t> texels(64);
  for (const int lit : {27, 28, 35, 36}) texels[lit] = 255;
  addTexture(scene, 8, 8, 1, texels, {-1, Wrap::Clamp, Wrap::Clamp, true, false, false});
  RenderRequest request = requestOf(4, 4, 256);
  request.environment.strength = 0;
  EXPECT_NEAR(meanOf(trace(scene, request)).x, 0.5F * squaresFactor(), 0.004F);
  // A sixteenth of the panel: who looks anywhere on it finds nothing in most pixels.
  request.path.samples = 4;
  const Image few = trace(scene, request);
  for (int i = 0; i < 16; ++i) EXPECT_GT(at(few, i % 4, i / 4).r, 40) << i;
}

TEST(PhysicalLight, MirrorsPanesAndSlabs) {
  // A mirror shows what stands in its direction.
  Scene scene = orthographicScene(0.1F, 0.1F);
  Material mirror;
  mirror.roughness = 0;
  add(scene, squareMesh(1), mirror, turned(Axis::X, -45));
  Material lamp = matt({0, 0, 0, 1});
  lamp.emissive = {0.25F, 0.5F, 0};
  lamp.specular = 0;
  lamp.doubleSided = true;
  add(scene, squareMesh(1), lamp, moved({0, 3, 0}) * turned(Axis::X, 90));
  Vec3 light = meanOf(trace(scene, requestOf(3, 3, 32)));
  EXPECT_NEAR(light.x, 0.25F, 0.005F);
  EXPECT_NEAR(light.y, 0.5F, 0.01F);

  // Alpha one half over a known ground.
  scene = orthographicScene(0.1F, 0.1F);
  Material half = matt({0, 0, 0, 0.5F});
  half.unlit = true;
  half.alphaMode = AlphaMode::Blend;
  add(scene, squareMesh(1), half);
  Material ground = matt({0.5F, 1, 0.25F, 1});
  ground.unlit = true;
  add(scene, squareMesh(1), ground, moved({0, 0, -1}));
  light = meanOf(trace(scene, requestOf(4, 4, 256)));
  EXPECT_NEAR(light.x, 0.25F, 0.005F);
  EXPECT_NEAR(light.y, 0.5F, 0.01F);

  // A slab of one metre that leaves a quarter of the light after half a metre.
  scene = orthographicScene(0.1F, 0.1F);
  Material slab = matt({1, 1, 1, 1});
  slab.ior = 1;
  slab.transmission = 1;
  slab.roughness = 0;
  slab.thickness = 1;
  slab.attenuationDistance = 0.5F;
  slab.attenuationColor = {1, 0.25F, 0.25F};
  add(scene, squareMesh(1), slab);
  add(scene, squareMesh(1), slab, moved({0, 0, -1}) * turned(Axis::Y, 180));
  light = meanOf(trace(scene, requestOf(3, 3, 32)));
  EXPECT_NEAR(light.x, 1, 0.01F);
  EXPECT_NEAR(light.y, 0.0625F, 0.005F);
}

TEST(PhysicalRun, TheSameBytesOnAnyNumberOfThreadsAndNearlySoWithOtherTrees) {
  const Scene scene = richScene();
  RenderRequest request = requestOf(40, 30, 8);
  request.threads = 1;
  const Image one = trace(scene, request);
  for (const int threads : {2, 7}) {
    request.threads = threads;
    EXPECT_EQ(trace(scene, request).pixels, one.pixels) << threads;
  }
  for (const KernelBuild kernel : {KernelBuild::Faster, KernelBuild::Compact}) {
    const Image other = trace(scene, request, kernel);
    int far = 0;
    for (size_t i = 0; i < one.pixels.size(); ++i)
      far += std::abs(one.pixels[i] - other.pixels[i]) > 2 ? 1 : 0;
    EXPECT_LT(far, static_cast<int>(one.pixels.size()) / 100) << static_cast<int>(kernel);
  }
}

TEST(PhysicalRun, SamplingTakesAsManyAsItSays) {
  const Scene scene = richScene();
  RenderRequest request = requestOf(16, 12, 16);
  const Image fixed = trace(scene, request);
  request.path.samples = 64;
  request.path.sampling = Sampling::Draft;
  EXPECT_EQ(trace(scene, request).pixels, fixed.pixels) << "a quarter of 64";
  request.path.samples = 16;
  request.path.sampling = Sampling::Adaptive;
  request.path.noiseLimit = 1;
  EXPECT_EQ(trace(scene, request).pixels, fixed.pixels) << "content at once";
  request.path.noiseLimit = 1e-6F;
  const Image most = trace(scene, request);
  request.path.sampling = Sampling::Fixed;
  request.path.samples = 64;
  int different = 0;
  const Image four = trace(scene, request);
  for (size_t i = 0; i < four.pixels.size(); ++i) different += four.pixels[i] != most.pixels[i] ? 1 : 0;
  EXPECT_LT(different, static_cast<int>(four.pixels.size()) / 4)
      << "never content, but where nothing is noisy";
}

TEST(PhysicalRun, AStopEndsItWithinAPixel) {
  const Scene scene = richScene();
  RenderRequest request = requestOf(8, 8, 1 << 16);
  std::atomic<bool> stop{false};
  request.stopped = [&] { return stop.load(); };
  std::chrono::steady_clock::time_point asked;
  std::thread hand([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    asked = std::chrono::steady_clock::now();
    stop = true;
  });
  EXPECT_THROW(trace(scene, request), RenderStopped);
  hand.join();
  EXPECT_LT(std::chrono::steady_clock::now() - asked, std::chrono::seconds(2))
      << "50 ms, on a machine of its own";
}

}  // namespace
}  // namespace host
