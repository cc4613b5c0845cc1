#include "host/services/events.h"

#include <algorithm>

namespace host {

void EventQueue::push(Event event) {
  {
    const std::lock_guard lock(mutex_);
    events_.push_back(std::move(event));
  }
  arrived_.notify_one();
}

void EventQueue::wait(std::chrono::milliseconds timeout) {
  std::unique_lock lock(mutex_);
  arrived_.wait_for(lock, timeout, [this] { return !events_.empty(); });
}

std::optional<Event> EventQueue::take() {
  const std::lock_guard lock(mutex_);
  if (events_.empty()) return std::nullopt;
  Event event = std::move(events_.front());
  events_.pop_front();
  return event;
}

std::optional<Event> EventQueue::takeOutput() {
  const std::lock_guard lock(mutex_);
  const auto found = std::find_if(events_.begin(), events_.end(),
                                  [](const Event& event) { return event.kind != Event::Kind::CoreMessage; });
  if (found == events_.end()) return std::nullopt;
  Event event = std::move(*found);
  events_.erase(found);
  return event;
}

void EventQueue::dropCoreMessages(std::thread::id sender) {
  const std::lock_guard lock(mutex_);
  std::erase_if(events_, [&](const Event& event) {
    return event.kind == Event::Kind::CoreMessage && event.sender == sender;
  });
}

}  // namespace host
