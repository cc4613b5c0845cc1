// What the standard renderer makes of whole materials, how textures far away are averaged, and how light
// becomes 8-bit pixels. Answers that algebra knows.

#include <gtest/gtest.h>

#include "host/render/film.h"
#include "tests/support/pictures.h"

namespace host {
namespace {

/// A square that fills the picture, under a white sky of 1 without lamps.
struct Plate {
  Scene scene = orthographicScene(1, 1);
  RenderRequest request;

  explicit Plate(const Material& material) {
    add(scene, squareMesh(1.5F), material);
    request.width = request.height = 5;
    request.toneCurve = false;
    request.environment = {Environment::Kind::White, 1.0F};
  }

  Vec3 light(RendererId renderer = RendererId::Standard) const {
    const Pixel p = center(renderScene(PreparedScene(scene), renderer, request));
    return {linear(p.r), linear(p.g), linear(p.b)};
  }
};

/// Nothing is mirrored that comes straight on.
Material withoutMirror(Vec4 color) {
  Material material = matt(color);
  material.ior = 1;
  return material;
}

TEST(StandardMaterials, UnlitIsTheBaseColourAndOcclusionKeepsSkylightAway) {
  Plate unlit(withoutMirror({0.5F, 0.25F, 1, 1}));
  unlit.scene.materials[0].unlit = true;
  unlit.request.environment.strength = 0;
  EXPECT_NEAR(unlit.light().x, 0.5F, 0.004F);
  EXPECT_NEAR(unlit.light().y, 0.25F, 0.004F);

  Plate occluded(withoutMirror({1, 1, 1, 1}));
  EXPECT_NEAR(occluded.light().x, 1, 0.01F);
  occluded.scene.materials[0].occlusionTexture.texture = addTexture(occluded.scene, 1, 1, 3, {51, 0, 0}, {});
  occluded.scene.materials[0].occlusionStrength = 0.5F;
  EXPECT_NEAR(occluded.light().x, 0.6F, 0.01F);
}

TEST(StandardMaterials, NormalMapsTiltTheSurfaceOnBothSidesAndInMirroredPlaces) {
  Plate plate(withoutMirror({1, 1, 1, 1}));
  plate.request.environment.strength = 0;
  plate.request.exposure = 1;
  plate.scene.materials[0].doubleSided = true;
  plate.scene.lights = {sun({-1, 0, -1})};  // from the upper right hand of someone who looks at the plate
  const float flat = plate.light().x;
  EXPECT_NEAR(flat, std::sqrt(0.5F), 0.01F);
  // 45 degrees towards u.
  plate.scene.materials[0].normalTexture.texture = addTexture(plate.scene, 1, 1, 3, {218, 128, 218}, {});
  EXPECT_NEAR(plate.light().x, 1, 0.01F);
  Mesh& mesh = plate.scene.meshes[0];
  mesh.normals.assign(4, {0, 0, 1});
  mesh.tangents.assign(4, {1, 0, 0, 1});
  EXPECT_NEAR(plate.light().x, 1, 0.01F) << "the same with the file's own tangents";
  plate.scene.materials[0].normalScale = 0;
  EXPECT_NEAR(plate.light().x, flat, 0.01F);
  plate.scene.materials[0].normalScale = 1;
  plate.scene.instances[0].transform = scaled({-1, 1, 1});
  EXPECT_NEAR(plate.light().x, 0, 0.01F) << "u runs to the left";
  plate.scene.instances[0].transform = turned(Axis::Y, 180);
  EXPECT_NEAR(plate.light().x, 1, 0.01F) << "from behind, dents are bumps";
  // The green channel tilts towards the top of the picture, with and without tangents.
  plate.scene.instances[0].transform = {};
  plate.scene.lights = {sun({0, -1, -1})};
  plate.scene.images[0].pixels = {128, 218, 218};
  EXPECT_NEAR(plate.light().x, 1, 0.01F);
  mesh.tangents.clear();
  EXPECT_NEAR(plate.light().x, 1, 0.01F);
}

TEST(StandardMaterials, GlassLetsLightThrough) {
  Material pane = withoutMirror({0.5F, 0.25F, 1, 1});
  pane.transmission = 1;
  pane.roughness = 0;
  const Plate thin(pane);
  EXPECT_NEAR(thin.light().x, 0.5F, 0.01F);
  EXPECT_NEAR(thin.light().y, 0.25F, 0.01F);

  // A slab of one metre that leaves a quarter of the light after half a metre.
  Material slab = withoutMirror({1, 1, 1, 1});
  slab.transmission = 1;
  slab.roughness = 0;
  slab.thickness = 1;
  slab.attenuationDistance = 0.5F;
  slab.attenuationColor = {1, 0.25F, 0.25F};
  Plate thick(slab);
  add(thick.scene, squareMesh(1.5F), slab, moved({0, 0, -1}) * turned(Axis::Y, 180));
  EXPECT_NEAR(thick.light().x, 1, 0.01F);
  EXPECT_NEAR(thick.light().y, 0.0625F, 0.005F);
}

TEST(StandardMaterials, CoatsAndSheenReflectBesideTheBase) {
  Material black = withoutMirror({0, 0, 0, 1});
  black.clearcoat = 1;
  EXPECT_NEAR(Plate(black).light().x, 0.04F, 0.005F);
  Material white = withoutMirror({1, 1, 1, 1});
  white.clearcoat = 1;
  EXPECT_NEAR(Plate(white).light().x, 1, 0.01F) << "what the coat takes it gives";
  Material velvet = withoutMirror({0, 0, 0, 1});
  velvet.sheenColor = {1, 0.5F, 0};
  velvet.sheenRoughness = 0.5F;
  const Vec3 sheen = Plate(velvet).light();
  EXPECT_GT(sheen.x, 0.05F);
  EXPECT_NEAR(sheen.y, sheen.x / 2, 0.01F);
  EXPECT_EQ(sheen.z, 0);
}

TEST(StandardMaterials, AnisotropyDrawsHighlightsOutAlongItsDirection) {
  Material brushed;
  brushed.roughness = 0.4F;
  brushed.anisotropy = 1;
  Plate plate(brushed);
  plate.request.environment.strength = 0;
  plate.request.exposure = 0.02F;
  plate.scene.meshes[0].normals.assign(4, {0, 0, 1});
  plate.scene.meshes[0].tangents.assign(4, {1, 0, 0, 1});
  const auto lit = [&](Vec3 direction) {
    plate.scene.lights = {sun(direction)};
    return plate.light().x;
  };
  EXPECT_GT(lit({-1, 0, -1}), 4 * lit({0, -1, -1}));
  plate.scene.materials[0].anisotropyRotation = 1.5707963F;
  EXPECT_GT(lit({0, -1, -1}), 4 * lit({-1, 0, -1}));
}

TEST(RenderTexture, TexturesFarAwayAreAveraged) {
  // Black and white columns, far finer than the pixels: a moire without smaller pictures, even grey with
  // them.
  Scene scene = orthographicScene(1, 1);
  std::vector<uint8_t> columns;
  for (int i = 0; i < 256 * 256; ++i) columns.push_back(i % 2 == 0 ? 0 : 255);
  Material material = matt({1, 1, 1, 1});
  material.unlit = true;
  material.baseColorTexture.texture =
      addTexture(scene, 256, 256, 1, columns, {-1, Wrap::Repeat, Wrap::Repeat, false, true});
  add(scene, squareMesh(1), material);
  const auto spread = [&] {
    const Image image = render(scene, RendererId::Standard, 19, 19);
    const auto [least, most] = std::minmax_element(image.pixels.begin(), image.pixels.end());
    return std::pair<int, int>{*least, *most};
  };
  EXPECT_GE(spread().first, 186);
  EXPECT_LE(spread().second, 190) << "half the light, not half the number";
  scene.textures[0].mipmapped = false;
  EXPECT_LT(spread().first, 100);
}

TEST(RenderFilm, ToneCurveBendsAndGlowSpills) {
  EXPECT_EQ(toneCurve(0.65F), 0.65F);
  EXPECT_FLOAT_EQ(toneCurve(1), 0.825F);
  EXPECT_LE(toneCurve(1e38F), 1);
  float last = 0;
  for (float x = 0; x < 20; x += 0.01F) {
    EXPECT_GE(toneCurve(x), last);
    last = toneCurve(x);
  }

  RenderRequest request;
  request.width = 41;
  request.height = 31;
  request.toneCurve = false;
  const auto develop = [&] {
    Film film(request);
    for (int y = 0; y < 31; ++y) {
      for (int x = 0; x < 41; ++x)
        film.set(x, y, x == 20 && y == 15 ? Vec3{50, 50, 0} : Vec3{0.25F, 0, 0.25F});
    }
    return film.develop();
  };
  const Image plain = develop();
  request.glow = Glow{0.5F, 0.1F};
  const Image glowing = develop();
  EXPECT_EQ(at(plain, 20, 15), (Pixel{255, 255, 0}));
  EXPECT_EQ(at(plain, 22, 15), (Pixel{137, 0, 137}));
  EXPECT_GT(at(glowing, 22, 15).g, 60);
  EXPECT_EQ(at(glowing, 22, 15).b, 137) << "no blue light is above white";
  EXPECT_EQ(at(glowing, 22, 15), at(glowing, 18, 15));
  EXPECT_EQ(at(glowing, 20, 17), at(glowing, 20, 13));
  EXPECT_GT(at(glowing, 22, 15).g, at(glowing, 26, 15).g);
}

}  // namespace
}  // namespace host
