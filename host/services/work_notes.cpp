#include "host/services/work_notes.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <mutex>

namespace host {
namespace {

// A signal handler must find every text here whole although it can neither lock nor wait. Bytes are atomic so
// that reading one that is being written is no more than an old or a new byte.
static_assert(std::atomic<char>::is_always_lock_free && std::atomic<uint32_t>::is_always_lock_free);

template <std::size_t Size>
class SignalText {
 public:
  void write(std::string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) bytes_[i].store(text[i], std::memory_order_relaxed);
    length_.store(static_cast<uint32_t>(text.size()), std::memory_order_relaxed);
  }
  std::size_t read(char* text) const {
    const std::size_t length = std::min<std::size_t>(length_.load(std::memory_order_relaxed), Size);
    for (std::size_t i = 0; i < length; ++i) text[i] = bytes_[i].load(std::memory_order_relaxed);
    return length;
  }

 private:
  std::array<std::atomic<char>, Size> bytes_{};
  std::atomic<uint32_t> length_{0};
};

/// The last texts of a row. Who writes fills the slot of the oldest one and counts it afterwards, so that the
/// newest stays whole while it is read, unless all others are written meanwhile.
template <std::size_t Size, std::size_t Slots>
class SignalTexts {
 public:
  /// Writers hold a lock.
  uint32_t append(std::string_view text) {
    const uint32_t number = count_.load(std::memory_order_relaxed);
    slots_[number % Slots].write(text);
    count_.store(number + 1, std::memory_order_release);
    return number + 1;
  }
  /// How many were ever written.
  uint32_t count() const { return count_.load(std::memory_order_acquire); }

  std::size_t read(uint32_t number, char* text) const { return slots_[(number - 1) % Slots].read(text); }

 private:
  std::array<SignalText<Size>, Slots> slots_{};
  std::atomic<uint32_t> count_{0};
};

// One more than is shown: the one that is being written.
constinit SignalTexts<kLongestNotedLine, kNotedLines + 1> g_lines;
constinit std::array<SignalTexts<kLongestNote, 2>, kNoteKinds> g_notes;
constinit std::mutex g_linesWriters;
constinit std::mutex g_notesWriters;

auto& textsOf(Note kind) { return g_notes[static_cast<std::size_t>(kind)]; }

}  // namespace

NoteScope::NoteScope(Note kind, std::string_view text) : kind_(kind) {
  if (text.size() > kLongestNote) text.remove_prefix(text.size() - kLongestNote);
  const std::lock_guard lock(g_notesWriters);
  number_ = textsOf(kind_).append(text);
}

NoteScope::~NoteScope() {
  const std::lock_guard lock(g_notesWriters);
  if (textsOf(kind_).count() == number_) textsOf(kind_).append({});
}

void noteLine(std::string_view line) {
  const std::lock_guard lock(g_linesWriters);
  g_lines.append(line.substr(0, kLongestNotedLine));
}

std::size_t readNote(Note kind, char* text) {
  const auto& texts = textsOf(kind);
  // Whoever wrote twice in the meantime did so on another thread; that one does not go on for ever.
  constexpr int kAttempts = 100;
  std::size_t length = 0;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const uint32_t number = texts.count();
    if (number == 0) return 0;
    length = texts.read(number, text);
    if (texts.count() == number) break;
  }
  return length;
}

bool readNotedLine(std::size_t back, char* text, std::size_t& length) {
  const uint32_t count = g_lines.count();
  if (back >= kNotedLines || back >= count) return false;
  length = g_lines.read(count - static_cast<uint32_t>(back), text);
  return true;
}

}  // namespace host
