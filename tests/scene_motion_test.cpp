// Animations, morph targets and skins: where vertices stand at a document's start time.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "host/document/scene.h"
#include "tests/gltf_builder.h"

namespace {

using namespace host;
using namespace test;

class SceneMotion : public testing::Test {
 protected:
  SceneFile load(const GltfBuilder& gltf) {
    writeFile(folder_ / "scene.vesta", gltf.glb());
    return loadScene(folder_ / "scene.vesta");
  }

  /// Loads it at a moment of its animations.
  SceneFile loadAt(GltfBuilder gltf, double fps, int startFrame) {
    gltf.root["extensions"]["VESTA_document"] = {{"fps", fps}, {"startFrame", startFrame}};
    return load(gltf);
  }

  std::string reason(const GltfBuilder& gltf) {
    try {
      load(gltf);
      return "loaded";
    } catch (const SceneError& error) {
      return error.what();
    }
  }

  TempFolder folder_;
};

void expectNear(Vec3 actual, Vec3 expected, const std::string& what) {
  EXPECT_LT(length(actual - expected), 1e-5F)
      << what << ": " << actual.x << ", " << actual.y << ", " << actual.z;
}

/// Where a vertex of a placed mesh stands in the world.
Vec3 vertex(const Scene& scene, size_t instance, size_t index) {
  const Instance& placed = scene.instances.at(instance);
  return transformPoint(placed.transform,
                        scene.meshes.at(static_cast<size_t>(placed.mesh)).positions.at(index));
}

/// An animation of one channel.
json animation(int node, const char* path, int input, int output, const char* interpolation) {
  return {{"channels", {{{"sampler", 0}, {"target", {{"node", node}, {"path", path}}}}}},
          {"samplers", {{{"input", input}, {"output", output}, {"interpolation", interpolation}}}}};
}

/// Vertices 0 and 1 of a bar hang on joints 0 and 1, vertex 2 between them, all three at x = 0, 1 and 2.
/// Joint 1 (node 2) is the child of joint 0 (node 1), one to the right of it; the bar's own node moves
/// nothing.
GltfBuilder skinnedBar() {
  GltfBuilder gltf;
  const int positions = gltf.accessor<float>({0, 0, 0, 1, 0, 0, 2, 0, 0}, kFloat, "VEC3");
  const int normals = gltf.accessor<float>({0, 0, 1, 0, 1, 0, 0, 0, 1}, kFloat, "VEC3");
  const int joints = gltf.accessor<uint8_t>({0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0}, kUnsignedByte, "VEC4");
  const int weights = gltf.accessor<float>({0, 0, 0, 0, 2, 0, 0, 0, 0.5, 0.5, 0, 0}, kFloat, "VEC4");
  const int inverse = gltf.view<float>({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0,  0, 0, 1,  // joint 0
                                        1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, -1, 0, 0, 1});
  gltf.root["accessors"].push_back(
      {{"bufferView", inverse}, {"componentType", kFloat}, {"type", "MAT4"}, {"count", 2}});
  gltf.root["skins"] = {{{"joints", {1, 2}}, {"inverseBindMatrices", 4}}};
  const int mesh = gltf.mesh(
      {{"attributes",
        {{"POSITION", positions}, {"NORMAL", normals}, {"JOINTS_0", joints}, {"WEIGHTS_0", weights}}}});
  gltf.node({{"mesh", mesh}, {"skin", 0}, {"translation", {7, 7, 7}}});
  gltf.node({{"children", {2}}});
  gltf.node({{"translation", {1, 0, 0}}}, false);
  return gltf;
}

TEST_F(SceneMotion, AnimationsStandAtTheStartTime) {
  GltfBuilder gltf = triangle();
  const int times = gltf.accessor<float>({1, 2, 4}, kFloat, "SCALAR");
  const int places = gltf.accessor<float>({0, 0, 0, 10, 0, 0, 10, 8, 0}, kFloat, "VEC3");
  // Tangent in, value, tangent out. The first span is a straight line, the second has a swing.
  const int spline = gltf.accessor<float>(
      {9, 9, 9, 0, 0, 0, 10, 0, 0, 10, 0, 0, 10, 0, 0, 0, 0, 0, 0, 4, 0, 10, 8, 0, 9, 9, 9}, kFloat, "VEC3");
  const struct {
    const char* interpolation;
    int frame;  // of ten a second
    Vec3 place;
  } kCases[] = {
      {"STEP", 5, {0, 0, 0}},
      {"STEP", 19, {0, 0, 0}},
      {"STEP", 20, {10, 0, 0}},
      {"STEP", 90, {10, 8, 0}},
      {"LINEAR", 0, {0, 0, 0}},
      {"LINEAR", 15, {5, 0, 0}},
      {"LINEAR", 30, {10, 4, 0}},
      {"LINEAR", 90, {10, 8, 0}},
      {"CUBICSPLINE", 0, {0, 0, 0}},
      {"CUBICSPLINE", 15, {5, 0, 0}},
      // A quarter and half of the second span, two seconds long, at whose end the tangent is 4 upwards.
      {"CUBICSPLINE", 25, {10, 8 * 5 / 32.0F - 2 * 4 * 3 / 64.0F, 0}},
      {"CUBICSPLINE", 30, {10, 8 / 2.0F - 2 * 4 / 8.0F, 0}},
  };
  for (const auto& row : kCases) {
    const bool cubic = row.interpolation == std::string("CUBICSPLINE");
    gltf.root["animations"] = {
        animation(0, "translation", times, cubic ? spline : places, row.interpolation)};
    const SceneFile file = loadAt(gltf, 10, row.frame);
    const std::string what = std::string(row.interpolation) + " at frame " + std::to_string(row.frame);
    expectNear(vertex(file.scene, 0, 0), row.place, what);
    EXPECT_TRUE(file.unsupported.empty()) << what;
  }
}

TEST_F(SceneMotion, RotationsGoTheShorterWayAndTheFirstAnimationWins) {
  GltfBuilder gltf = triangle();
  const int times = gltf.accessor<float>({0, 1}, kFloat, "SCALAR");
  const float half = std::sqrt(0.5F);
  // A quarter turn about z, written with the sign that would take the longer way.
  const int turns = gltf.accessor<float>({0, 0, 0, 1, 0, 0, -half, -half}, kFloat, "VEC4");
  const int others = gltf.accessor<float>({1, 0, 0, 0, 1, 0, 0, 0}, kFloat, "VEC4");
  const int scales = gltf.accessor<float>({2, 2, 2, 4, 4, 4}, kFloat, "VEC3");
  gltf.root["animations"] = {animation(0, "rotation", times, turns, "LINEAR"),
                             animation(0, "rotation", times, others, "STEP"),
                             animation(0, "scale", times, scales, "LINEAR")};
  const SceneFile file = loadAt(gltf, 2, 1);
  expectNear(vertex(file.scene, 0, 1), Vec3{half, half, 0} * 3, "an eighth of a turn, three times as large");
}

TEST_F(SceneMotion, MorphTargetsAddUp) {
  GltfBuilder gltf = triangle();
  json& mesh = gltf.root["meshes"][0];
  const int up = gltf.accessor<float>({0, 2, 0, 0, 2, 0, 0, 2, 0}, kFloat, "VEC3");
  const int turned = gltf.accessor<float>({1, 0, -1, 1, 0, -1, 1, 0, -1}, kFloat, "VEC3");
  // Only the second vertex moves: a sparse target without a buffer view.
  const int place = gltf.view<uint8_t>({1});
  const int value = gltf.view<float>({0, 0, 8});
  gltf.root["accessors"].push_back({{"componentType", kFloat},
                                    {"type", "VEC3"},
                                    {"count", 3},
                                    {"sparse",
                                     {{"count", 1},
                                      {"indices", {{"bufferView", place}, {"componentType", kUnsignedByte}}},
                                      {"values", {{"bufferView", value}}}}}});
  mesh["primitives"][0]["targets"] = {{{"POSITION", up}, {"NORMAL", turned}}, {{"POSITION", up + 2}}};
  mesh["weights"] = {0.5, 0};
  gltf.node({{"mesh", 0}});
  const int bent = gltf.node({{"mesh", 0}, {"weights", {1, 0.25}}});
  gltf.node({{"mesh", 0}, {"weights", {0, 0}}});
  gltf.node({{"mesh", 0}, {"weights", {0.5, 0, 7, 7}}});  // for targets that are not there
  const SceneFile file = load(gltf);
  const Scene& scene = file.scene;
  ASSERT_EQ(scene.instances.size(), 5U);
  EXPECT_EQ(scene.instances[0].mesh, scene.instances[1].mesh) << "the same weights share a mesh";
  EXPECT_EQ(scene.instances[0].mesh, scene.instances[4].mesh);
  EXPECT_EQ(scene.meshes.size(), 3U);
  expectNear(vertex(scene, 0, 1), {1, 1, 0}, "the mesh's weights");
  expectNear(vertex(scene, 2, 1), {1, 2, 2}, "the node's weights");
  expectNear(vertex(scene, 2, 0), {0, 2, 0}, "a vertex that a sparse target leaves alone");
  expectNear(vertex(scene, 3, 1), {1, 0, 0}, "no weights");
  const float half = std::sqrt(0.5F);
  expectNear(scene.meshes[static_cast<size_t>(scene.instances[0].mesh)].normals[0], {half, 0, half},
             "normal");

  const int times = gltf.accessor<float>({0, 1}, kFloat, "SCALAR");
  const int weights = gltf.accessor<float>({0, 0, 1, 1}, kFloat, "SCALAR");
  gltf.root["animations"] = {animation(bent, "weights", times, weights, "LINEAR")};
  expectNear(vertex(loadAt(gltf, 2, 1).scene, 2, 1), {1, 1, 4}, "animated weights");
}

TEST_F(SceneMotion, SkinsFollowTheirJointsAndNotTheirNode) {
  GltfBuilder gltf = skinnedBar();
  expectNear(vertex(load(gltf).scene, 0, 1), {1, 0, 0}, "at rest");
  // The first joint moves up, the second turns a quarter about z and doubles.
  const float half = std::sqrt(0.5F);
  gltf.root["nodes"][1]["translation"] = {0, 5, 0};
  gltf.root["nodes"][2]["rotation"] = {0, 0, half, half};
  gltf.root["nodes"][2]["scale"] = {2, 1, 1};
  const SceneFile file = load(gltf);
  expectNear(vertex(file.scene, 0, 0), {0, 5, 0}, "no weight at all: the first joint");
  expectNear(vertex(file.scene, 0, 1), {1, 5, 0}, "a weight of two counts as one");
  expectNear(vertex(file.scene, 0, 2), Vec3{(2 + 1) / 2.0F, (5 + 7) / 2.0F, 0}, "between the joints");
  const Mesh& mesh = file.scene.meshes[0];
  expectNear(mesh.normals[1], {-1, 0, 0}, "normal of the turned joint");

  gltf.root["skins"][0].erase("inverseBindMatrices");
  expectNear(vertex(load(gltf).scene, 0, 1), {1, 7, 0}, "without inverse bind matrices");
}

TEST_F(SceneMotion, HiddenNodesShowNothingButAreAPlaceToLookFrom) {
  GltfBuilder gltf = triangle();
  gltf.root["cameras"] =
      json::parse(R"([{"type": "perspective", "perspective": {"yfov": 0.5, "znear": 0.1}}])");
  gltf.root["extensions"] = json::parse(R"({"KHR_lights_punctual": {"lights": [{"type": "point"}]}})");
  gltf.node({{"mesh", 0}, {"camera", 0}, {"extensions", {{"KHR_lights_punctual", {{"light", 0}}}}}}, false);
  gltf.node({{"children", {1}}, {"extensions", {{"KHR_node_visibility", {{"visible", false}}}}}});
  gltf.root["extensionsUsed"] = {"KHR_node_visibility"};
  const SceneFile file = load(gltf);
  EXPECT_EQ(file.scene.instances.size(), 1U);
  EXPECT_TRUE(file.scene.lights.empty());
  EXPECT_TRUE(file.scene.camera.has_value());
  EXPECT_TRUE(file.unsupported.empty());
  gltf.root["nodes"][2]["extensions"]["KHR_node_visibility"]["visible"] = true;
  EXPECT_EQ(load(gltf).scene.instances.size(), 2U);
}

TEST_F(SceneMotion, BrokenMotionIsRefusedByName) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const auto animated = [](const std::vector<float>& times, const std::vector<float>& values,
                           const char* interpolation) {
    GltfBuilder gltf = triangle();
    const int input = gltf.accessor<float>(times, kFloat, "SCALAR");
    const int output = gltf.accessor<float>(values, kFloat, "VEC3");
    gltf.root["animations"] = {animation(0, "translation", input, output, interpolation)};
    return gltf;
  };
  const auto changed = [](GltfBuilder gltf, const char* member, const json& value) {
    gltf.root[json::json_pointer(member)] = value;
    return gltf;
  };
  const GltfBuilder good = animated({0, 1}, {0, 0, 0, 1, 1, 1}, "LINEAR");
  GltfBuilder manyNumbers = good;
  manyNumbers.root["accessors"].push_back({{"componentType", kFloat}, {"type", "VEC3"}, {"count", 64 << 20}});
  GltfBuilder farJoint = skinnedBar();
  farJoint.bin[72 + 4] = 2;
  GltfBuilder morphed = changed(triangle(), "/meshes/0/weights", {1});
  const struct {
    GltfBuilder gltf;
    const char* words;
  } kCases[] = {
      {animated({1, 0.5F}, {0, 0, 0, 1, 1, 1}, "LINEAR"),
       "animations[0]: the times of a sampler's keys go back"},
      {animated({0, nan}, {0, 0, 0, 1, 1, 1}, "LINEAR"), "a sampler's number is not finite"},
      {animated({0, 1}, {0, 0, 0, 1, nan, 1}, "STEP"), "a sampler's number is not finite"},
      {animated({0, 1}, {0, 0, 0}, "LINEAR"), "2 keys and 3 numbers, 3 are needed for each"},
      {animated({0, 1}, {0, 0, 0, 1, 1, 1}, "CUBICSPLINE"), "2 keys and 6 numbers, 9 are needed"},
      {animated({0}, {0, 0, 0}, "BEZIER"), "unknown interpolation BEZIER"},
      {changed(good, "/animations/0/channels/0/sampler", 1), "a channel has no sampler 1"},
      {changed(good, "/animations/0/channels/0/target/node", 1),
       "animations[0].channels[0].target.node is out"},
      {changed(good, "/animations/0/samplers/0/output", 99),
       "animations[0].samplers[0].output is out of range"},
      {changed(good, "/animations/0/channels/0/target/path", "rotation"), "wrong number of components"},
      {changed(manyNumbers, "/animations/0/samplers/0/output", 5), "more than 64 million numbers"},
      {changed(skinnedBar(), "/skins/0/joints", {1, 9}), "skins[0].joints is out of range: 9"},
      {changed(skinnedBar(), "/skins/0/joints", json::array()), "skins[0]: no joints"},
      {changed(skinnedBar(), "/skins/0/joints", {1, 2, 1}),
       "skins[0]: fewer inverse bind matrices than joints"},
      {changed(skinnedBar(), "/skins/0/inverseBindMatrices", 0), "inverse bind matrices are no matrices"},
      {changed(skinnedBar(), "/meshes/0/primitives/0/attributes/JOINTS_0", 3), "JOINTS_0 are not small"},
      {changed(skinnedBar(), "/meshes/0/primitives/0/attributes/WEIGHTS_0", 0),
       "WEIGHTS_0 has the wrong number"},
      {farJoint, "a joint is out of range: 2 of 2"},
      {changed(skinnedBar(), "/nodes/1/scale", {1e30, 1, 1}), "too far out"},
      {changed(triangle(), "/nodes/0", {{"mesh", 0}, {"skin", 0}}), "nodes[0].skin is out of range"},
      {changed(morphed, "/meshes/0/primitives/0/targets", {{{"POSITION", 2}}}),
       "POSITION has the wrong number"},
      {changed(morphed, "/meshes/0/primitives/0/targets", {{{"POSITION", 9}}}), "targets is out of range: 9"},
      {changed(triangle(), "/nodes/0/translation", {1e9, 0, 0}), "nodes[0] is not finite or too large"},
      {changed(triangle(), "/nodes/0/scale", {5e7, 5e7, 5e7}), "loaded"},
  };
  for (const auto& row : kCases) {
    const std::string given = reason(row.gltf);
    EXPECT_NE(given.find(row.words), std::string::npos) << row.words << ": " << given;
  }
  GltfBuilder huge = triangle();
  const float beyond = 2e8F;
  std::memcpy(huge.bin.data() + 12, &beyond, sizeof(beyond));
  EXPECT_NE(reason(huge).find("a coordinate is beyond 1e8"), std::string::npos);
}

}  // namespace
