#include "host/script/talk_functions.h"

#include <algorithm>
#include <filesystem>

#include "host/script/engine.h"
#include "host/services/files.h"
#include "host/services/paths.h"
#include "host/services/text.h"
#include "host/services/utf8.h"

namespace host {
namespace {

constexpr std::size_t kMostPrinted = std::size_t{1} << 20;
constexpr std::uintmax_t kLongestFile = std::uintmax_t{4} << 20;

ScriptTalk& talk() { return *static_cast<ScriptTalk*>(asGetActiveContext()->GetUserData(kTalkData)); }

void raise(const std::string& reason) { asGetActiveContext()->SetException(reason.c_str()); }

bool isThere(const ScriptText* text) {
  if (text == nullptr) raise("a string is used before it has a value");
  return text != nullptr;
}

}  // namespace

void print(const ScriptText* line) {
  if (!isThere(line)) return;
  talk().bytes += line->get().size() + 1;
  if (talk().bytes > kMostPrinted) return raise("the script prints more than 1 MiB");
  talk().lines.push_back(line->get());
}

void complain(const ScriptText* reason) {
  if (!isThere(reason)) return;
  talk().complaint = reason->get().empty() ? "it failed" : reason->get();
  asGetActiveContext()->Abort();
}

uint32_t argumentCount() { return static_cast<uint32_t>(talk().arguments.size()); }

ScriptText* argument(uint32_t index) {
  if (index < talk().arguments.size()) return ScriptText::of(talk().arguments[index]);
  raise("there is no argument " + std::to_string(index));
  return nullptr;
}

ScriptText* readText(const ScriptText* file) {
  if (!isThere(file)) return nullptr;
  const std::string name = visible(file->get());
  try {
    const std::string path = normalPath(file->get());
    if (std::filesystem::is_regular_file(path) && std::filesystem::file_size(path) > kLongestFile) {
      raise(name + " is longer than 4 MiB");
      return nullptr;
    }
    return ScriptText::of(readWholeFile(path));
  } catch (const std::exception& error) {
    raise(name + " cannot be read: " + reasonOf(error));
    return nullptr;
  }
}

ScriptText* formatNumber(double value, uint32_t places) {
  constexpr uint32_t kMostPlaces = 40;
  return ScriptText::of(formatReal(value, 0, static_cast<int>(std::min(places, kMostPlaces))));
}

}  // namespace host
