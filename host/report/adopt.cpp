#include "host/report/adopt.h"

#include <algorithm>
#include <functional>
#include <map>
#include <system_error>

namespace host {

namespace fs = std::filesystem;

namespace {

bool isGltf(const fs::directory_entry& entry) {
  std::string ending = entry.path().extension().string();
  for (char& c : ending) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  std::error_code error;
  return (ending == ".gltf" || ending == ".glb") && entry.is_regular_file(error);
}

bool isRealFolder(const fs::directory_entry& entry) {
  std::error_code error;
  return entry.symlink_status(error).type() == fs::file_type::directory;
}

struct Walk {
  fs::path leftOut;                            // a folder that is not entered
  std::function<bool(const fs::path&)> found;  // false ends the walk
  std::function<void(const fs::path&, const std::string&)> unreadable;
};

/// Goes through all folders below `root` in no particular order. Links to folders are not entered, so that a
/// loop of links cannot keep it going.
void walkGltfFiles(const fs::path& root, const Walk& walk) {
  std::vector<fs::path> pending{root};
  while (!pending.empty()) {
    const fs::path folder = std::move(pending.back());
    pending.pop_back();
    std::error_code error;
    fs::directory_iterator entry(folder, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
      if (isRealFolder(*entry)) {
        if (entry->path() != walk.leftOut) pending.push_back(entry->path());
      } else if (isGltf(*entry) && !walk.found(entry->path())) {
        return;
      }
    }
    if (error) walk.unreadable(folder, error.message());
  }
}

/// The names of the links for the files of one folder. Whoever would share a name gets its full file name
/// instead, which may in turn be another's short name ("a.gltf.glb" beside "a.gltf" and "a.glb"): asked
/// again until no two are equal, which full names never are.
std::map<fs::path, std::string> nameLinks(const std::vector<fs::path>& files) {
  std::map<fs::path, std::string> names;
  for (const fs::path& file : files) names[file] = file.stem().string();
  for (bool shared = true; shared;) {
    shared = false;
    std::map<std::string, int> uses;
    for (const auto& named : names) ++uses[named.second];
    for (auto& [file, name] : names) {
      if (uses[name] < 2 || name == file.filename().string()) continue;
      name = file.filename().string();
      shared = true;
    }
  }
  return names;
}

class Adopter {
 public:
  Adopter(fs::path folder, fs::path links) : folder_(std::move(folder)), links_(std::move(links)) {}

  Adoption adopt() {
    std::map<fs::path, std::vector<fs::path>> byFolder;
    const auto refuse = [this](const fs::path& path, const std::string& reason) {
      adoption_.refused.push_back({path, reason});
    };
    const auto add = [&](const fs::path& file) {
      byFolder[file.parent_path()].push_back(file);
      return true;
    };
    walkGltfFiles(folder_, {links_, add, refuse});
    for (const auto& [source, files] : byFolder) linkFolder(source, files);
    std::sort(adoption_.refused.begin(), adoption_.refused.end(),
              [](const Refusal& a, const Refusal& b) { return a.path < b.path; });
    return std::move(adoption_);
  }

 private:
  void linkFolder(const fs::path& source, const std::vector<fs::path>& files) {
    const fs::path target = source == folder_ ? links_ : links_ / source.lexically_relative(folder_);
    std::error_code error;
    fs::create_directories(target, error);
    if (error) {
      adoption_.refused.push_back({target, error.message()});
      return;
    }
    for (const auto& [file, name] : nameLinks(files)) link(file, target / (name + ".vesta"));
  }

  void link(const fs::path& file, const fs::path& link) {
    std::error_code error;
    fs::create_symlink(file, link, error);
    if (!error) {
      ++adoption_.made;
    } else if (error != std::errc::file_exists) {
      adoption_.refused.push_back({link, error.message()});
    } else if (fs::is_symlink(link, error) && fs::equivalent(link, file, error)) {
      ++adoption_.kept;
    } else {
      adoption_.refused.push_back({link, "something else is there"});
    }
  }

  fs::path folder_;
  fs::path links_;
  Adoption adoption_;
};

fs::path realFolder(const fs::path& folder) {
  std::error_code error;
  fs::path real = fs::canonical(folder, error);
  if (error) throw ReportError(folder.string() + ": " + error.message());
  if (!fs::is_directory(real, error)) throw ReportError(folder.string() + " is not a folder");
  return real;
}

}  // namespace

Adoption adoptGltfFiles(const fs::path& folder, const fs::path& links) {
  const fs::path source = realFolder(folder);
  std::error_code error;
  fs::create_directories(links, error);
  if (error) throw ReportError("cannot make " + links.string() + ": " + error.message());
  const fs::path target = realFolder(links);
  if (source == target) throw ReportError("the links need a folder of their own, not " + folder.string());
  return Adopter(source, target).adopt();
}

std::size_t countGltfFiles(const fs::path& folder, std::size_t limit) {
  std::size_t count = 0;
  if (limit == 0) return 0;
  walkGltfFiles(
      folder,
      {{}, [&](const fs::path&) { return ++count < limit; }, [](const fs::path&, const std::string&) {}});
  return count;
}

}  // namespace host
