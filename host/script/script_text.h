#pragma once
// The strings of scripts.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace host {

/// What a script sees as `string`: an object that counts its references, so that a variable which is used
/// before it exists is null, and not memory that was never initialised. All strings that live at a time share
/// one bound; what would exceed it raises an exception in the script that runs, and leaves the string as it
/// was, or answers null instead of a new one. Main thread.
class ScriptText {
 public:
  /// Belongs to the caller, who ends it with release(); so do all answers that are pointers.
  static ScriptText* make() { return makeWith({}); }
  static ScriptText* of(std::string_view text) { return makeWith(text); }
  static ScriptText* copy(const ScriptText* other);
  /// A literal; not held to the bound, as its source is.
  static ScriptText* literal(std::string_view text) { return new ScriptText(text); }

  ScriptText(const ScriptText&) = delete;
  ScriptText& operator=(const ScriptText&) = delete;

  const std::string& get() const { return text_; }

  void addReference() { ++references_; }
  void release() {
    if (--references_ == 0) delete this;
  }

  ScriptText& assign(const ScriptText* other);
  ScriptText& append(const ScriptText* other);
  ScriptText& appendNumber(int64_t number) { return appendBytes(std::to_string(number)); }
  ScriptText* joined(const ScriptText* other) const;
  ScriptText* joinedWithNumber(int64_t number) const { return makeWith(text_, std::to_string(number)); }
  ScriptText* joinedBehindNumber(int64_t number) const { return makeWith(std::to_string(number), text_); }
  bool equals(const ScriptText* other) const { return compare(other) == 0; }
  int compare(const ScriptText* other) const;
  /// Bytes.
  uint32_t length() const { return static_cast<uint32_t>(text_.size()); }
  bool isEmpty() const { return text_.empty(); }
  /// `count` bytes from `start`, cut to what is there.
  ScriptText* part(uint32_t start, uint32_t count) const;
  /// Where the first `other` begins at or behind `start`; -1 when there is none.
  int find(const ScriptText* other, uint32_t start) const;
  /// The byte at `position`; what stands outside raises an exception.
  uint8_t byteAt(uint32_t position) const;
  /// Whether all of the text is a decimal number, with a point or an exponent; and its value, an exception
  /// if not.
  bool isNumber() const { return number().has_value(); }
  double toNumber() const;

 private:
  explicit ScriptText(std::string_view text);
  ~ScriptText();
  static ScriptText* makeWith(std::string_view first, std::string_view second = {});
  ScriptText& appendBytes(std::string_view bytes);
  std::optional<double> number() const;

  std::string text_;
  int references_ = 1;
};

}  // namespace host
