// What loading costs: the time until a scene is ready to render, and the memory that it stays in.
//
//   loading_bench make FOLDER     writes mesh.vesta (a million triangles) and textures.vesta (eight JPEG
//   pictures) loading_bench time SCENE      ready to render, beside reading the bytes and building the tree
//   alone loading_bench memory SCENE    of the process, beside the sum of textures, vertices, indices and
//   tree loading_bench kernels SCENE   each build of the ray tracing tree: its memory, its time, and a
//   render's
#include <embree3/rtcore.h>
#include <malloc.h>

#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
// libjpeg's header needs <cstdio> before it.
#include <jpeglib.h>

#include "bench/measure.h"
#include "host/render/trace.h"

namespace host {
namespace {

namespace fs = std::filesystem;

constexpr int kAcross = 1000, kAlong = 500;  // squares of two triangles
constexpr int kTextures = 8, kTextureSide = 2048;
constexpr int kRepeats = 9;
constexpr double kMegabyte = 1024.0 * 1024.0;

// ---- The scenes ----

Vec3 hill(int x, int z) {
  const float u = static_cast<float>(x) / kAcross * 2 - 1, v = static_cast<float>(z) / kAlong * 2 - 1;
  return {2 * u, 0.2F * std::sin(9 * u) * std::cos(7 * v) + 0.02F * std::sin(140 * u + 90 * v), v};
}

/// Bytes behind one another, with their views and accessors.
class Buffer {
 public:
  template <class Element>
  int add(const std::vector<Element>& elements, int componentType, const char* type, size_t count) {
    const size_t offset = bytes_.size();
    bytes_.resize(offset + elements.size() * sizeof(Element));
    std::memcpy(bytes_.data() + offset, elements.data(), elements.size() * sizeof(Element));
    views.push_back({{"buffer", 0}, {"byteOffset", offset}, {"byteLength", bytes_.size() - offset}});
    accessors.push_back({{"bufferView", views.size() - 1},
                         {"componentType", componentType},
                         {"type", type},
                         {"count", count}});
    return static_cast<int>(accessors.size()) - 1;
  }
  int addFloats(const std::vector<Vec3>& v) { return add(v, 5126, "VEC3", v.size()); }
  int addFloats(const std::vector<Vec2>& v) { return add(v, 5126, "VEC2", v.size()); }
  int addIndices(const std::vector<uint32_t>& v) { return add(v, 5125, "SCALAR", v.size()); }

  const std::vector<char>& bytes() const { return bytes_; }
  nlohmann::json views = nlohmann::json::array(), accessors = nlohmann::json::array();

