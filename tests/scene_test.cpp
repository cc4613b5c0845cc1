// What scenes are read as: values that a wrong reader gets wrong.

#include "host/document/scene.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "tests/gltf_builder.h"

namespace {

using namespace host;
using namespace test;

class SceneTest : public testing::Test {
 protected:
  SceneFile load(const GltfBuilder& gltf) {
    writeFile(folder_ / "scene.vesta", gltf.glb());
    return loadScene(folder_ / "scene.vesta");
  }
  TempFolder folder_;
};

void expectNear(Vec3 actual, Vec3 expected) {
  EXPECT_NEAR(actual.x, expected.x, 1e-5F);
  EXPECT_NEAR(actual.y, expected.y, 1e-5F);
  EXPECT_NEAR(actual.z, expected.z, 1e-5F);
}

void expectTriangle(const SceneFile& file) {
  ASSERT_EQ(file.scene.meshes.size(), 1U);
  const Mesh& mesh = file.scene.meshes[0];
  EXPECT_EQ(mesh.indices, (std::vector<uint32_t>{0, 1, 2}));
  ASSERT_EQ(mesh.positions.size(), 3U);
  expectNear(mesh.positions[1], {1, 0, 0});
  EXPECT_GT(mesh.positions.capacity(), mesh.positions.size()) << "no padding for 16-byte reads";
  ASSERT_EQ(mesh.normals.size(), 3U);
  expectNear(mesh.normals[2], {0, 0, 1});
  EXPECT_EQ(file.scene.instances.size(), 1U);
  EXPECT_FALSE(file.scene.camera.has_value());
  EXPECT_TRUE(file.unsupported.empty());
}

TEST_F(SceneTest, IsToldApartByContentAndFindsItsFilesThroughLinksAndEscapes) {
  GltfBuilder gltf = triangle();
  expectTriangle(load(gltf));

  const auto real = folder_ / "Sc\u00e8ne \u2764";
  std::filesystem::create_directories(real / "data");
  writeFile(real / "data" / "a+b \u2764.bin", gltf.bin + "padding");
  gltf.root["buffers"][0]["uri"] = "data/./a+b%20%E2%9D%A4.bin";
  writeFile(real / "real.gltf", "\n " + gltf.root.dump(2));
  std::filesystem::create_symlink(real / "real.gltf", folder_ / "link.vesta");
  expectTriangle(loadScene(folder_ / "link.vesta"));

  gltf.root["buffers"][0]["uri"] = "data:;base64,";  // a media type that is not stated
  gltf.root["buffers"][0]["byteLength"] = 3;
  gltf.root["bufferViews"] = json::array({{{"buffer", 0}, {"byteLength", 3}}});
  gltf.root["accessors"] =
      json::parse(R"([{"componentType": 5121, "type": "VEC3", "count": 1, "bufferView": 0}])");
  gltf.root["meshes"][0]["primitives"][0] = json::parse(R"({"attributes": {"POSITION": 0}})");
  gltf.root["buffers"][0]["uri"] = "data:;base64,AQID";
  writeFile(folder_ / "data.vesta", gltf.root.dump());
  EXPECT_TRUE(loadScene(folder_ / "data.vesta").scene.meshes.empty()) << "one vertex makes no triangle";
}

TEST_F(SceneTest, TurnsEveryModeIntoTrianglesThatFaceTheSameWay) {
  const struct {
    int mode;
    std::vector<uint32_t> indices;
  } kCases[] = {{4, {0, 1, 2}}, {5, {0, 1, 2, 1, 3, 2, 2, 3, 4}}, {6, {1, 2, 0, 2, 3, 0, 3, 4, 0}}};
  for (const auto& row : kCases) {
    GltfBuilder gltf;
    const int positions = gltf.accessor<float>({0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0, 0, 2, 0}, kFloat, "VEC3");
    gltf.node({{"mesh", gltf.mesh({{"attributes", {{"POSITION", positions}}}, {"mode", row.mode}})}});
    const SceneFile file = load(gltf);
    ASSERT_EQ(file.scene.meshes.size(), 1U) << row.mode;
    EXPECT_EQ(file.scene.meshes[0].indices, row.indices) << row.mode;
    EXPECT_TRUE(file.scene.meshes[0].normals.empty());
  }
}

TEST_F(SceneTest, ReadsSparseStridedAndNormalizedNumbers) {
  GltfBuilder gltf = triangle();
  json& accessors = gltf.root["accessors"];
  // Positions: interleaved with one float of something else, the last vertex replaced by a sparse one.
  const int interleaved = gltf.view<float>({0, 0, 0, 9, 1, 0, 0, 9, 5, 5, 5, 9});
  gltf.root["bufferViews"][static_cast<size_t>(interleaved)]["byteStride"] = 16;
  const int places = gltf.view<uint8_t>({2});
  const int values = gltf.view<float>({0, 7, 0});
  accessors[0]["bufferView"] = interleaved;
  accessors[0]["sparse"] = {{"count", 1},
                            {"indices", {{"bufferView", places}, {"componentType", kUnsignedByte}}},
                            {"values", {{"bufferView", values}}}};
  // A sparse accessor without a buffer view is all zero elsewhere: two normals have no direction then.
  accessors[1].erase("bufferView");
  const int direction = gltf.view<float>({0, 2, 0});
  accessors[1]["sparse"] = {{"count", 1},
                            {"indices", {{"bufferView", places}, {"componentType", kUnsignedByte}}},
                            {"values", {{"bufferView", direction}}}};
  json& attributes = gltf.root["meshes"][0]["primitives"][0]["attributes"];
  attributes["COLOR_0"] = gltf.accessor<uint8_t>({255, 0, 51, 0, 0, 0, 0, 0, 0}, kUnsignedByte, "VEC3", true);
  gltf.root["meshes"][0]["primitives"][0]["indices"] =
      gltf.accessor<uint8_t>({2, 1, 0}, kUnsignedByte, "SCALAR");

  const Mesh mesh = load(gltf).scene.meshes.at(0);
  expectNear(mesh.positions[1], {1, 0, 0});
  expectNear(mesh.positions[2], {0, 7, 0});
  expectNear(mesh.normals[2], {0, 1, 0});
  expectNear(mesh.normals[0], {0, 0, -1});  // the surface's own, as the indices run
  ASSERT_EQ(mesh.colors.size(), 3U);
  EXPECT_FLOAT_EQ(mesh.colors[0].x, 1);
  EXPECT_FLOAT_EQ(mesh.colors[0].z, 0.2F);
  EXPECT_FLOAT_EQ(mesh.colors[0].w, 1);
  EXPECT_EQ(mesh.indices, (std::vector<uint32_t>{2, 1, 0}));
}

TEST_F(SceneTest, FlattensTheTreeAndSharesMeshes) {
  GltfBuilder gltf = triangle();
  const int child =
      gltf.node({{"mesh", 0}, {"matrix", {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 3, 1}}}, false);
  const double half = std::numbers::sqrt2 / 2;
  // A quarter turn about Y, given at twice its length, takes +Z to +X.
  gltf.node({{"children", {child}},
             {"translation", {10, 0, 0}},
             {"rotation", {0, 2 * half, 0, 2 * half}},
             {"scale", {2, 4, 2}}});
  const SceneFile file = load(gltf);
  EXPECT_EQ(file.scene.meshes.size(), 1U);
  ASSERT_EQ(file.scene.instances.size(), 2U);
  const Mat4& world = file.scene.instances[1].transform;
  expectNear(transformPoint(world, {0, 0, 0}), {16, 0, 0});
  expectNear(transformPoint(world, {1, 0, 0}), {16, 0, -2});
  expectNear(transformPoint(world, {0, 1, 0}), {16, 4, 0});
  const auto bounds = sceneBounds(file.scene);
  ASSERT_TRUE(bounds.has_value());
  expectNear(bounds->low, {0, 0, -2});
  expectNear(bounds->high, {16, 4, 0});
}

TEST_F(SceneTest, TakesTheFirstCameraAndTheLightsOfTheDefaultScene) {
  GltfBuilder gltf = triangle();
  gltf.root["cameras"] = json::parse(R"([{"type": "orthographic",
      "orthographic": {"xmag": 3, "ymag": 2, "znear": 0, "zfar": 50}},
      {"type": "perspective", "perspective": {"yfov": 0.5, "znear": 0.1}}])");
  gltf.root["extensions"]["KHR_lights_punctual"]["lights"] = json::parse(R"([
      {"type": "spot", "color": [1, 0.5, 0], "intensity": 40, "range": 8,
       "spot": {"innerConeAngle": 0.1, "outerConeAngle": 0.6}}, {"type": "point"}])");
  const auto light = [](int index) { return json{{"KHR_lights_punctual", {{"light", index}}}}; };
  const double half = std::numbers::sqrt2 / 2;
  const int deep = gltf.node({{"camera", 0}}, false);
  gltf.node({{"camera", 1}, {"extensions", light(1)}});
  // Scene 1: a quarter turn about X makes -Z point down; the deeper camera comes first in depth-first order.
  const int turned = gltf.node({{"children", {deep}},
                                {"translation", {0, 5, 0}},
                                {"rotation", {-half, 0, 0, half}},
                                {"scale", {3, 0.5, -2}},
                                {"extensions", light(0)}},
                               false);
  const int second = gltf.node({{"camera", 1}}, false);
  gltf.root["scenes"].push_back({{"nodes", {turned, second}}});
  gltf.root["scene"] = 1;

  const SceneFile file = load(gltf);
  EXPECT_TRUE(file.scene.instances.empty());
  ASSERT_TRUE(file.scene.camera.has_value());
  const Camera& camera = *file.scene.camera;
  EXPECT_TRUE(camera.orthographic);
  EXPECT_FLOAT_EQ(camera.xmag, 3);
  EXPECT_FLOAT_EQ(camera.zfar, 50);
  expectNear(transformPoint(camera.transform, {0, 0, 0}), {0, 5, 0});
  expectNear(transformVector(camera.transform, {0, 0, -1}), {0, 1, 0});  // mirrored by the scale
  EXPECT_NEAR(length(transformVector(camera.transform, {1, 0, 0})), 1, 1e-5F);
  EXPECT_NEAR(length(transformVector(camera.transform, {0, 1, 0})), 1, 1e-5F);
  ASSERT_EQ(file.scene.lights.size(), 1U);
  const Light& spot = file.scene.lights[0];
  EXPECT_EQ(spot.kind, Light::Kind::Spot);
  expectNear(spot.position, {0, 5, 0});
  expectNear(spot.direction, {0, 1, 0});
  expectNear(spot.color, {1, 0.5F, 0});
  EXPECT_FLOAT_EQ(spot.intensity, 40);
  EXPECT_FLOAT_EQ(spot.outerCone, 0.6F);
}

