#include "host/services/threads.h"

#include <pthread.h>

#include <string>
#include <system_error>

#include "host/services/signal_stack.h"

namespace host {
namespace {

std::atomic<bool> g_interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "set in a signal handler");

std::atomic<int> g_running{0};

constexpr size_t kLongestSystemName = 15;

}  // namespace

void GlobalLock::lock() {
  mutex_.lock();
  owner_ = std::this_thread::get_id();
  ++depth_;
}

void GlobalLock::unlock() {
  if (owner_ != std::this_thread::get_id()) return;
  if (--depth_ == 0) owner_ = std::thread::id();
  mutex_.unlock();
}

GlobalLock& globalLock() {
  static GlobalLock lock;
  return lock;
}

bool interruptRequested() { return g_interrupted.load(std::memory_order_relaxed); }
void setInterruptRequested(bool requested) { g_interrupted.store(requested, std::memory_order_relaxed); }

int runningWorkers() { return g_running; }

bool WorkerThread::start() {
  if (running_) return false;
  if (thread_.joinable()) thread_.join();
  stop_ = false;
  running_ = true;
  ++g_running;
  const auto ended = [this] {
    running_ = false;
    --g_running;
  };
  try {
    thread_ = std::thread([this, ended] {
      const SignalStack signalStack;
      work_.main();
      ended();
    });
  } catch (const std::system_error&) {
    ended();
    return false;
  }
  id_ = thread_.get_id();
  if (const char* name = work_.name()) {
    pthread_setname_np(thread_.native_handle(), std::string(name).substr(0, kLongestSystemName).c_str());
  }
  return true;
}

void WorkerThread::end(bool wait) {
  stop_ = true;
  if (wait && thread_.joinable()) thread_.join();
}

bool WorkerThread::testBreak() const { return stop_ || interruptRequested() || work_.testBreak(); }

}  // namespace host
