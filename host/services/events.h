#pragma once
// One queue for everything that threads send to the main thread: core messages for dialogs, and what the user
// is to read. Copies only, marked with the sender.

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "host/services/values.h"

namespace host {

struct Event {
  enum class Kind {
    CoreMessage,
    ConsoleLine,
    ErrorLine,
    MessageBox,
    StatusBar,
    StatusText,
    StatusClear,
    RenderProgress
  };
  Kind kind = Kind::CoreMessage;
  int32_t number = 0;             ///< the core message's id, the percent of a bar
  std::string text;               ///< UTF-8
  std::optional<Container> data;  ///< what was sent with a core message
  std::thread::id sender = std::this_thread::get_id();
};

/// Thread: any, but for take and wait, which are the main thread's.
class EventQueue {
 public:
  void push(Event event);
  /// Waits for an event, at the longest `timeout`.
  void wait(std::chrono::milliseconds timeout);
  /// The oldest event, if there is one.
  std::optional<Event> take();
  /// The oldest event that is for the user and not for a dialog.
  std::optional<Event> takeOutput();
  /// Throws away the core messages that a thread sent and nobody took.
  void dropCoreMessages(std::thread::id sender);

 private:
  std::mutex mutex_;
  std::condition_variable arrived_;
  std::deque<Event> events_;
};

}  // namespace host
