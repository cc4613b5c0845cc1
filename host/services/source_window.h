#pragma once
// The bytes of a source file through a window that slides forward over it.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/services/files.h"

namespace host {

/// Lines that a backslash joins are joined already, and a byte order mark at the start is gone: whoever looks
/// through the window needs no special case for either. One thread at a time.
class SourceWindow {
 public:
  /// So many bytes behind the position are in sight, if the file has them.
  static constexpr size_t kReach = 65536 + 64;
  /// As many bytes are read at once, and at the beginning kReach more.
  static constexpr size_t kBlock = 256 * 1024;

  /// Throws std::system_error when the file cannot be opened or read.
  explicit SourceWindow(const std::string& file);

  /// Moves on until kReach bytes from `position` on are in sight; answers where `position` is now. Throws
  /// std::system_error when reading fails; the window is of no use then.
  const char* slideTo(const char* position);
  /// From here on it is time to slide.
  const char* slideFrom() const { return slideFrom_; }

  const char* begin() const { return buffer_.get(); }
  /// Behind the last byte in sight. A line feed stands here, so that every search stops.
  const char* end() const { return end_; }
  /// The place of `position` in the file of joined lines.
  uint64_t offsetOf(const char* position) const {
    return offset_ + static_cast<uint64_t>(position - begin());
  }

  /// Whether the next join, of those that joinsBefore() has not told, was directly before `position`.
  bool hasJoinAt(const char* position) const { return offsetOf(position) == nextJoin_; }
  /// How many line ends were taken out between the position of the last question and this one behind it.
  int64_t joinsBefore(const char* position) {
    return offsetOf(position) < nextJoin_ ? 0 : takeJoins(offsetOf(position));
  }

 private:
  struct Join {
    uint64_t offset;  // of the byte behind it
    int64_t count;
  };

  void readBlock();
  const char* joinLines(const char* from, const char* to);
  void addJoin();
  int64_t takeJoins(uint64_t offset);
  void findNextJoin();

  std::string file_;
  FileStream stream_;
  std::unique_ptr<char[]> buffer_;
  char* end_ = nullptr;
  const char* slideFrom_ = nullptr;
  bool begun_ = false;
  bool exhausted_ = false;
  uint64_t offset_ = 0;  // of the first byte in the buffer
  std::string held_;     // the start of what may be a join
  std::vector<Join> joins_;
  size_t joinsTaken_ = 0;
  uint64_t nextJoin_ = UINT64_MAX;
};

}  // namespace host