TEST_F(SceneTest, ReadsMaterialsAndOnlyThePicturesTheyShow) {
  GltfBuilder gltf = triangle();
  json& primitive = gltf.root["meshes"][0]["primitives"][0];
  primitive["material"] = 1;
  primitive["attributes"]["TEXCOORD_0"] = gltf.accessor<float>({0, 0, 1, 0, 0, 1}, kFloat, "VEC2");
  primitive["attributes"]["TEXCOORD_3"] =
      gltf.accessor<uint16_t>({0, 65535, 0, 0, 0, 0}, kUnsignedShort, "VEC2", true);
  gltf.root["materials"] = json::parse(R"([{"name": "unused", "emissiveTexture": {"index": 2}}, {
      "name": "used", "alphaMode": "MASK", "alphaCutoff": 0.25, "doubleSided": true,
      "emissiveFactor": [1, 0.5, 0], "emissiveTexture": {"index": 1, "texCoord": 3},
      "normalTexture": {"index": 0, "scale": 0.5}, "occlusionTexture": {"index": 1, "strength": 0.25},
      "extensions": {"KHR_materials_emissive_strength": {"emissiveStrength": 4}},
      "pbrMetallicRoughness": {"metallicFactor": 0.5, "baseColorFactor": [0.1, 0.2, 0.3, 1],
        "baseColorTexture": {"index": 0, "extensions": {"KHR_texture_transform":
          {"offset": [10, 20], "rotation": 1.5707963267948966, "scale": [2, 3]}}}}}])");
  gltf.root["textures"] = json::parse(R"([{"source": 0, "sampler": 0}, {"source": 0}, {"source": 1}])");
  gltf.root["samplers"] = json::parse(R"([{"wrapS": 33071, "wrapT": 33648, "magFilter": 9728}])");
  gltf.root["images"] = json::parse(R"([{"uri": "red%20dot.png"}, {"uri": "not there.png"}])");
  Image red{2, 1, 3, {255, 0, 0, 255, 0, 0}};
  writePng(folder_ / "red dot.png", red);

  const SceneFile file = load(gltf);
  const Scene& scene = file.scene;
  ASSERT_EQ(scene.materials.size(), 1U);
  ASSERT_EQ(scene.images.size(), 1U) << "one picture in two textures is decoded once";
  EXPECT_EQ(scene.images[0].width, 2);
  const Material& material = scene.materials[0];
  EXPECT_EQ(material.name, "used");
  EXPECT_EQ(material.alphaMode, AlphaMode::Mask);
  EXPECT_FLOAT_EQ(material.alphaCutoff, 0.25F);
  EXPECT_TRUE(material.doubleSided);
  EXPECT_FLOAT_EQ(material.metallic, 0.5F);
  EXPECT_FLOAT_EQ(material.baseColor.z, 0.3F);
  expectNear(material.emissive, {4, 2, 0});
  const Texture& base = scene.textures.at(static_cast<size_t>(material.baseColorTexture.texture));
  EXPECT_EQ(base.wrapS, Wrap::Clamp);
  EXPECT_EQ(base.wrapT, Wrap::Mirror);
  EXPECT_TRUE(base.nearest);
  EXPECT_FALSE(scene.textures.at(static_cast<size_t>(material.emissiveTexture.texture)).nearest);

  // Scaled, turned counter-clockwise as seen on the picture (V points down), moved.
  const Mesh& mesh = scene.meshes[0];
  const auto moved = [&](size_t vertex) {
    return material.baseColorTexture.moved(mesh.texCoords[material.baseColorTexture.texCoord].at(vertex));
  };
  EXPECT_NEAR(moved(1).x, 10, 1e-5);
  EXPECT_NEAR(moved(1).y, 18, 1e-5);
  EXPECT_NEAR(moved(2).x, 13, 1e-5);
  EXPECT_NEAR(moved(2).y, 20, 1e-5);
  EXPECT_FLOAT_EQ(mesh.texCoords[material.emissiveTexture.texCoord].at(0).y, 1);
  EXPECT_FLOAT_EQ(material.normalScale, 0.5F);
  EXPECT_FLOAT_EQ(material.occlusionStrength, 0.25F);
  EXPECT_NE(material.normalTexture.texture, material.baseColorTexture.texture) << "no colours";
  EXPECT_EQ(file.unsupported, std::vector<std::string>{});

  writeFile(folder_ / "red dot.png", "not a picture");
  try {
    load(gltf);
    FAIL() << "a damaged picture was accepted";
  } catch (const SceneError& error) {
    EXPECT_NE(std::string(error.what()).find("red%20dot.png"), std::string::npos) << error.what();
  }
}

