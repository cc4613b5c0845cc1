#include "host/script/transfer.h"

#include <nlohmann/json.hpp>

#include "host/script/diagnostics.h"

namespace host {
namespace {

using nlohmann::json;

std::string packed(const json& value) {
  std::string bytes;
  // Unlike JSON text it takes strings of any bytes.
  json::to_msgpack(value, bytes);
  return bytes;
}

template <class Reader>
auto unpacked(std::string_view bytes, const Reader& read) {
  try {
    return read(json::from_msgpack(bytes.begin(), bytes.end()));
  } catch (const json::exception&) {
    throw ScriptError("the script engine failed");
  }
}

json packedItem(const MenuItem& item) {
  json children = json::array();
  for (const MenuItem& child : item.children) children.push_back(packedItem(child));
  return json::array({static_cast<int>(item.kind), item.title, item.commandId, std::move(children)});
}

MenuItem unpackedItem(const json& value) {
  MenuItem item{static_cast<MenuItem::Kind>(value.at(0).get<int>()), value.at(1), value.at(2), {}};
  for (const json& child : value.at(3)) item.children.push_back(unpackedItem(child));
  return item;
}

}  // namespace

std::string encode(const Compilation& compilation) {
  return packed(json::array({compilation.bytes, compilation.messages}));
}

std::string encode(const RunResult& result) {
  return packed(json::array({result.refusal, result.failure, packedItem(result.menus), result.lines}));
}

Compilation decodeCompilation(std::string_view bytes) {
  return unpacked(bytes, [](const json& value) { return Compilation{value.at(0), value.at(1)}; });
}

RunResult decodeRunResult(std::string_view bytes) {
  return unpacked(bytes, [](const json& value) {
    return RunResult{value.at(0), value.at(1), unpackedItem(value.at(2)), value.at(3)};
  });
}

}  // namespace host
