#include "vesta.framework/string.h"

namespace vesta {

String String::FromInt(int32_t value) {
  String result;
  Host().strings.StringFromInt(result.Get(), value);
  return result;
}

String String::FromReal(double value, int32_t before, int32_t after) {
  String result;
  Host().strings.StringFromReal(result.Get(), value, before, after);
  return result;
}

// No text of the tools comes near it; a host that answers more is wrong.
constexpr int32_t kLongestText = 1 << 28;

bool String::ToBytes(std::string& bytes, int32_t encoding) const {
  bytes.clear();
  if (Get() == nullptr) return false;
  // Most texts are short, and one call is enough for them.
  char buffer[512];
  const int32_t count = Host().strings.StringToCString(Get(), buffer, sizeof buffer, encoding);
  if (count < 0) return false;
  if (count < static_cast<int32_t>(sizeof buffer) - 1) {
    bytes.assign(buffer, static_cast<size_t>(count));
    return true;
  }
  const int32_t length = Host().strings.StringToCStringLength(Get(), encoding);
  if (length <= 0 || length > kLongestText) return false;
  bytes.resize(static_cast<size_t>(length));
  // The terminating zero goes where std::string keeps its own.
  if (Host().strings.StringToCString(Get(), bytes.data(), length + 1, encoding) == length) return true;
  bytes.clear();
  return false;
}

std::string GetLineEnd() {
  String end;
  Host().messages.GetLineEnd(end.Get());
  std::string bytes;
  return end.ToBytes(bytes) && !bytes.empty() ? bytes : std::string("\n");
}

}  // namespace vesta
