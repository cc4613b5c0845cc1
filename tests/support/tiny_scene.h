#pragma once
// The smallest scene there is: one coloured triangle that fills most of a small picture.

#include "tests/support/temp_folder.h"

namespace test {

struct TinyScene {
  int width = 20;
  int height = 12;
  int renderer = 1;
  std::string color = "1, 0.5, 0.25, 1";  ///< linear RGBA
  std::string videoPosts = {};            ///< JSON, with its own name
};

/// Its text: glTF with its one buffer inside.
inline std::string tinySceneText(const TinyScene& scene = {}) {
  // Three float vectors: (-1,-1,0), (1,-1,0), (0,1,0).
  constexpr const char* kTriangle = "AACAvwAAgL8AAAAAAACAPwAAgL8AAAAAAAAAAAAAgD8AAAAA";
  return std::string(
             R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0]}],"nodes":[{"mesh":0}],)") +
         R"("meshes":[{"primitives":[{"attributes":{"POSITION":0},"material":0}]}],)" +
         R"("materials":[{"pbrMetallicRoughness":{"baseColorFactor":[)" + scene.color +
         R"(],"metallicFactor":0},"doubleSided":true}],)" +
         R"("accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3","min":[-1,-1,0],"max":[1,1,0]}],)" +
         R"("bufferViews":[{"buffer":0,"byteLength":36}],)" +
         R"("buffers":[{"byteLength":36,"uri":"data:application/octet-stream;base64,)" + kTriangle +
         R"("}],)" +
         R"("extensionsUsed":["VESTA_document"],"extensions":{"VESTA_document":{"renderSettings":{"5300":)" +
         std::to_string(scene.renderer) + R"(,"5008":)" + std::to_string(scene.width) + R"(,"5009":)" +
         std::to_string(scene.height) + "}" + scene.videoPosts + "}}}";
}

inline void writeTinyScene(const fs::path& file, const TinyScene& scene = {}) {
  writeText(file, tinySceneText(scene));
}

}  // namespace test
