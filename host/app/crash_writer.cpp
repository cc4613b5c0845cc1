#include "host/app/crash_writer.h"

#include <unistd.h>

#include <cerrno>

namespace host {
namespace {

constexpr std::string_view kHexDigits = "0123456789abcdef";

}  // namespace

CrashWriter& CrashWriter::operator<<(std::string_view text) {
  for (const char c : text) put(c);
  return *this;
}

CrashWriter& CrashWriter::operator<<(Hex number) {
  std::array<char, 16> digits;
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number.value, 16).ptr;
  return *this << "0x" << std::string_view(digits.data(), static_cast<std::size_t>(end - digits.data()));
}

CrashWriter& CrashWriter::operator<<(Padded number) {
  uint64_t place = 1;
  for (int i = 1; i < number.digits; ++i) place *= 10;
  for (; place > 1 && number.value < place; place /= 10) put('0');
  return *this << number.value;
}

CrashWriter& CrashWriter::operator<<(OneLine line) {
  for (const char c : line.text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= ' ' && byte != 0x7f) {
      put(c);
    } else {
      *this << "\\x";
      put(kHexDigits[byte >> 4]);
      put(kHexDigits[byte & 15]);
    }
  }
  return *this;
}

CrashWriter& CrashWriter::operator<<(ShellWord word) {
  constexpr std::string_view kPlain =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-+=./:,@%";
  if (!word.text.empty() && word.text.find_first_not_of(kPlain) == std::string_view::npos) {
    return *this << word.text;
  }
  put('\'');
  for (const char c : word.text) {
    c == '\'' ? *this << "'\\''" : *this << OneLine{{&c, 1}};
  }
  put('\'');
  return *this;
}

void CrashWriter::put(char c) {
  buffer_[used_++] = c;
  if (c == '\n' || used_ == buffer_.size()) flush();
}

void CrashWriter::goOnOnStandardError() {
  constexpr std::string_view kNews =
      "vesta: the crash report's file takes no more; the rest of the report:\n";
  descriptor_ = STDERR_FILENO;
  static_cast<void>(!write(descriptor_, kNews.data(), kNews.size()));
}

void CrashWriter::flush() {
  for (std::size_t written = 0; written < used_;) {
    const ssize_t count = write(descriptor_, buffer_.data() + written, used_ - written);
    if (count < 0 && errno == EINTR) continue;
    if (count > 0) {
      written += static_cast<std::size_t>(count);
    } else if (descriptor_ != STDERR_FILENO) {
      goOnOnStandardError();
    } else {
      break;
    }
  }
  used_ = 0;
}

}  // namespace host