 private:
  std::vector<char> bytes_;
};

nlohmann::json sceneOf(const Buffer& buffer, nlohmann::json meshes) {
  nlohmann::json nodes = nlohmann::json::array(), roots = nlohmann::json::array();
  for (size_t i = 0; i < meshes.size(); ++i) {
    nodes.push_back({{"mesh", i}, {"translation", {0, static_cast<double>(i), 0}}});
    roots.push_back(i);
  }
  return {{"asset", {{"version", "2.0"}}},
          {"scene", 0},
          {"scenes", {{{"nodes", std::move(roots)}}}},
          {"nodes", std::move(nodes)},
          {"meshes", std::move(meshes)},
          {"buffers", {{{"byteLength", buffer.bytes().size()}}}},
          {"bufferViews", buffer.views},
          {"accessors", buffer.accessors}};
}

void writeBinary(const fs::path& file, const nlohmann::json& root, const Buffer& buffer) {
  std::string text = root.dump();
  text.resize((text.size() + 3) / 4 * 4, ' ');
  const auto textSize = static_cast<uint32_t>(text.size());
  const auto bytesSize = static_cast<uint32_t>(buffer.bytes().size());
  const uint32_t head[] = {0x46546C67, 2, 12 + 8 + textSize + 8 + bytesSize, textSize, 0x4E4F534A};
  const uint32_t chunk[] = {bytesSize, 0x004E4942};
  std::ofstream out(file, std::ios::binary);
  out.write(reinterpret_cast<const char*>(head), sizeof head);
  out.write(text.data(), textSize);
  out.write(reinterpret_cast<const char*>(chunk), sizeof chunk);
  out.write(buffer.bytes().data(), bytesSize);
  if (!out.flush()) throw std::runtime_error("cannot write " + file.string());
}

void makeMesh(const fs::path& file) {
  std::vector<Vec3> positions, normals;
  std::vector<uint32_t> indices;
  for (int z = 0; z <= kAlong; ++z) {
    for (int x = 0; x <= kAcross; ++x) {
      positions.push_back(hill(x, z));
      normals.push_back(normalize(cross(hill(x, z + 1) - hill(x, z), hill(x + 1, z) - hill(x, z))));
    }
  }
  for (uint32_t z = 0; z < kAlong; ++z) {
    for (uint32_t x = 0; x < kAcross; ++x) {
      const uint32_t a = z * (kAcross + 1) + x, b = a + kAcross + 1;
      indices.insert(indices.end(), {a, b, a + 1, a + 1, b, b + 1});
    }
  }
  Buffer buffer;
  const nlohmann::json attributes = {{"POSITION", buffer.addFloats(positions)},
                                     {"NORMAL", buffer.addFloats(normals)}};
  const nlohmann::json primitive = {{"attributes", attributes}, {"indices", buffer.addIndices(indices)}};
  writeBinary(file, sceneOf(buffer, {{{"primitives", {primitive}}}}), buffer);
}

void writePicture(const fs::path& file, int seed) {
  jpeg_compress_struct info{};
  jpeg_error_mgr handler{};
  info.err = jpeg_std_error(&handler);
  jpeg_create_compress(&info);
  std::FILE* out = std::fopen(file.c_str(), "wb");
  if (!out) throw std::runtime_error("cannot write " + file.string());
  jpeg_stdio_dest(&info, out);
  info.image_width = info.image_height = kTextureSide;
  info.input_components = 3;
  info.in_color_space = JCS_RGB;
  jpeg_set_defaults(&info);
  jpeg_start_compress(&info, TRUE);
  std::vector<uint8_t> row(3 * kTextureSide);
  for (int y = 0; y < kTextureSide; ++y) {
    for (int i = 0; i < 3 * kTextureSide; ++i) {
      row[i] =
          static_cast<uint8_t>(128 + 100 * std::sin(i * 0.01 * (seed + 1)) * std::cos(y * 0.03) + i * y % 23);
    }
    uint8_t* pointer = row.data();
    jpeg_write_scanlines(&info, &pointer, 1);
  }
  jpeg_finish_compress(&info);
  jpeg_destroy_compress(&info);
  std::fclose(out);
}

void makeTextures(const fs::path& file) {
  Buffer buffer;
  const nlohmann::json attributes = {
      {"POSITION", buffer.addFloats(std::vector<Vec3>{{-1, -1, 0}, {1, -1, 0}, {1, 1, 0}, {-1, 1, 0}})},
      {"TEXCOORD_0", buffer.addFloats(std::vector<Vec2>{{0, 1}, {1, 1}, {1, 0}, {0, 0}})}};
  const int indices = buffer.addIndices({0, 1, 2, 0, 2, 3});
  nlohmann::json meshes = nlohmann::json::array(), images = meshes, textures = meshes, materials = meshes;
  for (int i = 0; i < kTextures; ++i) {
    const std::string name = "picture" + std::to_string(i) + ".jpg";
    writePicture(file.parent_path() / name, i);
    images.push_back({{"uri", name}});
    textures.push_back({{"source", i}});
    materials.push_back({{"pbrMetallicRoughness", {{"baseColorTexture", {{"index", i}}}}}});
    meshes.push_back({{"primitives", {{{"attributes", attributes}, {"indices", indices}, {"material", i}}}}});
  }
  nlohmann::json root = sceneOf(buffer, std::move(meshes));
  root["images"] = std::move(images);
  root["textures"] = std::move(textures);
  root["materials"] = std::move(materials);
  writeBinary(file, root, buffer);
}

// ---- The bare work ----

std::vector<char> readBytes(const fs::path& file) {
  std::vector<char> bytes(fs::file_size(file));
  std::ifstream(file, std::ios::binary).read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return bytes;
}

/// Made once, as the host makes its own.
RTCDevice bareDevice() {
  static const RTCDevice instance = rtcNewDevice("isa=avx2");
  return instance;
}

/// The library's tree over the meshes' own arrays, with nothing around it.
class BareTree {
 public:
  explicit BareTree(const Scene& scene) : tree_(rtcNewScene(bareDevice())) {
    rtcSetDeviceMemoryMonitorFunction(bareDevice(), count, this);
    rtcSetSceneFlags(tree_, RTC_SCENE_FLAG_ROBUST);
    for (const Mesh& mesh : scene.meshes) attach(mesh);
    rtcCommitScene(tree_);
    if (rtcGetDeviceError(bareDevice()) != RTC_ERROR_NONE) throw std::runtime_error("no tree");
  }
  ~BareTree() {
    rtcReleaseScene(tree_);
    rtcSetDeviceMemoryMonitorFunction(bareDevice(), nullptr, nullptr);
  }
  BareTree(const BareTree&) = delete;
  BareTree& operator=(const BareTree&) = delete;

  int64_t bytes() const { return bytes_; }

 private:
  static bool count(void* tree, ssize_t bytes, bool) {
    static_cast<BareTree*>(tree)->bytes_ += bytes;
    return true;
  }

  void attach(const Mesh& mesh) {
    RTCGeometry geometry = rtcNewGeometry(bareDevice(), RTC_GEOMETRY_TYPE_TRIANGLE);
    rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3, mesh.positions.data(),
                               0, sizeof(Vec3), mesh.positions.size());
    rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3, mesh.indices.data(), 0,
                               3 * sizeof(uint32_t), mesh.indices.size() / 3);
    rtcCommitGeometry(geometry);
    rtcAttachGeometry(tree_, geometry);
    rtcReleaseGeometry(geometry);
  }

