#include "host/services/paths.h"

#include <unistd.h>

#include "host/services/text.h"

namespace host {

namespace fs = std::filesystem;

namespace {

/// Absolute, and nothing that normalising would change: most names, for tables of many scenes.
bool isNormal(std::string_view path) {
  if (path.empty() || path[0] != '/') return false;
  if (path.size() > 1 && path.back() == '/') return false;
  return path.find("//") == std::string_view::npos && path.find("/.") == std::string_view::npos;
}

std::string_view lastElement(std::string_view name) { return name.substr(name.rfind('/') + 1); }

}  // namespace

std::string normalPath(std::string_view path) {
  if (path.empty() || isNormal(path)) return std::string(path);
  std::error_code error;
  std::string name = fs::absolute(fs::path(path), error).lexically_normal().string();
  if (name.size() > 1 && name.back() == '/') name.pop_back();
  return name;
}

std::string joinPath(std::string_view folder, std::string_view name) {
  if (folder.empty() || name.empty()) return std::string(folder.empty() ? name : folder);
  std::string joined;
  joined.reserve(folder.size() + name.size() + 1);
  joined += folder;
  if (joined.back() != '/') joined += '/';
  joined += name.substr(std::min(name.find_first_not_of('/'), name.size()));
  return joined;
}

bool hasSuffix(std::string_view name, std::string_view suffix) {
  name = lastElement(name);
  const size_t point = name.rfind('.');
  return point != std::string_view::npos && equalIgnoringCase(name.substr(point + 1), suffix);
}

std::string withSuffix(std::string_view name, std::string_view suffix) {
  const std::string_view last = lastElement(name);
  const size_t point = last.rfind('.');
  std::string changed(point == std::string_view::npos ? name
                                                      : name.substr(0, name.size() - (last.size() - point)));
  return changed + "." + std::string(suffix);
}

bool samePath(std::string_view first, std::string_view second) { return equalIgnoringCase(first, second); }

bool fileExists(const std::string& name) {
  std::error_code error;
  return !name.empty() && fs::exists(name, error) && !fs::is_directory(name, error);
}

bool folderExists(const std::string& name) {
  std::error_code error;
  return !name.empty() && fs::is_directory(name, error);
}

bool createFolder(const std::string& name) {
  std::error_code error;
  return !name.empty() && fs::create_directory(name, error) && !error;
}

bool deleteFile(const std::string& name, bool force) {
  std::error_code error;
  const fs::file_status status = fs::symlink_status(name, error);
  if (!fs::exists(status)) return true;
  if (fs::is_directory(status)) return false;
  // Without `force` a write-protected file is left alone, although its folder would let it go.
  if (!force && !fs::is_symlink(status) && access(name.c_str(), W_OK) != 0) return false;
  return fs::remove(name, error);
}

fs::path installedAppFolder() {
  std::error_code error;
  return fs::read_symlink("/proc/self/exe", error).parent_path().parent_path();
}

}  // namespace host
