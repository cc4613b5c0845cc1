#include "host/report/jsonbytes.h"

#include <charconv>
#include <cstdint>

#include "host/report/files.h"
#include "host/report/text.h"

namespace host {

using nlohmann::ordered_json;

namespace {

std::string toHex(const std::string& bytes) {
  std::string hex;
  for (const char byte : bytes) hex += formatted("%02x", static_cast<unsigned>(static_cast<uint8_t>(byte)));
  return hex;
}

std::string fromHex(const std::string& hex) {
  if (hex.size() % 2 != 0) throw ReportError("odd number of digits in \"hex\"");
  std::string bytes;
  for (std::size_t i = 0; i < hex.size(); i += 2) {
    uint8_t byte = 0;
    const char* end = hex.data() + i + 2;
    if (std::from_chars(hex.data() + i, end, byte, 16).ptr != end) {
      throw ReportError("not a hexadecimal digit in \"hex\"");
    }
    bytes += static_cast<char>(byte);
  }
  return bytes;
}

}  // namespace

ordered_json bytesToJson(const std::string& bytes) {
  if (isUtf8(bytes)) return bytes;
  return {{"text", visible(bytes)}, {"hex", toHex(bytes)}};
}

std::string bytesFromJson(const nlohmann::json& value) {
  if (value.is_string()) return value.get<std::string>();
  if (value.is_object() && value.contains("hex") && value["hex"].is_string()) {
    return fromHex(value["hex"].get<std::string>());
  }
  throw ReportError("not a string");
}

std::string jsonText(const ordered_json& value) {
  return value.dump(2, ' ', false, ordered_json::error_handler_t::replace) + '\n';
}

}  // namespace host