TEST_F(SceneTest, ReadsTheExtensionsOfMaterials) {
  GltfBuilder gltf = triangle();
  json& primitive = gltf.root["meshes"][0]["primitives"][0];
  primitive["material"] = 0;
  primitive["attributes"]["TEXCOORD_1"] = gltf.accessor<float>({0, 0, 1, 0, 0, 1}, kFloat, "VEC2");
  primitive["attributes"]["TANGENT"] =
      gltf.accessor<float>({2, 0, 0, 1, 2, 0, 0, 1, 2, 0, 0, -1}, kFloat, "VEC4");
  gltf.root["textures"] = json::parse(R"([{"source": 0}])");
  gltf.root["images"] = json::parse(R"([{"uri": "dot.png"}])");
  writePng(folder_ / "dot.png", Image{1, 1, 3, {1, 2, 3}});
  gltf.root["materials"] = json::parse(R"([{"extensions": {
    "KHR_materials_unlit": {},
    "KHR_materials_ior": {"ior": 1.25},
    "KHR_materials_specular": {"specularFactor": 0.5, "specularColorFactor": [2, 1, -1],
      "specularColorTexture": {"index": 0, "texCoord": 1,
        "extensions": {"KHR_texture_transform": {"offset": [3, 4]}}}},
    "KHR_materials_transmission": {"transmissionFactor": 0.75, "transmissionTexture": {"index": 0}},
    "KHR_materials_volume": {"thicknessFactor": 2, "attenuationDistance": 3, "attenuationColor": [0.5, 1, 7]},
    "KHR_materials_clearcoat": {"clearcoatFactor": 0.25, "clearcoatRoughnessFactor": 0.125,
      "clearcoatNormalTexture": {"index": 0, "scale": 0.5}},
    "KHR_materials_sheen": {"sheenColorFactor": [0.5, 0.25, 0], "sheenRoughnessFactor": 0.375},
    "KHR_materials_anisotropy": {"anisotropyStrength": 0.625, "anisotropyRotation": 1.5}}}])");
  const SceneFile file = load(gltf);
  const Material& m = file.scene.materials.at(0);
  EXPECT_TRUE(m.unlit);
  EXPECT_FLOAT_EQ(m.ior, 1.25F);
  EXPECT_FLOAT_EQ(m.specular, 0.5F);
  expectNear(m.specularColor, {2, 1, 0});
  EXPECT_EQ(m.specularColorTexture.texCoord, 1);
  EXPECT_FLOAT_EQ(m.specularColorTexture.moved({0, 0}).y, 4);
  EXPECT_FLOAT_EQ(m.transmission, 0.75F);
  EXPECT_TRUE(m.transmissionTexture);
  EXPECT_FLOAT_EQ(m.thickness, 2);
  EXPECT_FLOAT_EQ(m.attenuationDistance, 3);
  expectNear(m.attenuationColor, {0.5F, 1, 1});
  EXPECT_FLOAT_EQ(m.clearcoat, 0.25F);
  EXPECT_FLOAT_EQ(m.clearcoatRoughness, 0.125F);
  EXPECT_FLOAT_EQ(m.clearcoatNormalScale, 0.5F);
  expectNear(m.sheenColor, {0.5F, 0.25F, 0});
  EXPECT_FLOAT_EQ(m.sheenRoughness, 0.375F);
  EXPECT_FLOAT_EQ(m.anisotropy, 0.625F);
  EXPECT_FLOAT_EQ(m.anisotropyRotation, 1.5F);
  EXPECT_EQ(file.scene.meshes[0].tangents.at(2).x, 1);
  EXPECT_EQ(file.scene.meshes[0].tangents.at(2).w, -1);
  EXPECT_EQ(file.unsupported, std::vector<std::string>{});

  gltf.root["materials"][0]["extensions"]["KHR_materials_transmission"]["transmissionTexture"]["index"] = 9;
  EXPECT_THROW(load(gltf), SceneError);
}

