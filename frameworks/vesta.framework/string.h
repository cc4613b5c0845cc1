// The host's strings.
#pragma once

#include <string>

#include "vesta.framework/handles.h"

namespace vesta {

struct StringTraits {
  using Handle = HostString;
  static void End(HostString* handle) { Host().strings.StringFree(handle); }
};

/// A host string: 16-bit character codes. Positions and counts are in characters. Operations that can fail
/// answer false and leave the string as it was.
class String {
 public:
  /// An empty string.
  String() : string_(Host().strings.StringInit()) {}
  /// The text of `bytes` up to its zero byte.
  String(const char* bytes, int32_t encoding = HOST_ENCODING_UTF8) : String() {
    Set(bytes, HOST_ALL, encoding);
  }
  String(const String& other) : String() { Host().strings.StringCopy(other.Get(), Get()); }
  String(String&&) noexcept = default;
  String& operator=(String other) noexcept {
    std::swap(string_, other.string_);
    return *this;
  }
  ~String() = default;

  static String FromInt(int32_t value);
  /// `before` places before the point padded with zeros when positive, `after` places behind it.
  static String FromReal(double value, int32_t before, int32_t after);

  bool Set(const char* bytes, uint32_t length, int32_t encoding) {
    return Host().strings.StringFromCString(Get(), bytes, length, encoding) != 0;
  }
  int32_t Length() const { return Host().strings.StringLength(Get()); }
  bool IsEmpty() const { return Length() == 0; }
  int32_t Compare(const String& other) const { return Host().strings.StringCompare(Get(), other.Get()); }
  /// The character code at `position`; 0 outside.
  uint16_t CharAt(int32_t position) const { return Host().strings.StringCharAt(Get(), position); }
  /// `count` characters from `start`, cut to what is there.
  String Sub(int32_t start, uint32_t count) const {
    String result;
    Host().strings.StringSub(Get(), result.Get(), start, count);
    return result;
  }
  bool Insert(int32_t position, const String& other) {
    return Host().strings.StringInsert(Get(), position, other.Get(), 0, HOST_ALL) != 0;
  }
  bool Append(const String& other) { return Insert(Length(), other); }
  String& operator+=(const String& other) {
    Append(other);
    return *this;
  }

  /// The text as bytes. False, with `bytes` empty, when the host could not convert it.
  bool ToBytes(std::string& bytes, int32_t encoding = HOST_ENCODING_UTF8) const;

  /// Writes the text and a zero byte into `buffer` of `size` bytes, cut where it does not fit. Answers the
  /// number of bytes before the zero, -1 when the host could not convert it.
  int32_t ToBuffer(char* buffer, int32_t size, int32_t encoding) const {
    return Host().strings.StringToCString(Get(), buffer, size, encoding);
  }

  HostString* Get() const { return string_.Get(); }

 private:
  Owned<StringTraits> string_;
};
VESTA_HOLDS_ONLY_ITS_HANDLE(String);

inline String operator+(String left, const String& right) {
  left += right;
  return left;
}

/// The line end of text files; a line feed where the host names none.
std::string GetLineEnd();

}  // namespace vesta
