#pragma once
// The strings of scripts.

#include <cstdint>
#include <string>
#include <string_view>

namespace host {

/// What a script sees as `string`. All strings that live at a time share one bound; what would exceed it
/// raises an exception in the script that runs, and leaves the string as it was. Main thread.
class ScriptText {
 public:
  ScriptText() = default;
  explicit ScriptText(std::string_view text) { append(text); }
  ScriptText(const ScriptText& other) { append(other.text_); }
  ScriptText& operator=(const ScriptText& other);
  ~ScriptText();

  const std::string& get() const { return text_; }

  ScriptText& operator+=(const ScriptText& other);
  ScriptText& operator+=(int64_t number);
  ScriptText operator+(const ScriptText& other) const;
  ScriptText operator+(int64_t number) const;
  /// Number in front of text.
  ScriptText joinedBehind(int64_t number) const;
  bool operator==(const ScriptText& other) const { return text_ == other.text_; }
  int compare(const ScriptText& other) const { return text_.compare(other.text_); }
  /// Bytes.
  uint32_t length() const { return static_cast<uint32_t>(text_.size()); }
  bool isEmpty() const { return text_.empty(); }

 private:
  void append(std::string_view text);

  std::string text_;
};

}  // namespace host