TEST_F(SceneTest, NamesOnceWhatItRendersWithout) {
  GltfBuilder gltf = triangle();
  json points = gltf.root["meshes"][0]["primitives"][0];
  points["mode"] = 0;
  gltf.root["meshes"][0]["primitives"].push_back(points);
  gltf.root["meshes"][0]["primitives"].push_back(points);
  gltf.node({{"mesh", 0}});
  gltf.root["extensionsUsed"] = {"KHR_materials_iridescence", "KHR_lights_punctual"};
  gltf.root["extensionsRequired"] = {"KHR_materials_iridescence"};
  gltf.root["extensionsUsed"].push_back("KHR_animation_pointer");
  gltf.root["nodes"][0]["extensions"]["EXT_unlisted"] = json::object();
  const int times = gltf.accessor<float>({0}, kFloat, "SCALAR");
  gltf.root["animations"] = json::parse(R"([{"channels": [
      {"sampler": 0, "target": {"path": "pointer", "extensions": {"KHR_animation_pointer": {}}}},
      {"sampler": 0, "target": {"node": 0, "path": "weights"}},
      {"sampler": 0, "target": {"node": 0, "path": "colour"}}], "samplers": [{}]}])");
  gltf.root["animations"][0]["samplers"][0] = {{"input", times}, {"output", times}};
  const SceneFile file = load(gltf);
  EXPECT_EQ(file.scene.instances.size(), 2U);
  EXPECT_EQ(file.unsupported, (std::vector<std::string>{
                                  "extension EXT_unlisted", "extension KHR_animation_pointer",
                                  "extension KHR_materials_iridescence, which it requires",
                                  "2 animation channels (left out)", "2 primitives of points (left out)"}));
}

