#pragma once
// Strings of any bytes in JSON, which carries UTF-8 only.

#include <nlohmann/json.hpp>
#include <string>

namespace host {

/// `bytes` as a JSON string; when they are not UTF-8, the object {"text": readable form, "hex": bytes}.
nlohmann::ordered_json bytesToJson(const std::string& bytes);

/// The bytes of either form. Throws std::runtime_error for anything else, without naming the field.
std::string bytesFromJson(const nlohmann::json& value);

/// Indented text with a line end. Never throws for what it holds: a string that is not UTF-8 is mended.
std::string jsonText(const nlohmann::ordered_json& value);

}  // namespace host
