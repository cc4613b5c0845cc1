#pragma once
// `vesta render`: one scene, one picture.

#include <string>
#include <vector>

#include "host/services/host_services.h"

namespace host {

/// What the command line asks for; empty texts and lists leave the scene's own settings.
struct RenderOrder {
  std::string scene;
  std::string image;
  std::string renderer;            ///< a name or an id
  std::string size;                ///< WIDTHxHEIGHT
  std::vector<std::string> sets;   ///< ID=VALUE, of the render settings
  std::vector<std::string> posts;  ///< TYPE:ID=VALUE, of a video post, which is added when it is missing
};

/// Renders to TIFF or PNG by the picture's suffix. Main thread. Answers the exit status; throws UsageError
/// for an order that makes no sense, before anything is loaded.
int renderOne(HostServices& services, const RenderOrder& order);

}  // namespace host
