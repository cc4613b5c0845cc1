#include "host/document/gltf_source.h"

#include <tiny_gltf.h>

#include <algorithm>
#include <fstream>
#include <nlohmann/json.hpp>

#include "host/document/gltf_limits.h"
#include "host/document/scene.h"

namespace host {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kGlbMagic = "glTF";
constexpr uint32_t kJsonChunk = 0x4E4F534A;  // "JSON"
constexpr size_t kGlbHeader = 12;            // bytes: magic, version, length
constexpr size_t kChunkHeader = 8;           // bytes: length, type
constexpr std::string_view kDataScheme = "data:";

std::vector<unsigned char> readWholeFile(const fs::path& file) {
  std::error_code error;
  if (!fs::is_regular_file(file, error)) {
    throw SceneError(error ? error.message() : "it is not a regular file");
  }
  const uint64_t size = fs::file_size(file, error);
  if (error) throw SceneError(error.message());
  if (size > kMaxFileBytes) throw SceneError("the file is larger than 2 GiB");
  std::ifstream stream(file, std::ios::binary);
  if (!stream) throw SceneError("the file cannot be opened");
  std::vector<unsigned char> bytes(size);
  stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(size));
  if (static_cast<uint64_t>(stream.gcount()) != size) throw SceneError("the file cannot be read to its end");
  return bytes;
}

uint32_t littleEndian32(const std::vector<unsigned char>& bytes, size_t offset) {
  return uint32_t{bytes[offset]} | uint32_t{bytes[offset + 1]} << 8 | uint32_t{bytes[offset + 2]} << 16 |
         uint32_t{bytes[offset + 3]} << 24;
}

std::string_view textAt(const std::vector<unsigned char>& bytes, size_t offset, size_t length) {
  return {reinterpret_cast<const char*>(bytes.data()) + offset, length};
}

void checkGlbHeader(const std::vector<unsigned char>& bytes) {
  if (bytes.size() < kGlbHeader) throw SceneError("truncated: the binary glTF header is not complete");
  const uint32_t version = littleEndian32(bytes, 4);
  if (version != 2) throw SceneError("binary glTF version " + std::to_string(version) + ", only 2 is read");
  const uint32_t length = littleEndian32(bytes, 8);
  if (length > bytes.size()) {
    throw SceneError("truncated: the header says " + std::to_string(length) + " bytes, the file has " +
                     std::to_string(bytes.size()));
  }
  if (length < bytes.size()) {
    throw SceneError("the header says " + std::to_string(length) + " bytes, the file goes on to " +
                     std::to_string(bytes.size()));
  }
}

/// The JSON chunk; every chunk's length is checked, chunks of other types are allowed.
std::string_view jsonChunk(const std::vector<unsigned char>& bytes) {
  checkGlbHeader(bytes);
  std::string_view json;
  for (size_t offset = kGlbHeader; offset < bytes.size();) {
    if (bytes.size() - offset < kChunkHeader) throw SceneError("truncated: a chunk header is not complete");
    const size_t length = littleEndian32(bytes, offset);
    const uint32_t type = littleEndian32(bytes, offset + 4);
    const bool first = offset == kGlbHeader;
    offset += kChunkHeader;
    if (length > bytes.size() - offset) throw SceneError("truncated: a chunk is longer than the file");
    if (first && type != kJsonChunk) throw SceneError("the first chunk of the binary glTF is not JSON");
    if (first) json = textAt(bytes, offset, length);
    offset += length;
  }
  if (json.empty()) throw SceneError("the binary glTF has no JSON chunk");
  return json;
}

/// The position behind the string that begins at `start`, or the end of the text.
size_t behindString(std::string_view text, size_t start) {
  for (size_t quote = text.find('"', start + 1); quote != text.npos; quote = text.find('"', quote + 1)) {
    size_t backslashes = 0;
    while (text[quote - 1 - backslashes] == '\\') ++backslashes;
    if (backslashes % 2 == 0) return quote + 1;
  }
  return text.size();
}

/// Looks at the brackets before anything is parsed: parsers follow the nesting by recursion, or take memory
/// for every value. (The parser's own callback could count too, but makes long arrays quadratic.)
void checkJsonSize(std::string_view text) {
  if (text.size() > kMaxJsonBytes) throw SceneError("the JSON is larger than 512 MiB");
  size_t depth = 0, values = 0;
  for (size_t i = 0; i < text.size();) {
    const char c = text[i];
    if (c == '[' || c == '{') ++depth;
    if ((c == ']' || c == '}') && depth > 0) --depth;
    if (c == ',' || c == '[' || c == '{') ++values;
    if (depth > kMaxJsonNesting) throw SceneError("the JSON is nested deeper than 64 levels");
    if (values > kMaxJsonValues) throw SceneError("the JSON has too many values");
    i = c == '"' ? behindString(text, i) : i + 1;
  }
}

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::string percentDecoded(std::string_view uri) {
  std::string text;
  for (size_t i = 0; i < uri.size(); ++i) {
    const bool escaped =
        uri[i] == '%' && i + 2 < uri.size() && hexDigit(uri[i + 1]) >= 0 && hexDigit(uri[i + 2]) >= 0;
    text += escaped ? static_cast<char>(hexDigit(uri[i + 1]) * 16 + hexDigit(uri[i + 2])) : uri[i];
    if (escaped) i += 2;
  }
  return text;
}

