#include "host/script/script_text.h"

#include <angelscript.h>

namespace host {
namespace {

constexpr std::size_t kMostBytes = std::size_t{16} << 20;

std::size_t g_liveBytes = 0;

/// Whether `bytes` more may live. If not, the script that runs ends.
bool hasRoomFor(std::size_t bytes) {
  if (bytes <= kMostBytes - g_liveBytes) return true;
  if (auto* context = AngelScript::asGetActiveContext(); context != nullptr) {
    context->SetException("the strings of the script take more than 16 MiB");
  }
  return false;
}

}  // namespace

ScriptText::~ScriptText() { g_liveBytes -= text_.size(); }

void ScriptText::append(std::string_view text) {
  if (!hasRoomFor(text.size())) return;
  text_ += text;
  g_liveBytes += text.size();
}

ScriptText& ScriptText::operator=(const ScriptText& other) {
  if (this == &other || !hasRoomFor(other.text_.size())) return *this;
  g_liveBytes -= text_.size();
  text_ = other.text_;
  g_liveBytes += text_.size();
  return *this;
}

ScriptText& ScriptText::operator+=(const ScriptText& other) {
  append(other.text_);
  return *this;
}

ScriptText& ScriptText::operator+=(int64_t number) {
  append(std::to_string(number));
  return *this;
}

ScriptText ScriptText::operator+(const ScriptText& other) const {
  ScriptText sum(*this);
  sum += other;
  return sum;
}

ScriptText ScriptText::operator+(int64_t number) const {
  ScriptText sum(*this);
  sum += number;
  return sum;
}

ScriptText ScriptText::joinedBehind(int64_t number) const {
  ScriptText sum(std::to_string(number));
  sum += *this;
  return sum;
}

}  // namespace host
