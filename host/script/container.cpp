#include "host/script/container.h"

#include <angelscript.h>

#include <cstdint>

#include "host/script/diagnostics.h"
#include "host/services/digest.h"

namespace host {
namespace {

// magic, format version, library version, digest of the interface, digest of the code, length of the code;
// then the code. Numbers are little endian.
constexpr std::string_view kMagic{"BRAMBLE\x1a", 8};
constexpr uint32_t kFormatVersion = 1;
constexpr std::size_t kNumberSize = 4;
constexpr std::size_t kDigestSize = 32;
constexpr std::size_t kHeaderSize = 8 + 2 * kNumberSize + 2 * kDigestSize + kNumberSize;

std::string number(uint32_t value) {
  std::string bytes;
  for (std::size_t i = 0; i < kNumberSize; ++i) bytes += static_cast<char>(value >> (8 * i) & 0xFFU);
  return bytes;
}

/// Reads a header from front to back.
class Header {
 public:
  explicit Header(std::string_view bytes) : bytes_(bytes) {}
  /// Throws ScriptRefused unless the next bytes are `expected`.
  void require(std::string_view expected, const char* reason) {
    if (bytes_.substr(0, expected.size()) != expected) throw ScriptRefused(reason);
    bytes_.remove_prefix(expected.size());
  }

 private:
  std::string_view bytes_;
};

}  // namespace

std::string packScript(std::string_view code, std::string_view interfaceText) {
  std::string bytes(kMagic);
  bytes += number(kFormatVersion);
  bytes += number(ANGELSCRIPT_VERSION);
  bytes += sha256(interfaceText);
  bytes += sha256(code);
  bytes += number(static_cast<uint32_t>(code.size()));
  bytes += code;
  return bytes;
}

std::string_view unpackScript(std::string_view bytes, std::string_view interfaceText) {
  Header header(bytes);
  header.require(kMagic, "it is no compiled script");
  if (bytes.size() < kHeaderSize) throw ScriptRefused("it is cut off");
  header.require(number(kFormatVersion), "it has another format");
  header.require(number(ANGELSCRIPT_VERSION), "it was compiled by another version of the compiler");
  header.require(sha256(interfaceText), "it was compiled for another version of the menu functions");
  const std::string_view code = bytes.substr(kHeaderSize);
  header.require(sha256(code), "it is damaged");
  header.require(number(static_cast<uint32_t>(code.size())), "it is damaged");
  return code;
}

}  // namespace host
