#include "host/services/digest.h"

#include <nettle/base16.h>
#include <nettle/sha2.h>

#include <cstdint>

namespace host {

std::string sha256(std::string_view bytes) {
  sha256_ctx context;
  sha256_init(&context);
  sha256_update(&context, bytes.size(), reinterpret_cast<const uint8_t*>(bytes.data()));
  std::string result(SHA256_DIGEST_SIZE, '\0');
  sha256_digest(&context, result.size(), reinterpret_cast<uint8_t*>(result.data()));
  return result;
}

std::string sha256Hex(std::string_view bytes) {
  const std::string digest = sha256(bytes);
  std::string digits(BASE16_ENCODE_LENGTH(digest.size()), '\0');
  base16_encode_update(digits.data(), digest.size(), reinterpret_cast<const uint8_t*>(digest.data()));
  return digits;
}

}  // namespace host
