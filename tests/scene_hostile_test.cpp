// Broken, truncated and malicious scene files: every one is a SceneError with its reason, or a scene.

#include <gtest/gtest.h>

#include <limits>
#include <random>

#include "host/document/scene.h"
#include "tests/gltf_builder.h"

namespace {

using namespace host;
using namespace test;

class HostileSceneTest : public testing::Test {
 protected:
  /// The reason why the file is refused, or "loaded".
  std::string reason(const std::string& bytes) {
    writeFile(folder_ / "scene.vesta", bytes);
    return reasonFor(folder_ / "scene.vesta");
  }

  static std::string reasonFor(const std::filesystem::path& file) {
    try {
      loadScene(file);
      return "loaded";
    } catch (const SceneError& error) {
      return error.what();
    }
  }

  static void expectWords(const std::string& reason, const std::string& words, const std::string& what) {
    EXPECT_NE(reason.find(words), std::string::npos) << what << " gave: " << reason;
  }

  TempFolder folder_;
};

/// A file with something of everything, so that each part can be broken.
GltfBuilder everything() {
  GltfBuilder gltf = triangle();
  json& primitive = gltf.root["meshes"][0]["primitives"][0];
  primitive["material"] = 0;
  primitive["attributes"]["TEXCOORD_0"] = gltf.accessor<float>({0, 0, 1, 0, 0, 1}, kFloat, "VEC2");
  primitive["attributes"]["COLOR_0"] =
      gltf.accessor<uint8_t>({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}, kUnsignedByte, "VEC4", true);
  const int places = gltf.view<uint16_t>({1});
  const int values = gltf.view<float>({0.5, 0.5});
  gltf.root["accessors"][3]["sparse"] = {
      {"count", 1},
      {"indices", {{"bufferView", places}, {"componentType", kUnsignedShort}}},
      {"values", {{"bufferView", values}}}};
  gltf.root["materials"] = json::parse(R"([{"alphaMode": "BLEND", "emissiveFactor": [0, 1, 0],
      "pbrMetallicRoughness": {"baseColorFactor": [1, 1, 1, 1], "baseColorTexture": {"index": 0,
      "extensions": {"KHR_texture_transform": {"scale": [2, 2], "rotation": 0.5}}}}}])");
  gltf.root["textures"] = json::parse(R"([{"sampler": 0}])");
  gltf.root["samplers"] = json::parse(R"([{"wrapS": 10497}])");
  gltf.root["cameras"] =
      json::parse(R"([{"type": "perspective", "perspective": {"yfov": 0.5, "znear": 0.1}}])");
  gltf.root["extensions"] = json::parse(R"({"KHR_lights_punctual": {"lights": [{"type": "spot", "spot": {}}]},
      "VESTA_document": {"fps": 25, "startFrame": 0, "renderSettings": {"5300": 1},
                         "videoPosts": [{"type": 1, "bits": 0, "settings": {"4000": 1}}]}})");
  const int child = gltf.node({{"mesh", 0}, {"translation", {1, 2, 3}}}, false);
  gltf.node({{"camera", 0},
             {"children", {child}},
             {"rotation", {0, 0, 0, 1}},
             {"extensions", {{"KHR_lights_punctual", {{"light", 0}}}}}});
  return gltf;
}

