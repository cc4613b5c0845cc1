#pragma once
// JSON of unknown origin.

#include <nlohmann/json.hpp>
#include <string_view>

namespace host {

inline constexpr int kDeepestJson = 64;

/// Parses JSON that may come from anybody. Throws std::runtime_error with the reason, also for text that is
/// nested deeper than kDeepestJson, which the library would follow by recursion. The brackets are counted
/// beforehand: the parser's own callback takes quadratic time in long arrays.
nlohmann::json parseJsonText(std::string_view text);

}  // namespace host