bool leavesFolder(const fs::path& relative) {
  return relative.empty() || relative.is_absolute() || *relative.begin() == "..";
}

/// The path that a URI names, seen from the scene's folder.
fs::path pathOf(const std::string& uri) {
  const std::string name = percentDecoded(uri);
  const size_t colon = uri.find(':');
  if (colon != std::string::npos && colon > 1 && uri.find('/') > colon) {
    throw SceneError("\"" + excerpt(uri) + "\" is not a file beside the scene");
  }
  if (name.find('\0') != std::string::npos) throw SceneError("\"" + excerpt(uri) + "\" is not a file name");
  return fs::path(std::u8string(name.begin(), name.end())).lexically_normal();
}

std::vector<unsigned char> decodeDataUri(const std::string& uri) {
  // The library knows a handful of media types only; the type says nothing that the bytes do not say.
  const size_t payload = uri.find(";base64,");
  if (payload == std::string::npos) throw SceneError("a data URI is not base64");
  std::vector<unsigned char> bytes;
  std::string mediaType;
  const std::string known = "data:application/octet-stream" + uri.substr(payload);
  if (!tinygltf::DecodeDataURI(&bytes, mediaType, known, 0, false))
    throw SceneError("a data URI is bad base64");
  return bytes;
}

}  // namespace

std::string excerpt(std::string_view text, size_t longest) {
  std::string shown(text.substr(0, longest));
  // A character that the cut went through is dropped whole, so that messages stay UTF-8.
  if (text.size() > longest) {
    while (!shown.empty() && (static_cast<unsigned char>(shown.back()) & 0xC0U) == 0x80U) shown.pop_back();
    if (!shown.empty() && static_cast<unsigned char>(shown.back()) >= 0xC0U) shown.pop_back();
    shown += "...";
  }
  std::replace_if(
      shown.begin(), shown.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
  return shown;
}

GltfSource readGltfSource(const fs::path& file) {
  std::error_code error;
  const fs::path real = fs::canonical(file, error);
  if (error) throw SceneError(error.message());
  GltfSource source;
  source.folder = real.parent_path();
  source.bytes = readWholeFile(real);
  source.binary = textAt(source.bytes, 0, std::min(source.bytes.size(), kGlbMagic.size())) == kGlbMagic;
  if (source.bytes.empty()) throw SceneError("the file is empty");
  source.json = source.binary ? jsonChunk(source.bytes) : textAt(source.bytes, 0, source.bytes.size());
  return source;
}

nlohmann::json parseJson(std::string_view text) {
  checkJsonSize(text);
  try {
    return nlohmann::json::parse(text.begin(), text.end());
  } catch (const nlohmann::json::exception& error) {
    const std::string_view reason = error.what();
    const size_t prefix = reason.find("] ");
    throw SceneError("not glTF: " + excerpt(prefix == reason.npos ? reason : reason.substr(prefix + 2), 240));
  }
}

void ResourceReader::check(const std::string& uri) const {
  if (!uri.starts_with(kDataScheme)) requireInside(pathOf(uri), uri);
}

void ResourceReader::requireInside(const fs::path& relative, const std::string& uri) const {
  if (options_.outsideFiles || !leavesFolder(relative)) return;
  throw SceneError(
      "\"" + excerpt(uri) +
      "\" lies outside the scene's folder (the configuration value g_vestaOutsideFiles allows that)");
}

std::vector<unsigned char> ResourceReader::read(const std::string& uri) {
  if (uri.starts_with(kDataScheme)) return decodeDataUri(uri);
  std::error_code error;
  const fs::path real = fs::canonical(folder_ / pathOf(uri), error);
  if (error) throw SceneError("\"" + excerpt(uri) + "\": " + error.message());
  requireInside(real.lexically_relative(folder_), uri);
  try {
    std::vector<unsigned char> bytes = readWholeFile(real);
    bytesRead_ += bytes.size();
    if (bytesRead_ > kMaxSceneBytes) throw SceneError("the scene's files are larger than 4 GiB");
    return bytes;
  } catch (const SceneError& reason) {
    throw SceneError("\"" + excerpt(uri) + "\": " + reason.what());
  }
}

}  // namespace host
