#pragma once
// Makes small glTF files for the tests of the scene loader.

#include <cstring>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace test {

using nlohmann::json;

inline constexpr int kByte = 5120, kUnsignedByte = 5121, kUnsignedShort = 5123, kUnsignedInt = 5125,
                     kFloat = 5126;

inline void writeFile(const std::filesystem::path& file, const std::string& bytes) {
  std::ofstream(file, std::ios::binary) << bytes;
}

inline std::string littleEndian(uint32_t value) {
  std::string bytes(4, '\0');
  for (int i = 0; i < 4; ++i) bytes[static_cast<size_t>(i)] = static_cast<char>(value >> (8 * i));
  return bytes;
}

/// A binary glTF file around a JSON text and the bytes of buffer 0.
inline std::string glbAround(std::string text, std::string bin) {
  text.resize((text.size() + 3) / 4 * 4, ' ');
  bin.resize((bin.size() + 3) / 4 * 4, '\0');
  std::string chunks = littleEndian(static_cast<uint32_t>(text.size())) + "JSON" + text;
  if (!bin.empty()) {
    chunks += littleEndian(static_cast<uint32_t>(bin.size())) + std::string("BIN\0", 4) + bin;
  }
  return "glTF" + littleEndian(2) + littleEndian(static_cast<uint32_t>(12 + chunks.size())) + chunks;
}

/// A document with one scene, to which tests add. `root` is free to be spoilt.
struct GltfBuilder {
  json root = json::parse(R"({"asset": {"version": "2.0"}, "scene": 0, "scenes": [{"nodes": []}], "nodes": [],
                              "meshes": [], "accessors": [], "bufferViews": [], "buffers": [{}]})");
  std::string bin;

  template <typename T>
  int view(const std::vector<T>& values) {
    bin.resize((bin.size() + 3) / 4 * 4, '\0');
    const size_t offset = bin.size();
    bin.append(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(T));
    root["bufferViews"].push_back(
        {{"buffer", 0}, {"byteOffset", offset}, {"byteLength", values.size() * sizeof(T)}});
    root["buffers"][0]["byteLength"] = bin.size();
    return static_cast<int>(root["bufferViews"].size()) - 1;
  }

  template <typename T>
  int accessor(const std::vector<T>& values, int componentType, const std::string& type,
               bool normalized = false) {
    const size_t components = type == "SCALAR" ? 1 : static_cast<size_t>(type[3] - '0');
    const int bufferView = view(values);
    json accessor = {{"bufferView", bufferView}, {"componentType", componentType}, {"type", type}};
    accessor["count"] = values.size() / components;
    if (normalized) accessor["normalized"] = true;
    root["accessors"].push_back(std::move(accessor));
    return static_cast<int>(root["accessors"].size()) - 1;
  }

  /// A mesh of one primitive; returns its index.
  int mesh(json primitive) {
    root["meshes"].push_back({{"primitives", json::array({std::move(primitive)})}});
    return static_cast<int>(root["meshes"].size()) - 1;
  }

  /// A node; a root of scene 0 unless `isRoot` is false. Returns its index.
  int node(json node, bool isRoot = true) {
    root["nodes"].push_back(std::move(node));
    const int index = static_cast<int>(root["nodes"].size()) - 1;
    if (isRoot) root["scenes"][0]["nodes"].push_back(index);
    return index;
  }

  std::string glb() const { return glbAround(root.dump(), bin); }
};

/// One indexed triangle with normals, placed once.
inline GltfBuilder triangle() {
  GltfBuilder gltf;
  const int positions = gltf.accessor<float>({0, 0, 0, 1, 0, 0, 0, 1, 0}, kFloat, "VEC3");
  const int normals = gltf.accessor<float>({0, 0, 1, 0, 0, 1, 0, 0, 1}, kFloat, "VEC3");
  const int indices = gltf.accessor<uint16_t>({0, 1, 2}, kUnsignedShort, "SCALAR");
  gltf.node({{"mesh", gltf.mesh({{"attributes", {{"POSITION", positions}, {"NORMAL", normals}}},
                                 {"indices", indices}})}});
  return gltf;
}

/// A folder that is removed with everything in it.
class TempFolder {
 public:
  TempFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "vesta_test_XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
    path_ = std::filesystem::canonical(name);
  }
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

}  // namespace test
