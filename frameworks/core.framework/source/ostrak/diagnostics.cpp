#include "core.framework/source/ostrak/diagnostics.h"

#include <atomic>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>

#include "core.framework/source/ostrak/configuration.h"
#include "vesta.framework/contract/host_tables.h"
#include "vesta.framework/debugger.h"
#include "vesta.framework/diagnostics.h"

bool g_enableDebugBreak = ostrak::RegisterConfigurationValue(
    "g_enableDebugBreak", &g_enableDebugBreak, true, HOST_CONFIGURATION_SWITCH,
    "enable debug breaks (when debugger is attached)");
bool g_enableParallelFor = ostrak::RegisterConfigurationValue(
    "g_enableParallelFor", &g_enableParallelFor, true, HOST_CONFIGURATION_SWITCH,
    "enable parallel execution of all ParallelFor loops");

namespace ostrak {

using namespace vesta;

namespace {

std::atomic<const OutputService*> g_service{nullptr};
std::atomic<bool> g_suppressed{false};

/// What the first message finds and sets. Atomic, since several threads may have their first at once.
struct FirstMessage {
  std::atomic<uint32_t> outputMask{kInitialOutputMask};
  const bool debuggerAttached = IsDebuggerAttached();
};

FirstMessage& State() {
  static FirstMessage state;
  return state;
}

/// The mask; one that carries bit 29 is provisional, until a service gives one without.
uint32_t OutputMask() {
  auto& mask = State().outputMask;
  const OutputService* service = g_service;
  if ((mask & kMessageNoLineEnd) != 0 && service != nullptr) mask = service->GetSetting();
  return mask;
}

/// Text with its terminating zero: short ones on the stack, longer ones on the heap. Where the heap has no
/// room the text is cut.
class TextBuffer {
 public:
  /// `length`: bytes of all that will be appended.
  explicit TextBuffer(std::size_t length) {
    if (length < sizeof stack_) return;
    heap_.reset(new (std::nothrow) char[length + 1]);
    if (heap_ == nullptr) return;
    text_ = heap_.get();
    room_ = length;
  }
  TextBuffer(const TextBuffer&) = delete;
  TextBuffer& operator=(const TextBuffer&) = delete;

  void Append(std::string_view piece) {
    const std::size_t count = piece.size() < room_ ? piece.size() : room_;
    std::memcpy(text_ + length_, piece.data(), count);
    length_ += count;
    room_ -= count;
  }
  const char* Text() {
    text_[length_] = '\0';
    return text_;
  }

 private:
  char stack_[kTextSize];
  std::unique_ptr<char[]> heap_;
  char* text_ = stack_;
  std::size_t length_ = 0;
  std::size_t room_ = sizeof stack_ - 1;
};

void Write(const char* message) {
  if (const OutputService* service = g_service) {
    service->Write(message);
    return;
  }
  std::printf("%s", message);
  PrintToDebugger(message);
}

/// The part of a path behind its last slash; where it has none, behind its last backslash.
const char* BaseName(const char* file) {
  const char* last = std::strrchr(file, '/');
  if (last == nullptr) last = std::strrchr(file, '\\');
  return last != nullptr ? last + 1 : file;
}

/// One character of zero-terminated UTF-16, as UTF-8 of 1 to 4 bytes.
struct Utf8Character {
  /// Reads at `text` and moves it on.
  explicit Utf8Character(const char16_t*& text) {
    uint32_t code = *text++;
    const bool paired = (code & 0xFC00U) == 0xD800U && (*text & 0xFC00U) == 0xDC00U;
    if (paired) code = 0x10000U + ((code & 0x3FFU) << 10U) + (*text++ & 0x3FFU);
    if ((code & 0xFFFFF800U) == 0xD800U) code = 0xFFFDU;
    Encode(code);
  }
  std::string_view View() const { return {bytes, count}; }

  char bytes[4];
  std::size_t count = 0;

 private:
  void Encode(uint32_t code) {
    if (code < 0x80U) {
      Add(code);
    } else if (code < 0x800U) {
      Add(0xC0U | code >> 6U);
      Add(0x80U | (code & 0x3FU));
    } else {
      if (code < 0x10000U) {
        Add(0xE0U | code >> 12U);
      } else {
        Add(0xF0U | code >> 18U);
        Add(0x80U | (code >> 12U & 0x3FU));
      }
      Add(0x80U | (code >> 6U & 0x3FU));
      Add(0x80U | (code & 0x3FU));
    }
  }
  void Add(uint32_t byte) { bytes[count++] = static_cast<char>(byte); }
};

std::size_t Utf8Length(const char16_t* text) {
  std::size_t length = 0;
  while (*text != 0) length += Utf8Character(text).count;
  return length;
}

}  // namespace

void SetOutputService(const OutputService* service) noexcept { g_service = service; }

void SuppressOutput(bool suppressed) noexcept { g_suppressed = suppressed; }

void CoreDebugOutput(uint32_t flags, const char* text, int32_t line, const char* file) noexcept {
  const uint32_t mask = OutputMask();
  if (g_suppressed || !IsPrinted(flags, mask)) return;
  // With a debugger the location stands where development environments look for it.
  char before[kLocationSize] = "";
  char behind[kLocationSize] = "";
  if ((flags & kMessageLocation) != 0) {
    if (State().debuggerAttached) {
      FormatBounded(before, sizeof before, "%s(%d): ", OrNullWord(file), line);
    } else {
      FormatBounded(behind, sizeof behind, " [%s(%d)]", BaseName(OrNullWord(file)), line);
    }
  }
  const char* lineEnd = (flags & kMessageNoLineEnd) == 0 ? "\n" : "";
  const std::string_view pieces[] = {before, LevelPrefix(flags), OrNullWord(text), behind, lineEnd};
  std::size_t length = 0;
  for (const std::string_view piece : pieces) length += piece.size();
  TextBuffer message(length);
  for (const std::string_view piece : pieces) message.Append(piece);
  Write(message.Text());
}

void ConsoleOutput(const char16_t* text) noexcept {
  if (text == nullptr) {
    CoreDebugOutput(kMessageCritical | kMessageLocation, "Console output failed", __LINE__, __FILE__);
    if (g_enableDebugBreak && State().debuggerAttached) BreakIntoDebugger();
    return;
  }
  TextBuffer message(Utf8Length(text));
  while (*text != 0) message.Append(Utf8Character(text).View());
  Write(message.Text());
}

}  // namespace ostrak
