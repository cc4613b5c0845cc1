#pragma once
// The root extension VESTA_document: what glTF has no words for.

#include <nlohmann/json_fwd.hpp>

#include "host/document/scene.h"

namespace host {

/// Reads the extension from a file's JSON; defaults when it is not there. Settings come sorted by id.
/// Throws SceneError for anything that the extension does not define.
DocumentRecord readDocumentRecord(const nlohmann::json& root);

}  // namespace host
