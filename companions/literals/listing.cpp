#include "companions/literals/listing.h"

#include <utility>

#include "host/services/jsonbytes.h"
#include "host/services/utf8.h"

namespace companion {

using nlohmann::ordered_json;

namespace {

constexpr size_t kLongestShown = 200;

/// The beginning of a text, cut between two characters.
std::string_view beginning(std::string_view text) {
  const auto continues = [&](size_t at) { return (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80; };
  size_t end = kLongestShown;
  while (end > kLongestShown - 4 && continues(end)) --end;
  return text.substr(0, end);
}

std::string shown(std::string_view text) {
  if (text.size() <= kLongestShown) return "\"" + host::visible(text) + "\"";
  return "\"" + host::visible(beginning(text)) + "\"...";
}

/// All in ASCII, so that a terminal has nothing to make visible: it would no longer be JSON.
std::string jsonOf(const ordered_json& value, int indent) {
  return value.dump(indent, ' ', true, ordered_json::error_handler_t::replace);
}

}  // namespace

std::string placeLine(const PlacedText& text) {
  return host::visible(text.file) + ":" + std::to_string(text.line) + ":" + std::to_string(text.column) +
         ": " + shown(text.written);
}

void JsonListing::add(const PlacedText& text) {
  lines_ += lines_.empty() ? "\n    " : ",\n    ";
  lines_ += jsonOf({{"file", host::bytesToJson(text.file)},
                    {"line", text.line},
                    {"column", text.column},
                    {"text", host::bytesToJson(std::string(text.written))}},
                   -1);
}

std::string JsonListing::finish(const std::string& folder, size_t literals, const SearchedFiles& files,
                                const Comparison* comparison) {
  ordered_json json = {{"folder", host::bytesToJson(folder)}, {"files", files.count}, {"literals", literals}};
  json["unreadable"] = ordered_json::array();
  for (const UnreadableSource& source : files.unreadable)
    json["unreadable"].push_back({{"file", host::bytesToJson(source.file)}, {"reason", source.reason}});
  if (comparison != nullptr) {
    json["baseline"] = {{"file", host::bytesToJson(comparison->baseline)},
                        {"new", comparison->fresh},
                        {"gone", comparison->gone}};
  }
  std::string text = jsonOf(json, 2);
  text.resize(text.rfind('\n'));
  text += ",\n  \"texts\": [";
  text += std::exchange(lines_, {});
  text += "\n  ]\n}\n";
  return text;
}

}  // namespace companion