  std::atomic<int64_t> bytes_{0};
  RTCScene tree_;
};

// ---- The measurements ----

void measureTime(const fs::path& file) {
  const SceneFile ready = loadScene(file);
  bareDevice();
  std::vector<double> loads, builds, bares, ratios;
  for (int i = 0; i < kRepeats; ++i) {
    auto start = bench::Clock::now();
    const SceneFile loaded = loadScene(file);
    loads.push_back(bench::millisecondsSince(start));
    const PreparedScene prepared(loaded.scene);
    const double all = bench::millisecondsSince(start);
    builds.push_back(all - loads.back());
    start = bench::Clock::now();
    const std::vector<char> bytes = readBytes(file);
    const BareTree tree(ready.scene);
    bares.push_back(bench::millisecondsSince(start));
    ratios.push_back(all / bares.back());
  }
  bench::report("load", loads);
  bench::report("build", builds);
  bench::report("bare", bares);
  bench::report("ratio", ratios);
}

/// A line of /proc/self/status, in MB.
double statusMegabytes(const std::string& name) {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    double kilobytes = 0;
    if (word == name + ":" && status >> kilobytes) return kilobytes / 1024;
  }
  return 0;
}

/// Bytes of textures, vertices and indices alone.
size_t contentBytes(const Scene& scene) {
  size_t sum = 0;
  for (const Image& image : scene.images) sum += image.pixels.size();
  for (const Mesh& mesh : scene.meshes) {
    sum += mesh.positions.size() * sizeof(Vec3) + mesh.normals.size() * sizeof(Vec3) +
           mesh.tangents.size() * sizeof(Vec4) + mesh.colors.size() * sizeof(Vec4) +
           mesh.indices.size() * sizeof(uint32_t);
    for (const auto& set : mesh.texCoords) sum += set.size() * sizeof(Vec2);
  }
  return sum;
}

void measureMemory(const fs::path& file) {
  const double before = statusMegabytes("VmRSS");
  const SceneFile loaded = loadScene(file);
  const PreparedScene prepared(loaded.scene);
  const double steady = statusMegabytes("VmRSS") - before, peak = statusMegabytes("VmHWM") - before;
  const BareTree tree(loaded.scene);
  const double sum =
      (static_cast<double>(contentBytes(loaded.scene)) + static_cast<double>(tree.bytes())) / kMegabyte;
  bench::report("sum", {sum});
  bench::report("steady", {steady});
  bench::report("peak", {peak});
  bench::report("ratio", {steady / sum});
}

/// What a tree adds to the process: the library gives the memory of one tree back before the next is made.
double treeMegabytes(const Scene& scene, KernelBuild kernel) {
  malloc_trim(0);
  const double before = statusMegabytes("VmRSS");
  const PreparedScene prepared(scene, kernel);
  malloc_trim(0);
  return statusMegabytes("VmRSS") - before;
}

void measureKernels(const fs::path& file) {
  const SceneFile loaded = loadScene(file);
  RenderRequest request;
  request.width = 640;
  request.height = 360;
  request.path.samples = 4;
  const std::map<std::string, KernelBuild> kernels = {{"0_standard", KernelBuild::Robust},
                                                      {"1_faster", KernelBuild::Faster},
                                                      {"2_smaller", KernelBuild::Compact}};
  std::map<std::string, std::vector<double>> builds, renders, memory;
  const PreparedScene warmUp(loaded.scene);
  for (int i = 0; i < kRepeats; ++i) {  // in turns
    for (const auto& [name, kernel] : kernels) {
      memory[name].push_back(treeMegabytes(loaded.scene, kernel));
      auto start = bench::Clock::now();
      const PreparedScene prepared(loaded.scene, kernel);
      builds[name].push_back(bench::millisecondsSince(start));
      start = bench::Clock::now();
      renderScene(prepared, RendererId::Physical, request);
      renders[name].push_back(bench::millisecondsSince(start));
    }
  }
  for (const auto& [name, kernel] : kernels) {
    bench::report(name + "_memory", memory[name]);
    bench::report(name + "_build", builds[name]);
    bench::report(name + "_render", renders[name]);
  }
}

void make(const fs::path& folder) {
  makeMesh(folder / "mesh.vesta");
  makeTextures(folder / "textures.vesta");
}

}  // namespace
}  // namespace host

int main(int count, char** arguments) {
  const std::map<std::string, void (*)(const std::filesystem::path&)> parts = {
      {"make", host::make},
      {"time", host::measureTime},
      {"memory", host::measureMemory},
      {"kernels", host::measureKernels}};
  const auto part = count == 3 ? parts.find(arguments[1]) : parts.end();
  if (part == parts.end()) {
    std::fprintf(stderr, "usage: loading_bench make FOLDER | time SCENE | memory SCENE | kernels SCENE\n");
    return 2;
  }
  try {
    part->second(arguments[2]);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", arguments[2], error.what());
    return 1;
  }
  return 0;
}
