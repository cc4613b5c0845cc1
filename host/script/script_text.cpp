#include "host/script/script_text.h"

#include <angelscript.h>

#include <algorithm>
#include <charconv>
#include <cmath>

namespace host {
namespace {

constexpr std::size_t kMostBytes = std::size_t{16} << 20;

/// Of all strings that live, with what each takes beside its text.
std::size_t g_liveBytes = 0;

/// Ends the script that runs.
void raise(const char* reason) {
  if (auto* context = AngelScript::asGetActiveContext(); context != nullptr) context->SetException(reason);
}

/// Whether `bytes` more may live; raises an exception if not.
bool hasRoomFor(std::size_t bytes) {
  if (g_liveBytes + bytes <= kMostBytes) return true;
  raise("the strings of the script take more than 16 MiB");
  return false;
}

/// Whether an argument is there; raises an exception if not.
bool isThere(const ScriptText* text) {
  if (text == nullptr) raise("a string is used before it has a value");
  return text != nullptr;
}

}  // namespace

ScriptText::ScriptText(std::string_view text) : text_(text) {
  g_liveBytes += sizeof(ScriptText) + text_.size();
}

ScriptText::~ScriptText() { g_liveBytes -= sizeof(ScriptText) + text_.size(); }

ScriptText* ScriptText::makeWith(std::string_view first, std::string_view second) {
  if (!hasRoomFor(sizeof(ScriptText) + first.size() + second.size())) return nullptr;
  auto* text = new ScriptText(first);
  text->appendBytes(second);
  return text;
}

ScriptText* ScriptText::copy(const ScriptText* other) {
  return isThere(other) ? makeWith(other->text_) : nullptr;
}

ScriptText& ScriptText::assign(const ScriptText* other) {
  if (!isThere(other) || this == other || !hasRoomFor(other->text_.size())) return *this;
  g_liveBytes -= text_.size();
  text_ = other->text_;
  g_liveBytes += text_.size();
  return *this;
}

ScriptText& ScriptText::append(const ScriptText* other) {
  return isThere(other) ? appendBytes(other->text_) : *this;
}

ScriptText* ScriptText::joined(const ScriptText* other) const {
  return isThere(other) ? makeWith(text_, other->text_) : nullptr;
}

int ScriptText::compare(const ScriptText* other) const {
  return isThere(other) ? text_.compare(other->text_) : 0;
}

ScriptText* ScriptText::part(uint32_t start, uint32_t count) const {
  return makeWith(std::string_view(text_).substr(std::min<std::size_t>(start, text_.size()), count));
}

int ScriptText::find(const ScriptText* other, uint32_t start) const {
  if (!isThere(other)) return -1;
  const std::size_t found = text_.find(other->text_, start);
  return found == std::string::npos ? -1 : static_cast<int>(found);
}

uint8_t ScriptText::byteAt(uint32_t position) const {
  if (position < text_.size()) return static_cast<uint8_t>(text_[position]);
  raise("a byte behind the end of a string is asked for");
  return 0;
}

std::optional<double> ScriptText::number() const {
  double value = 0;
  const char* end = text_.data() + text_.size();
  const auto [stop, error] = std::from_chars(text_.data(), end, value);
  if (error != std::errc() || stop != end || !std::isfinite(value)) return std::nullopt;
  return value;
}

double ScriptText::toNumber() const {
  const std::optional<double> value = number();
  if (!value) raise("a string that is no number is used as one");
  return value.value_or(0);
}

ScriptText& ScriptText::appendBytes(std::string_view bytes) {
  if (!hasRoomFor(bytes.size())) return *this;
  g_liveBytes += bytes.size();
  text_ += bytes;
  return *this;
}

}  // namespace host
