#include "host/services/jsonbytes.h"

#include <charconv>
#include <cstdint>
#include <stdexcept>

#include "host/services/utf8.h"

namespace host {

using nlohmann::ordered_json;

namespace {

std::string toHex(const std::string& bytes) {
  constexpr const char* kDigits = "0123456789abcdef";
  std::string hex;
  for (const char byte : bytes) {
    hex += kDigits[static_cast<uint8_t>(byte) / 16];
    hex += kDigits[static_cast<uint8_t>(byte) % 16];
  }
  return hex;
}

std::string fromHex(const std::string& hex) {
  if (hex.size() % 2 != 0) throw std::runtime_error("odd number of digits in \"hex\"");
  std::string bytes;
  for (std::size_t i = 0; i < hex.size(); i += 2) {
    uint8_t byte = 0;
    const char* end = hex.data() + i + 2;
    if (std::from_chars(hex.data() + i, end, byte, 16).ptr != end) {
      throw std::runtime_error("not a hexadecimal digit in \"hex\"");
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
  throw std::runtime_error("not a string");
}

std::string jsonText(const ordered_json& value) {
  return value.dump(2, ' ', false, ordered_json::error_handler_t::replace) + '\n';
}

}  // namespace host
