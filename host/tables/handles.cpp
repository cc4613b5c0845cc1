#include "host/tables/handles.h"

namespace host {
namespace {

constexpr std::array<const char*, 12> kNames = {"string",    "file name", "file",         "listing",
                                                "container", "thread",    "dialog",       "user area",
                                                "document",  "bitmap",    "memory block", "tokenizer"};
std::array<std::atomic<int64_t>, kNames.size()> g_live{};

}  // namespace

void countHandle(HandleKind kind, int change) { g_live[static_cast<size_t>(kind)] += change; }

std::string describeLiveHandles() {
  std::string text;
  for (size_t i = 0; i < kNames.size(); ++i) {
    const int64_t live = g_live[i];
    if (live == 0) continue;
    text += (text.empty() ? "" : ", ") + std::to_string(live) + " " + kNames[i] + (live == 1 ? "" : "s");
  }
  return text;
}

}  // namespace host