TEST_F(HostileSceneTest, EveryBrokenMemberIsNamed) {
  ASSERT_EQ(reason(everything().glb()), "loaded");
  const json kGone = json::value_t::discarded;
  const struct {
    const char* member;
    json value;
    const char* words;
  } kCases[] = {
      {"/asset", kGone, "asset is missing"},
      {"/asset/version", "3.0", "glTF version 3.0"},
      {"/asset/version", 2, "asset.version must be a string"},
      {"/scene", 1, "scene is out of range: 1"},
      {"/scene", -1, "scene must be an index"},
      {"/scenes", 5, "scenes must be an array"},
      {"/scenes/0/nodes/0", 99, "scenes[0].nodes is out of range: 99"},
      {"/scenes/0/nodes/0", 2, "lists a node twice"},
      {"/scenes/0/nodes/0", 1, "child of another node"},
      {"/nodes/1/children", {2}, "cycle"},
      {"/nodes/2/children", {2}, "cycle"},
      {"/nodes/1/children", {1}, "two parents"},
      {"/nodes/0/children", {1}, "two parents"},
      {"/nodes/0", 7, "nodes must hold objects"},
      {"/nodes/1/mesh", 55, "nodes[1].mesh is out of range: 55"},
      {"/nodes/1/translation", {1, 2}, "must have 3 numbers"},
      {"/nodes/1/translation", {1, 2, "3"}, "must be a number"},
      {"/nodes/1/translation", {1, 2, 1e200}, "too large"},
      {"/nodes/1/scale", {3e38, 3e38, 3e38}, "too large"},
      {"/nodes/2/scale", {3e38, 3e38, 3e38}, "not finite"},
      {"/nodes/2/camera", 1.5, "must be an index"},
      {"/nodes/2/extensions", json::array(), "nodes[2].extensions must be an object"},
      {"/nodes/2/extensions/KHR_lights_punctual", 1, "must be an object"},
      {"/nodes/2/extensions/KHR_lights_punctual/light", 4294967296, "out of range"},
      {"/cameras/0/perspective/yfov", 4, "field of view"},
      {"/cameras/0/perspective/znear", 0, "near distance"},
      {"/cameras/0/type", "fisheye", "fisheye"},
      {"/extensions", 3, "extensions must be an object"},
      {"/extensions/KHR_lights_punctual/lights", kGone, "lights is missing"},
      {"/extensions/KHR_lights_punctual/lights/0/type", "laser", "laser"},
      {"/extensions/KHR_lights_punctual/lights/0/intensity", -1, "negative"},
      {"/extensions/KHR_lights_punctual/lights/0/spot/outerConeAngle", 3, "cone"},
      {"/extensionsRequired", {"KHR_draco_mesh_compression"}, "compressed with KHR_draco_mesh_compression"},
      {"/extensionsUsed", {1}, "strings"},
      {"/buffers/0/byteLength", 4000000000, "at most 2147483648"},
      {"/buffers/0/byteLength", 100000, "binary size"},
      {"/buffers/0/uri", "../x.bin", "outside the scene's folder"},
      {"/buffers/0/uri", "a/%2e%2e/../..%2Fx.bin", "outside the scene's folder"},
      {"/buffers/0/uri", "/etc/passwd", "outside the scene's folder"},
      {"/buffers/0/uri", "http://example.com/x.bin", "not a file beside the scene"},
      {"/buffers/0/uri", "missing.bin", "\"missing.bin\": No such file"},
      {"/buffers/0/uri", "sub", "not a regular file"},
      {"/buffers/0/uri", "short.bin", "are needed"},
      {"/buffers/0/uri", "data:application/octet-stream;base64,!!!!", "Failed to decode"},
      {"/buffers/0/uri", "data:x/y;base64,!!!!", "bad base64"},
      {"/images", {{{"uri", "../secret.png"}}}, "outside the scene's folder"},
      {"/bufferViews/0/buffer", 1, "bufferViews[0].buffer is out of range"},
      {"/bufferViews/0/byteOffset", -4, "not negative"},
      {"/bufferViews/0/byteOffset", 9007199254740993, "at most"},
      {"/bufferViews/0/byteOffset", 2000, "bufferViews[0] ends at byte 2036"},
      {"/bufferViews/6/byteLength", 9, "bufferViews[6] ends at byte"},
      {"/bufferViews/0/byteStride", 8, "larger than the stride"},
      {"/bufferViews/0/byteLength", 35, "accessors[0] ends at byte 36"},
      {"/accessors/0/bufferView", 99, "accessors[0].bufferView is out of range"},
      {"/accessors/0/byteOffset", 4, "accessors[0] ends at byte 40"},
      {"/accessors/0/byteOffset", 2, "not aligned"},
      {"/accessors/0/count", 1000000000, "accessors[0].count is 1000000000"},
      {"/accessors/0/count", 4, "accessors[0] ends at byte 48"},
      {"/accessors/0/count", 2, "an index is out of range: 2 of 2"},
      {"/accessors/0/componentType", 5130, "unknown component type"},
      {"/accessors/0/type", "VEC2", "wrong number of components"},
      {"/accessors/0/type", "VEC9", "VEC9"},
      {"/accessors/1/count", 2, "NORMAL has 2 elements for 3 vertices"},
      {"/accessors/2/componentType", kByte, "not unsigned integers"},
      {"/accessors/3/sparse/count", 4, "more sparse elements"},
      {"/accessors/3/sparse/indices/bufferView", 77, "out of range"},
      {"/accessors/3/sparse/indices/byteOffset", 2, "ends at byte 4"},
      {"/accessors/3/sparse/indices/componentType", kFloat, "not unsigned integers"},
      {"/accessors/3/sparse/values", kGone, "values is missing"},
      {"/meshes/0/primitives", kGone, "primitives is missing"},
      {"/meshes/0/primitives/0/attributes", {1}, "must be an object"},
      {"/meshes/0/primitives/0/attributes/POSITION", 42, "out of range: 42"},
      {"/meshes/0/primitives/0/indices", "0", "must be an index"},
      {"/meshes/0/primitives/0/mode", 7, "at most 6"},
      {"/meshes/0/primitives/0/material", 3, "out of range"},
      {"/materials/0/alphaMode", "SOFT", "alpha mode SOFT"},
      {"/materials/0/pbrMetallicRoughness", 1, "must be an object"},
      {"/materials/0/pbrMetallicRoughness/baseColorTexture/index", 5,
       "baseColorTexture.index is out of range"},
      {"/materials/0/pbrMetallicRoughness/baseColorTexture/extensions/KHR_texture_transform/scale", 2,
       "scale must be an array"},
      {"/textures/0/source", 0, "textures[0].source is out of range"},
      {"/asset/minVersion", "2.1", "it needs glTF version 2.1"},
      {"/extensions/VESTA_document", 1, "VESTA_document"},
      {"/extensions/VESTA_document/fps", 0, "positive"},
      {"/extensions/VESTA_document/startFrame", 1.5, "startFrame must be an integer"},
      {"/extensions/VESTA_document/startframe", 1, "unknown member startframe"},
      {"/extensions/VESTA_document/renderSettings/5008", 2147483648, "does not fit 32 bits"},
      {"/extensions/VESTA_document/renderSettings/5008", "640", "must be a number"},
      {"/extensions/VESTA_document/renderSettings/width", 640, "no decimal id"},
      {"/extensions/VESTA_document/renderSettings/05", 640, "no decimal id"},
      {"/extensions/VESTA_document/videoPosts/0/type", kGone, "has no type"},
      {"/extensions/VESTA_document/videoPosts/0/settings", json::array(), "must be an object"},
  };
  std::filesystem::create_directory(folder_ / "sub");
  writeFile(folder_ / "short.bin", "short");
  for (const auto& row : kCases) {
    GltfBuilder gltf = everything();
    const json::json_pointer place(row.member);
    if (row.value.is_discarded()) {
      gltf.root.at(place.parent_pointer()).erase(place.back());
    } else {
      gltf.root[place] = row.value;
    }
    expectWords(reason(gltf.glb()), row.words, std::string(row.member) + " = " + row.value.dump());
  }
}

