#pragma once
// Makes scenes of glTF files that lie somewhere else: links named "*.vesta", which a run finds.

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "host/report/files.h"

namespace host {

struct Refusal {
  std::filesystem::path path;
  std::string reason;
};

struct Adoption {
  std::size_t made = 0;          ///< links that are new
  std::size_t kept = 0;          ///< links that stood already and point to the right file
  std::vector<Refusal> refused;  ///< by path: links whose place is taken, folders that cannot be read
};

/// Links every glTF file (".gltf", ".glb", in any case) below `folder` into the same structure of folders
/// below `links`, as NAME.vesta with an absolute target; files of one folder that would share a name keep
/// their endings: a.gltf.vesta and a.glb.vesta. Makes `links` when missing. Links to folders are not
/// followed, and `links` itself is left out when it lies below `folder`. Nothing that stands is changed. The
/// order is that of the paths. Thread: any. Throws ReportError when `folder` cannot be read, `links` cannot
/// be made, or both are the same.
Adoption adoptGltfFiles(const std::filesystem::path& folder, const std::filesystem::path& links);

/// The number of glTF files below `folder`, counted up to `limit`. What cannot be read counts as none.
/// Thread: any.
std::size_t countGltfFiles(const std::filesystem::path& folder, std::size_t limit);

}  // namespace host
