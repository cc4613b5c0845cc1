#include "companions/literals/baseline.h"

#include <algorithm>
#include <stdexcept>
#include <system_error>

#include "host/services/files.h"
#include "host/services/json.h"
#include "host/services/jsonbytes.h"

namespace companion {
namespace {

constexpr const char* kFirstLine = "{\"vestaLiterals\":1}";

/// The text of a line. Throws std::runtime_error.
std::string textOf(std::string_view line) {
  nlohmann::json value;
  try {
    value = host::parseJsonText(line);
  } catch (const std::runtime_error&) {
    // The parser's own words count lines and columns of the one line it was given.
    throw std::runtime_error("not a JSON string");
  }
  return host::bytesFromJson(value);
}

Texts parseBaseline(std::string_view bytes, size_t& line) {
  Texts texts;
  for (line = 1; !bytes.empty(); ++line) {
    const size_t end = std::min(bytes.find('\n'), bytes.size());
    std::string_view content = bytes.substr(0, end);
    bytes.remove_prefix(std::min(end + 1, bytes.size()));
    if (!content.empty() && content.back() == '\r') content.remove_suffix(1);
    if (line > 1) {
      texts.insert(textOf(content));
    } else if (content != kFirstLine) {
      throw std::runtime_error("no baseline of 'vesta literals'");
    }
  }
  if (line == 1) throw std::runtime_error("no baseline of 'vesta literals'");
  return texts;
}

}  // namespace

Texts readBaseline(const std::string& file) {
  size_t line = 0;
  try {
    return parseBaseline(host::readWholeFile(file), line);
  } catch (const std::system_error& error) {
    throw std::runtime_error(file + ": " + host::reasonOf(error));
  } catch (const std::runtime_error& error) {
    throw std::runtime_error(file + ":" + std::to_string(line) + ": " + error.what());
  }
}

void writeBaseline(const std::string& file, const Texts& texts) {
  std::string bytes = std::string(kFirstLine) + "\n";
  for (const std::string& text : texts) bytes.append(host::bytesToJson(text).dump()).append("\n");
  host::writeWholeFile(file, bytes);
}

}  // namespace companion