TEST_F(HostileSceneTest, BadNumbersInBuffersAreFound) {
  GltfBuilder nan = triangle();
  const float bad = std::numeric_limits<float>::quiet_NaN();
  std::memcpy(nan.bin.data() + 8, &bad, sizeof(bad));
  expectWords(reason(nan.glb()), "meshes[0].primitives[0]: a position is not a finite number",
              "NaN position");

  GltfBuilder normal = triangle();
  std::memcpy(normal.bin.data() + 36, &bad, sizeof(bad));
  EXPECT_EQ(reason(normal.glb()), "loaded") << "a bad normal is replaced";

  GltfBuilder index = triangle();
  index.bin[72] = 3;
  expectWords(reason(index.glb()), "an index is out of range: 3 of 3 vertices", "index");

  GltfBuilder sparse = everything();
  const auto offset = sparse.root["bufferViews"][5]["byteOffset"].get<size_t>();
  sparse.bin[offset] = 3;
  expectWords(reason(sparse.glb()), "sparse index is out of range: 3", "sparse index");
}

TEST_F(HostileSceneTest, DamagedContainersAreRefused) {
  const std::string good = triangle().glb();
  std::string version = good, longer = good + "xxxx", length = good, notJson = good;
  version[4] = 1;
  length[12] = length[13] = length[14] = length[15] = '\x7f';
  notJson[16] = 'X';
  const std::string nested(100000, '[');
  const std::string deep = R"({"asset": {"version": "2.0"}, "extras": )" + nested;
  std::string objects = R"({"asset": {"version": "2.0"}, "extensions": )";
  for (int i = 0; i < 100000; ++i) objects += R"({"a":)";
  GltfBuilder json = triangle();
  const struct {
    const char* what;
    std::string bytes;
    const char* words;
  } kCases[] = {
      {"empty", "", "empty"},
      {"magic only", "glTF", "truncated"},
      {"GLB version 1", version, "version 1"},
      {"trailing bytes", longer, "goes on"},
      {"absurd chunk", length, "chunk is longer"},
      {"first chunk not JSON", notJson, "first chunk"},
      {"deep JSON", deep, "nested deeper than 64"},
      {"deep objects", objects, "nested deeper than 64"},
      {"deep GLB", glbAround(deep, ""), "nested deeper than 64"},
      {"another format", "\x89PNG\r\n", "not glTF"},
      {"array", "[1, 2]", "not an object"},
      {"bad UTF-8", "{\"asset\": \"\xff\"}", "not glTF"},
      {"number", R"({"asset": {"version": "2.0"}, "nodes": [{"translation": [1e999, 0, 0]}]})", "not glTF"},
      {"buffer without a place", json.root.dump(), "buffers[0] has no uri"},
  };
  for (const auto& row : kCases) expectWords(reason(row.bytes), row.words, row.what);
  expectWords(reasonFor(folder_ / "none.vesta"), "No such file", "missing file");
  std::filesystem::create_directory(folder_ / "dir.vesta");
  expectWords(reasonFor(folder_ / "dir.vesta"), "not a regular file", "directory");
  std::filesystem::create_symlink(folder_ / "loop.vesta", folder_ / "loop.vesta");
  EXPECT_NE(reasonFor(folder_ / "loop.vesta"), "loaded");
}