TEST_F(SceneTest, KeepsTheTypesOfRenderSettings) {
  GltfBuilder gltf = triangle();
  EXPECT_EQ(load(gltf).document.fps, 25);
  gltf.root["extensions"]["VESTA_document"] = json::parse(R"({"fps": 12.5, "startFrame": -3,
      "renderSettings": {"5300": 1, "-7": true, "5008": 2.0, "100": -2147483648, "9": 1e2},
      "videoPosts": [{"type": 1023342, "bits": 5, "settings": {"4000": 1}}, {"type": 2}]})");
  const DocumentRecord document = load(gltf).document;
  EXPECT_EQ(document.fps, 12.5);
  EXPECT_EQ(document.startFrame, -3);
  ASSERT_EQ(document.renderSettings.size(), 5U);
  const std::pair<int32_t, decltype(Setting::value)> expected[] = {
      {-7, true}, {9, 100.0}, {100, INT32_MIN}, {5008, 2.0}, {5300, 1}};
  for (size_t i = 0; i < 5; ++i) {
    EXPECT_EQ(document.renderSettings[i].id, expected[i].first);
    EXPECT_TRUE(document.renderSettings[i].value == expected[i].second) << expected[i].first;
  }
  ASSERT_EQ(document.videoPosts.size(), 2U);
  EXPECT_EQ(document.videoPosts[0].type, 1023342);
  EXPECT_EQ(document.videoPosts[0].bits, 5);
  EXPECT_EQ(document.videoPosts[0].settings.at(0).id, 4000);
  EXPECT_EQ(document.videoPosts[1].bits, 0);
}

TEST(Examples, LoadWholeWithCameraAndLights) {
  const auto folder = std::filesystem::path(__FILE__).parent_path().parent_path() / "examples";
  int scenes = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    if (entry.path().extension() != ".vesta") continue;
    const SceneFile file = loadScene(entry.path());
    EXPECT_TRUE(file.unsupported.empty()) << entry.path();
    EXPECT_TRUE(file.scene.camera.has_value()) << entry.path();
    const auto& materials = file.scene.materials;
    EXPECT_TRUE(!file.scene.lights.empty() || std::any_of(materials.begin(), materials.end(),
                                                          [](const Material& m) { return m.emissive.x > 1; }))
        << entry.path();
    EXPECT_GE(file.document.renderSettings.size(), 3U) << entry.path();
    ++scenes;
  }
  EXPECT_EQ(scenes, 12);
}

}  // namespace
