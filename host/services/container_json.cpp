#include "host/services/container_json.h"

#include <charconv>
#include <limits>
#include <stdexcept>

#include "host/services/text.h"
#include "host/services/utf8.h"

namespace host {

using Json = nlohmann::json;

namespace {

constexpr int kDeepest = 64;

// Text is written with escapes of our own, since JSON cannot carry every sequence of 16-bit codes, nor every
// file name.
std::string textOf(const std::u16string& text) { return encodeText(text, Encoding::AsciiEscaped); }
std::u16string readText(const Json& json) {
  return decodeText(json.get_ref<const std::string&>(), Encoding::AsciiEscaped);
}

Json toJson(const Value& value) {
  struct Writer {
    Json operator()(bool truth) const { return {{"type", "bool"}, {"value", truth}}; }
    Json operator()(int32_t integer) const { return {{"type", "integer"}, {"value", integer}}; }
    Json operator()(double real) const { return {{"type", "real"}, {"value", real}}; }
    Json operator()(const std::u16string& text) const {
      return {{"type", "string"}, {"value", textOf(text)}};
    }
    Json operator()(const PathValue& path) const {
      return {{"type", "filename"}, {"value", textOf(fromUtf8(path.bytes))}};
    }
    Json operator()(const NestedContainer& nested) const {
      return {{"type", "container"}, {"value", containerToJson(nested.get())}};
    }
  };
  return std::visit(Writer{}, value);
}

Container containerOf(const Json& json, int depth);

int32_t integerOf(const Json& value) {
  const bool fits = value.is_number_integer() && value >= std::numeric_limits<int32_t>::min() &&
                    value <= std::numeric_limits<int32_t>::max();
  if (!fits) throw std::runtime_error("an integer does not fit 32 bits");
  return value.get<int32_t>();
}

Value valueOf(const Json& json, int depth) {
  const auto& type = json.at("type").get_ref<const std::string&>();
  const Json& value = json.at("value");
  if (type == "bool") return value.get<bool>();
  if (type == "integer") return integerOf(value);
  // A number that is not finite is written as null.
  if (type == "real") return value.is_null() ? 0.0 : value.get<double>();
  if (type == "string") return readText(value);
  if (type == "filename") return PathValue{toUtf8(readText(value))};
  if (type == "container") return NestedContainer(containerOf(value, depth + 1));
  throw std::runtime_error("unknown type '" + type + "'");
}

int32_t idOf(const std::string& digits) {
  int32_t id = 0;
  const char* end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, id);
  if (error != std::errc() || stop != end)
    throw std::runtime_error("'" + visible(digits) + "' is no identifier");
  return id;
}

Container containerOf(const Json& json, int depth) {
  if (depth > kDeepest || !json.is_object()) throw std::runtime_error("not a container");
  Container container;
  for (const auto& [id, value] : json.items()) container.set(idOf(id), valueOf(value, depth));
  return container;
}

}  // namespace

Json containerToJson(const Container& container) {
  Json json = Json::object();
  for (const auto& [id, value] : container.values()) json[std::to_string(id)] = toJson(value);
  return json;
}

Container containerFromJson(const Json& json) {
  try {
    return containerOf(json, 0);
  } catch (const Json::exception&) {
    // The library's own words are for programmers.
    throw std::runtime_error("a container holds what is no value");
  }
}

}  // namespace host
