#pragma once
// What the host is at work on, for the report of a crash: texts that every thread may write and that a signal
// handler can read at any moment, also one that interrupted a writer. Later notes take the place of earlier
// ones.

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace host {

enum class Note {
  Command,   ///< id and name of the command that the user chose
  Document,  ///< the file of the document in work
  Step,      ///< what the host does with it
};
inline constexpr std::size_t kNoteKinds = 3;

/// In bytes. Longer ones lose their beginning, which of a path is the less telling part.
inline constexpr std::size_t kLongestNote = 4096;
/// In bytes. Longer console lines lose their end.
inline constexpr std::size_t kLongestNotedLine = 500;
inline constexpr std::size_t kNotedLines = 20;

/// A note that is taken back when its scope ends, unless a newer one stands in its place. Thread: any.
class NoteScope {
 public:
  NoteScope(Note kind, std::string_view text);
  NoteScope(const NoteScope&) = delete;
  NoteScope& operator=(const NoteScope&) = delete;
  ~NoteScope();

 private:
  Note kind_;
  uint32_t number_;
};

/// Keeps a line that the user is told. Thread: any.
void noteLine(std::string_view line);

/// Copies a note; answers its length, 0 when there is none. `text` holds kLongestNote bytes. Safe in a signal
/// handler.
std::size_t readNote(Note kind, char* text);
/// Copies the noted line that is `back` lines before the last; answers false when there is none. `text` holds
/// kLongestNotedLine bytes. Safe in a signal handler.
bool readNotedLine(std::size_t back, char* text, std::size_t& length);

}  // namespace host
