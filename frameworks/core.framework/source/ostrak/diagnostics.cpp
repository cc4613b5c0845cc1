#include "core.framework/source/ostrak/diagnostics.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core.framework/source/ostrak/configuration.h"
#include "vesta.framework/diagnostics.h"

#ifdef _WIN32
#include <windows.h>
#endif

namespace ostrak {

bool g_suppressOutput = false;

bool g_enableDebugBreak = RegisterConfigurationValue("g_enableDebugBreak", &g_enableDebugBreak, true, 1,
                                                     "enable debug breaks (when debugger is attached)");
bool g_enableParallelFor = RegisterConfigurationValue("g_enableParallelFor", &g_enableParallelFor, true, 1,
                                                      "enable parallel execution of all ParallelFor loops");

namespace {

constexpr uint32_t kMaskIsProvisional = vesta::kNoLineEnd;
constexpr int32_t kLocationBuffer = 1024;
constexpr const char* kSourceFile = "frameworks/core.framework/source/ostrak/diagnostics.cpp";

const OutputService* g_service = nullptr;

/// What the first message finds; several threads may write it.
struct FirstUse {
  std::atomic<uint32_t> mask{vesta::kFirstOutputMask};
  const bool debuggerAttached = vesta::IsDebuggerAttached();
};

FirstUse& State() {
  static FirstUse state;
  return state;
}

/// The mask, fetched from the service as long as it is provisional.
uint32_t OutputMask() {
  std::atomic<uint32_t>& mask = State().mask;
  if (g_service != nullptr && (mask & kMaskIsProvisional) != 0) mask = g_service->OutputMask();
  return mask;
}

/// Room for a message: on the stack, and from the heap where it is longer. Without memory a message is cut.
class Buffer {
 public:
  explicit Buffer(size_t needed) {
    if (needed <= sizeof stack_) return;
    heap_ = static_cast<char*>(std::malloc(needed));
    if (heap_ != nullptr) size_ = needed;
  }
  Buffer(const Buffer&) = delete;
  Buffer& operator=(const Buffer&) = delete;
  ~Buffer() { std::free(heap_); }

  /// Appends what fits, room for a zero left.
  void Append(const char* bytes, size_t count) {
    const size_t room = size_ - 1 - length_;
    if (count > room) count = room;
    std::memcpy(Text() + length_, bytes, count);
    length_ += count;
  }
  void Append(const char* text) { Append(text, std::strlen(text)); }
  /// The text so far, with its zero.
  const char* Finish() {
    Text()[length_] = '\0';
    return Text();
  }

 private:
  char* Text() { return heap_ != nullptr ? heap_ : stack_; }

  char stack_[2048];
  char* heap_ = nullptr;
  size_t size_ = sizeof stack_;
  size_t length_ = 0;
};

/// The part behind the last slash, or else behind the last backslash.
const char* LeafOf(const char* file) {
  const char* slash = std::strrchr(file, '/');
  if (slash == nullptr) slash = std::strrchr(file, '\\');
  return slash != nullptr ? slash + 1 : file;
}

void Write(const char* message) {
  if (g_service != nullptr) {
    g_service->Write(message);
    return;
  }
  std::printf("%s", message);
#ifdef _WIN32
  OutputDebugStringA(message);
#endif
}

/// The UTF-8 bytes of the character at `at`, which is set behind it; a lone surrogate is three bytes of its
/// own.
size_t EncodeCharacter(const char16_t* text, size_t length, size_t& at, char* bytes) {
  uint32_t code = text[at++];
  const bool isHigh = code >= 0xD800 && code < 0xDC00;
  if (isHigh && at < length && text[at] >= 0xDC00 && text[at] < 0xE000)
    code = 0x10000 + ((code - 0xD800) << 10) + (text[at++] - 0xDC00U);
  const auto continued = [&](int shift) { return static_cast<char>(0x80 | ((code >> shift) & 0x3F)); };
  if (code < 0x80) {
    bytes[0] = static_cast<char>(code);
    return 1;
  }
  if (code < 0x800) {
    bytes[0] = static_cast<char>(0xC0 | (code >> 6));
    bytes[1] = continued(0);
    return 2;
  }
  if (code < 0x10000) {
    bytes[0] = static_cast<char>(0xE0 | (code >> 12));
    bytes[1] = continued(6);
    bytes[2] = continued(0);
    return 3;
  }
  bytes[0] = static_cast<char>(0xF0 | (code >> 18));
  bytes[1] = continued(12);
  bytes[2] = continued(6);
  bytes[3] = continued(0);
  return 4;
}

}  // namespace

void SetOutputService(const OutputService* service) { g_service = service; }

void CoreDebugOutput(uint32_t flags, const char* text, int32_t line, const char* file) {
  const uint32_t mask = OutputMask();
  if (g_suppressOutput || (flags & mask & vesta::kLevels) == 0) return;

  const bool debuggerAttached = State().debuggerAttached;
  char before[kLocationBuffer] = "";
  char behind[kLocationBuffer] = "";
  if ((flags & vesta::kLocation) != 0) {
    if (debuggerAttached) {
      vesta::FormatBounded(before, kLocationBuffer, "%s(%d): ", file, static_cast<int>(line));
    } else {
      vesta::FormatBounded(behind, kLocationBuffer, " [%s(%d)]", LeafOf(file), static_cast<int>(line));
    }
  }
  const char* prefix = vesta::LevelPrefix(flags);
  Buffer message(std::strlen(before) + std::strlen(prefix) + std::strlen(text) + std::strlen(behind) + 2);
  message.Append(before);
  message.Append(prefix);
  message.Append(text);
  message.Append(behind);
  if ((flags & vesta::kNoLineEnd) == 0) message.Append("\n");
  Write(message.Finish());
}

void ConsoleOutput(const char16_t* text, size_t length) {
  if (text == nullptr) {
    CoreDebugOutput(vesta::kCritical | vesta::kLocation, "Console output failed", __LINE__, kSourceFile);
    return;
  }
  Buffer bytes(length * 3 + 1);
  for (size_t at = 0; at < length;) {
    char character[4];
    const size_t count = EncodeCharacter(text, length, at, character);
    bytes.Append(character, count);
  }
  Write(bytes.Finish());
}

}  // namespace ostrak
