#include "host/services/json.h"

#include <stdexcept>

namespace host {
namespace {

constexpr size_t kLongestReason = 200;

void requireShallow(std::string_view text) {
  int depth = 0;
  bool inString = false;
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (inString) {
      if (c == '\\') ++i;
      inString = c != '"';
    } else if (c == '"') {
      inString = true;
    } else if (c == '[' || c == '{') {
      if (++depth > kDeepestJson) throw std::runtime_error("nested too deeply");
    } else if (c == ']' || c == '}') {
      --depth;
    }
  }
}

}  // namespace

nlohmann::json parseJsonText(std::string_view text) {
  requireShallow(text);
  try {
    return nlohmann::json::parse(text);
  } catch (const nlohmann::json::exception& error) {
    throw std::runtime_error("not JSON: " + std::string(error.what()).substr(0, kLongestReason));
  }
}

}  // namespace host
