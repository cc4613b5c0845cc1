#include "vesta.framework/file.h"

namespace vesta {
namespace {

constexpr int32_t FourCharacters(char a, char b, char c, char d) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) << 24 | static_cast<uint32_t>(b) << 16 |
                              static_cast<uint32_t>(c) << 8 | static_cast<uint32_t>(d));
}
constexpr int32_t kTypeCode = FourCharacters('V', 'S', 'T', 'C');
constexpr int32_t kCreatorCode = FourCharacters('V', 'S', 'T', '1');
constexpr int32_t kErrorMode = 2;
constexpr int32_t kOrderMode = 1;

}  // namespace

bool File::Open(const FileName& name, int32_t access) {
  return Host().files.FileOpen(file_.Get(), name.Get(), access, kErrorMode, kOrderMode, kTypeCode,
                               kCreatorCode) != 0;
}

}  // namespace vesta
