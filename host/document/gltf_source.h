#pragma once
// The files a glTF scene consists of: the scene file itself, taken apart into its chunks, and the files it
// names.

#include <filesystem>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "host/document/scene.h"

namespace host {

/// A scene file in memory. Views point into `bytes`, so it can be moved but not copied.
struct GltfSource {
  std::filesystem::path folder;      ///< of the real file, links followed
  std::vector<unsigned char> bytes;  ///< the whole file
  std::string_view json;             ///< inside `bytes`
  bool binary = false;               ///< GLB: a JSON chunk and perhaps a binary one

  GltfSource() = default;
  GltfSource(GltfSource&&) = default;
  GltfSource& operator=(GltfSource&&) = default;
};

/// Reads the scene file and checks the chunks of a binary one. Throws SceneError.
GltfSource readGltfSource(const std::filesystem::path& file);

/// Parses JSON text with bounded nesting and number of values. Throws SceneError.
nlohmann::json parseJson(std::string_view text);

/// Reads what a scene names by URI: files in its folder, elsewhere only when the options allow it.
class ResourceReader {
 public:
  ResourceReader(std::filesystem::path folder, const SceneOptions& options)
      : folder_(std::move(folder)), options_(options) {}

  /// Throws SceneError when `uri` is neither a data URI nor the path of a file that may be read, without
  /// looking at the disk.
  void check(const std::string& uri) const;

  /// The bytes of a file, or of a data URI. Throws SceneError with the URI's name.
  std::vector<unsigned char> read(const std::string& uri);

 private:
  void requireInside(const std::filesystem::path& relative, const std::string& uri) const;

  std::filesystem::path folder_;
  SceneOptions options_;
  uint64_t bytesRead_ = 0;
};

/// Text from a file, fit for a message: at most `longest` bytes and no control characters.
std::string excerpt(std::string_view text, size_t longest = 80);

}  // namespace host
