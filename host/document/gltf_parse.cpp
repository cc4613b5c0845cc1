#include "host/document/gltf_parse.h"

#include <deque>
#include <nlohmann/json.hpp>

#include "host/document/scene.h"

namespace host {
namespace {

/// The buffers that the library will ask for, in its order. It asks by a name that it decoded in its own way
/// (a plus sign becomes a space), so its names are not looked at.
struct PendingBuffers {
  struct Request {
    std::string uri;
    size_t byteLength = 0;
  };
  std::deque<Request> requests;
  ResourceReader* resources = nullptr;
};

/// After the buffers the library asks for pictures; it is content when a picture file is not there.
bool fileExists(const std::string&, void* user) {
  return !static_cast<PendingBuffers*>(user)->requests.empty();
}

std::string samePath(const std::string& path, void*) { return path; }

bool readNextBuffer(std::vector<unsigned char>* out, std::string*, const std::string&, void* user) {
  auto& pending = *static_cast<PendingBuffers*>(user);
  const PendingBuffers::Request request = pending.requests.front();
  pending.requests.pop_front();
  *out = pending.resources->read(request.uri);
  if (out->size() < request.byteLength) {
    throw SceneError("\"" + excerpt(request.uri) + "\" has " + std::to_string(out->size()) + " bytes, " +
                     std::to_string(request.byteLength) + " are needed");
  }
  out->resize(request.byteLength);
  return true;
}

bool keepEncoded(tinygltf::Image* image, int, std::string*, std::string*, int, int,
                 const unsigned char* bytes, int size, void*) {
  // A picture in a buffer is found there again when it is needed.
  if (image->bufferView < 0) image->image.assign(bytes, bytes + size);
  return true;
}

PendingBuffers pendingBuffers(const nlohmann::json& root, ResourceReader& resources) {
  PendingBuffers pending;
  pending.resources = &resources;
  const auto buffers = root.find("buffers");
  if (buffers == root.end()) return pending;
  for (const nlohmann::json& buffer : *buffers) {
    const auto uri = buffer.find("uri");
    if (uri == buffer.end() || tinygltf::IsDataURI(uri->get_ref<const std::string&>())) continue;
    pending.requests.push_back({uri->get<std::string>(), buffer["byteLength"].get<size_t>()});
  }
  return pending;
}

}  // namespace

tinygltf::Model parseGltf(const GltfSource& source, const nlohmann::json& root, ResourceReader& resources) {
  PendingBuffers pending = pendingBuffers(root, resources);
  tinygltf::TinyGLTF reader;
  reader.SetFsCallbacks({fileExists, samePath, readNextBuffer, nullptr, &pending});
  reader.SetImageLoader(keepEncoded, nullptr);
  tinygltf::Model model;
  std::string error, warning;
  bool read = false;
  try {
    const auto size = static_cast<unsigned>(source.bytes.size());
    read = source.binary ? reader.LoadBinaryFromMemory(&model, &error, &warning, source.bytes.data(), size)
                         : reader.LoadASCIIFromString(&model, &error, &warning, source.json.data(), size, "");
  } catch (const SceneError&) {
    throw;
  } catch (const std::exception& reason) {
    throw SceneError("not glTF: " + excerpt(reason.what()));
  }
  if (!read) throw SceneError("not glTF: " + excerpt(std::string_view(error).substr(0, error.find('\n'))));
  return model;
}

}  // namespace host