TEST_F(HostileSceneTest, FilesOutsideTheFolderAreReadWhenTheOptionsAllowIt) {
  GltfBuilder gltf = triangle();
  const auto inside = folder_ / "inside", outside = folder_ / "outside.bin";
  std::filesystem::create_directory(inside);
  writeFile(outside, gltf.bin);
  std::filesystem::create_symlink(outside, inside / "link.bin");
  for (const std::string& uri : {std::string("link.bin"), std::string("../outside.bin"),
                                 std::string("%2e%2e/outside.bin"), outside.string()}) {
    gltf.root["buffers"][0]["uri"] = uri;
    writeFile(inside / "scene.vesta", gltf.root.dump());
    expectWords(reasonFor(inside / "scene.vesta"), "lies outside the scene's folder (the configuration", uri);
    EXPECT_EQ(loadScene(inside / "scene.vesta", {.outsideFiles = true}).scene.meshes.size(), 1U) << uri;
  }
  gltf.root["buffers"][0]["uri"] = "file:///etc/passwd";
  writeFile(inside / "scene.vesta", gltf.root.dump());
  EXPECT_THROW(loadScene(inside / "scene.vesta", {.outsideFiles = true}), SceneError);
}

TEST_F(HostileSceneTest, LoadingStopsWhenItIsAskedTo) {
  writeFile(folder_ / "scene.vesta", everything().glb());
  SceneOptions options;
  options.stopped = [] { return true; };
  EXPECT_THROW(loadScene(folder_ / "scene.vesta", options), SceneError);
}

TEST_F(HostileSceneTest, FewBytesCannotAskForAllMemory) {
  GltfBuilder gltf;
  gltf.root["accessors"].push_back({{"componentType", kFloat}, {"type", "VEC3"}, {"count", 64 << 20}});
  json primitives = json::array();
  for (int i = 0; i < 10000; ++i) primitives.push_back({{"attributes", {{"POSITION", 0}}}, {"mode", 0}});
  gltf.root["meshes"].push_back({{"primitives", primitives}});
  gltf.root.erase("buffers");
  for (int i = 0; i < 500; ++i) gltf.node({{"mesh", 0}});
  EXPECT_EQ(reason(gltf.root.dump()), "loaded") << "points take nothing";

  const int small = gltf.accessor<uint8_t>({0, 0, 0, 1, 0, 0, 0, 1, 0}, kUnsignedByte, "VEC3");
  for (json& primitive : gltf.root["meshes"][0]["primitives"]) {
    primitive = {{"attributes", {{"POSITION", small}}}};
  }
  expectWords(reason(gltf.glb()), "4 million", "10,000 primitives in 500 nodes");
}

TEST_F(HostileSceneTest, EveryCutAndEveryChangedByteLoadsOrIsRefused) {
  const std::string good = everything().glb();
  for (size_t length = 0; length < good.size(); length += 7) {
    EXPECT_NE(reason(good.substr(0, length)), "loaded") << "cut at " << length;
  }
  std::mt19937 random(20261122);
  for (int i = 0; i < 3000; ++i) {
    std::string noisy = good;
    noisy[random() % noisy.size()] = static_cast<char>(random());
    EXPECT_FALSE(reason(noisy).empty());
  }
}

}  // namespace
