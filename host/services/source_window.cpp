#include "host/services/source_window.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <system_error>

namespace host {
namespace {

constexpr size_t kCapacity = SourceWindow::kReach + SourceWindow::kBlock;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// Whether the next block decides if the backslash that begins `rest` joins two lines, and with how many
/// bytes.
bool isUndecided(std::string_view rest) { return rest == "\\" || rest == "\\\r"; }

/// Bytes of the join that begins `rest`; 0 if none does.
size_t lengthOfJoin(std::string_view rest) {
  for (const std::string_view join : {"\\\r\n", "\\\n", "\\\r"}) {
    if (rest.substr(0, join.size()) == join) return join.size();
  }
  return 0;
}

}  // namespace

SourceWindow::SourceWindow(const std::string& file)
    : file_(file), buffer_(std::make_unique_for_overwrite<char[]>(kCapacity + 1)), end_(buffer_.get()) {
  if (!stream_.openForReading(file)) throw std::system_error(errno, std::generic_category(), file);
  slideTo(begin());
}

const char* SourceWindow::slideTo(const char* position) {
  const size_t left = static_cast<size_t>(end_ - position);
  offset_ = offsetOf(position);
  std::memmove(buffer_.get(), position, left);
  end_ = buffer_.get() + left;
  joins_.erase(joins_.begin(), joins_.begin() + static_cast<std::ptrdiff_t>(joinsTaken_));
  joinsTaken_ = 0;
  while (!exhausted_ && static_cast<size_t>(end_ - begin()) < kReach) readBlock();
  findNextJoin();
  *end_ = '\n';
  slideFrom_ = exhausted_ ? end_ + 1 : end_ - kReach + 1;
  return begin();
}

void SourceWindow::readBlock() {
  char* const from = end_;
  std::memcpy(from, held_.data(), held_.size());
  char* const to = from + held_.size();
  const int64_t room = buffer_.get() + kCapacity - to;
  const int64_t count = stream_.read(to, room);
  if (count < 0) throw std::system_error(errno, std::generic_category(), file_);
  exhausted_ = count < room;
  const std::string_view bytes(from, static_cast<size_t>(to + count - from));
  const bool marked = !begun_ && bytes.substr(0, kByteOrderMark.size()) == kByteOrderMark;
  begun_ = true;
  const char* const rest = joinLines(from + (marked ? kByteOrderMark.size() : 0), to + count);
  held_.assign(rest, static_cast<size_t>(to + count - rest));
}

/// Takes the joins out of the new bytes; answers where the bytes begin that only the next block decides on.
const char* SourceWindow::joinLines(const char* from, const char* to) {
  for (;;) {
    const void* const found = std::memchr(from, '\\', static_cast<size_t>(to - from));
    const char* const backslash = found != nullptr ? static_cast<const char*>(found) : to;
    std::memmove(end_, from, static_cast<size_t>(backslash - from));
    end_ += backslash - from;
    const std::string_view rest(backslash, static_cast<size_t>(to - backslash));
    if (rest.empty() || (isUndecided(rest) && !exhausted_)) return backslash;
    const size_t join = lengthOfJoin(rest);
    if (join == 0) {
      *end_++ = '\\';
    } else {
      addJoin();
    }
    from = backslash + std::max<size_t>(join, 1);
  }
}

void SourceWindow::addJoin() {
  const uint64_t offset = offsetOf(end_);
  if (joins_.empty() || joins_.back().offset != offset) joins_.push_back({offset, 0});
  ++joins_.back().count;
}

int64_t SourceWindow::takeJoins(uint64_t offset) {
  int64_t count = 0;
  while (joinsTaken_ < joins_.size() && joins_[joinsTaken_].offset <= offset)
    count += joins_[joinsTaken_++].count;
  findNextJoin();
  return count;
}

void SourceWindow::findNextJoin() {
  nextJoin_ = joinsTaken_ < joins_.size() ? joins_[joinsTaken_].offset : UINT64_MAX;
}

}  // namespace host
