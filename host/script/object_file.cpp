#include "host/script/object_file.h"

#include <nettle/base64.h>

#include "host/script/diagnostics.h"
#include "host/services/container_json.h"
#include "host/services/digest.h"
#include "host/services/json.h"
#include "host/services/jsonbytes.h"

namespace host {
namespace {

constexpr std::string_view kFirstWords = "VESTA OBJECT ";
constexpr std::string_view kVersionAndType = "1 scrp ";
constexpr std::size_t kDigestDigits = 64;

std::string base64(std::string_view bytes) {
  std::string text(BASE64_ENCODE_RAW_LENGTH(bytes.size()), '\0');
  base64_encode_raw(text.data(), bytes.size(), reinterpret_cast<const uint8_t*>(bytes.data()));
  return text;
}

std::string fromBase64(const std::string& text) {
  base64_decode_ctx context;
  base64_decode_init(&context);
  std::string bytes(BASE64_DECODE_LENGTH(text.size()), '\0');
  std::size_t length = bytes.size();
  if (base64_decode_update(&context, &length, reinterpret_cast<uint8_t*>(bytes.data()), text.size(),
                           text.data()) == 0 ||
      base64_decode_final(&context) == 0) {
    throw ScriptRefused("its code is no base 64");
  }
  bytes.resize(length);
  return bytes;
}

/// Takes the first line off, and answers what stands behind it. Throws ScriptRefused.
std::string_view bodyOf(std::string_view bytes) {
  if (!bytes.starts_with(kFirstWords)) throw ScriptRefused("it is no object file");
  bytes.remove_prefix(kFirstWords.size());
  if (!bytes.starts_with(kVersionAndType)) throw ScriptRefused("it is an object of another kind or version");
  bytes.remove_prefix(kVersionAndType.size());
  const std::string_view digest = bytes.substr(0, kDigestDigits);
  const std::string_view body = bytes.size() > kDigestDigits ? bytes.substr(kDigestDigits + 1) : "";
  if (body.empty() || bytes[kDigestDigits] != '\n' || digest != sha256Hex(body)) {
    throw ScriptRefused("it is damaged: its digest does not fit");
  }
  return body;
}

}  // namespace

std::string packObject(const Script& script) {
  nlohmann::ordered_json object;
  object["data"] = containerToJson(script.data);
  object["source"] = bytesToJson(script.source);
  object["code"] = base64(script.compiled);
  const std::string body = jsonText(object);
  std::string bytes(kFirstWords);
  bytes.append(kVersionAndType).append(sha256Hex(body)).append("\n").append(body);
  return bytes;
}

void unpackObject(std::string_view bytes, Script& script) {
  const std::string_view body = bodyOf(bytes);
  try {
    const nlohmann::json object = parseJsonText(body);
    script.data = containerFromJson(object.at("data"));
    script.source = bytesFromJson(object.at("source"));
    script.compiled = fromBase64(object.at("code").get<std::string>());
  } catch (const ScriptRefused&) {
    throw;
  } catch (const std::exception& error) {
    throw ScriptRefused(std::string("it cannot be read: ") + error.what());
  }
}

}  // namespace host
