#pragma once
// Text written from a signal handler: nothing here allocates, locks or needs a stream.

#include <array>
#include <charconv>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace host {

struct Hex {
  uint64_t value;
};
/// A number with zeros in front.
struct Padded {
  uint64_t value;
  int digits;
};
/// Text from outside, on one line: control characters are written as \x and two digits.
struct OneLine {
  std::string_view text;
};
/// A word for a shell.
struct ShellWord {
  std::string_view text;
};

/// Writes to a descriptor, and to standard error from where that takes no more; at the end of every line, so
/// that what was said stands even if the next line is never reached. Does not own the descriptor.
class CrashWriter {
 public:
  explicit CrashWriter(int descriptor) : descriptor_(descriptor) {}
  CrashWriter(const CrashWriter&) = delete;
  CrashWriter& operator=(const CrashWriter&) = delete;
  ~CrashWriter() { flush(); }

  CrashWriter& operator<<(std::string_view text);
  CrashWriter& operator<<(Hex number);
  CrashWriter& operator<<(Padded number);
  CrashWriter& operator<<(OneLine line);
  CrashWriter& operator<<(ShellWord word);
  template <std::integral Number>
  CrashWriter& operator<<(Number number) {
    std::array<char, 24> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    return *this << std::string_view(digits.data(), static_cast<std::size_t>(end - digits.data()));
  }
  void flush();

 private:
  void put(char c);
  /// The disk is full: what is left must not be lost.
  void goOnOnStandardError();

  int descriptor_;
  std::size_t used_ = 0;
  std::array<char, 512> buffer_;
};

}  // namespace host
