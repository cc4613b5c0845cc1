#pragma once
// Settings containers as JSON: every value carries its type.

#include <nlohmann/json.hpp>

#include "host/services/values.h"

namespace host {

/// An object with a member for each value, under its identifier in decimal. Texts carry escapes, so that
/// every sequence of 16-bit codes comes back.
nlohmann::json containerToJson(const Container& container);

/// The container that was written so. Throws std::exception for anything else.
Container containerFromJson(const nlohmann::json& json);

}  // namespace host
